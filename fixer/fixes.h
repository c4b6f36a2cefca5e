// Ways out of a refusal that hold: each one is made in a copy of the candidate,
// and the copy is judged as a change and as a whole, with all points. The
// refusal must be gone, and no other one may be new.
#ifndef IPAV_FIXER_FIXES_H_
#define IPAV_FIXER_FIXES_H_

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fixer/proposals.h"
#include "host/base/time_limit.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "messages/finder.h"
#include "messages/finding.h"

namespace ipav::fixer {

struct Fix {
  bool is_safe = false;
  std::string text;
  std::shared_ptr<const datastore::DataTree> tree;  // the corrected candidate
};

class Fixer {
 public:
  // All are borrowed.
  Fixer(const datastore::DataTree& running,
        const datastore::DataTree& candidate, const std::string& plugin,
        const base::Countdown& countdown);

  // The commit of the candidate with all of its points. Throws
  // base::TimeOver, and plugin::PluginError.
  const commit::Outcome& outcome() { return OfChange().outcome; }

  // The best first; of several that lead to the same data, the first. The
  // finding is one of the commit. Throws as outcome().
  std::vector<Fix> FixesOf(const messages::Finding& finding);

 private:
  // A judgement of the candidate, with which those of its copies are compared.
  struct Baseline {
    Baseline(const datastore::DataTree& start,
             const datastore::DataTree& candidate, commit::Outcome judgement,
             messages::Judged how);

    // Whether the candidate gets the answer's text for the same path. The
    // answer must have a text, here and below.
    bool Has(const commit::Answer& answer) const;
    // Whether the candidate does not get the text, nor would get it if no other
    // text of that call came first.
    bool IsNew(const commit::Answer& answer);

    const datastore::DataTree& from;
    commit::Outcome outcome;
    messages::Judged judged;
    std::set<std::pair<std::string, std::string>> texts;  // with their paths
    messages::Finder finder;
  };

  Baseline& OfChange();
  Baseline& OfWhole();
  std::unique_ptr<Baseline> Judge(const datastore::DataTree& from,
                                  messages::Judged judged) const;
  bool Holds(const messages::Finding& finding, const Proposal& proposal,
             const datastore::DataTree& tree);
  bool IsBetter(const messages::Finding& finding, const Proposal& proposal,
                const datastore::DataTree& tree, Baseline* baseline) const;

  const datastore::DataTree& running_;
  const datastore::DataTree& candidate_;
  const std::string& plugin_;
  const base::Countdown& countdown_;
  const datastore::DataTree empty_;
  std::unique_ptr<Baseline> of_change_;
  std::unique_ptr<Baseline> of_whole_;
};

}  // namespace ipav::fixer

#endif  // IPAV_FIXER_FIXES_H_
