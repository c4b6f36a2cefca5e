// Verdicts on commits between composed configurations. Each is asked for once.
#ifndef IPAV_PLANNER_VERDICTS_H_
#define IPAV_PLANNER_VERDICTS_H_

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/base/time_limit.h"
#include "host/commit/commit.h"
#include "messages/finder.h"
#include "messages/finding.h"
#include "planner/composer.h"

namespace ipav::planner {

// The bounds of a search, and who wants to know how far it is.
struct Limits {
  base::TimeLimit time = base::kNoTimeLimit;  // of the whole search
  std::size_t verdicts = 0;                   // 0: any number
  // Called before each verdict with the number of those before; may be null.
  std::function<void(std::size_t)> on_verdict = nullptr;
};

// The search ended, at any limit, before its result was known.
using LimitReached = base::TimeOver;

// Whose judgement a verdict is.
enum class Judge {
  kModel,    // the data model refuses the candidate
  kCommit,   // the validation points that the commit calls
  kRestart,  // those of a device that loads the candidate from nothing
};

struct Verdict {
  bool accepted = false;
  Judge judge = Judge::kCommit;  // whose refusal it is
  std::size_t calls = 0;         // of validation points, in the commit
  std::vector<messages::Finding> findings;  // the refusals; none of the model
  std::string error;       // of the model, or why the plug-in failed
  std::string error_path;  // of the node that the error is about; may be empty
};

class Verdicts {
 public:
  // The composer is borrowed. Throws plugin::PluginError if the file is not a
  // plug-in.
  Verdicts(Composer* composer, std::string plugin, Limits limits);

  Composer* composer() const { return composer_; }

  // Whether a commit that leads from one configuration to the other is
  // accepted, and whether a device then also loads the result from nothing. A
  // fault that the running configuration has as well refuses nothing. Throws
  // LimitReached. The result is valid until the next call.
  const Verdict& Of(const State& from, const State& to);

  // Judges a commit of any configurations within the time of the search. Throws
  // LimitReached.
  commit::Outcome Judge(const datastore::DataTree& from,
                        const datastore::DataTree& to, bool all) const {
    return commit::RunCommit(from, to, {plugin_, all}, countdown_);
  }

  // How often the plug-in judged.
  std::size_t count() const { return count_; }

  // Why the plug-in failed in one of its judgements; empty if it never did.
  const std::string& failure() const { return failure_; }

  // The configuration of a state.
  std::shared_ptr<const Composed> ConfigurationOf(const State& state);

 private:
  Verdict Ask(const State& from, const State& to);
  commit::Outcome RunCommit(const datastore::DataTree& from,
                            const datastore::DataTree& to);
  Verdict Restart(const datastore::DataTree& tree);

  Composer* composer_;
  const std::string plugin_;
  const Limits limits_;
  const base::Countdown countdown_;
  const datastore::DataTree empty_;
  std::optional<commit::Outcome> of_running_;  // judged from nothing
  std::size_t count_ = 0;
  std::string failure_;
  // By the states as bits: a search has thousands of states of many items.
  std::map<std::string, std::shared_ptr<const Composed>> configurations_;
  std::map<std::string, Verdict> verdicts_;
  std::map<std::string, Verdict> restarts_;
};

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_VERDICTS_H_
