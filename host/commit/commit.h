// The commit engine: validates one candidate against one running configuration
// with a plug-in, as the configuration daemon does before a commit.
#ifndef IPAV_HOST_COMMIT_COMMIT_H_
#define IPAV_HOST_COMMIT_COMMIT_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/base/stopwatch.h"
#include "host/base/time_limit.h"
#include "host/confd/tracer.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/transaction.h"

namespace ipav::commit {

// A call of a validation point: the name of the point, and the data path.
using CallName = std::pair<std::string, std::string>;

struct Options {
  std::string plugin;                               // file
  bool all = false;                                 // continue after a refusal
  base::TimeLimit time_limit = base::kNoTimeLimit;  // of the whole commit
  // If not null: the calls to make if their nodes exist, instead of those that
  // the changes require. Borrowed.
  const std::set<CallName>* calls = nullptr;
  // Receives every platform call, in the child process. Borrowed; may be null.
  confd::Tracer* tracer = nullptr;
};

// The answer of a validation point for one node.
struct Answer {
  std::string opaque;  // name of the point
  std::string path;
  std::int32_t result = 0;          // of the callback
  std::optional<std::string> text;  // error text that the point set, if any
  std::optional<std::string> exception;  // text of its exception, if any
};

// Whether the commit continues after this result of a callback, as after a
// warning, which is shown to the operator.
bool IsAccepting(std::int32_t result);
bool Accepts(const Answer& answer);

// The total of all calls of one validation point.
struct PointTimes {
  std::string opaque;
  std::uint64_t calls = 0;
  std::uint64_t platform_calls = 0;  // made by the point
  base::Duration time{};
};

// The times of the parts of a commit. A time that a failed child did not report
// is zero, or missing.
struct CommitTimes {
  // The process, from its start to its end. Its parts:
  base::Duration child{};
  base::Duration loading{};           //   the plug-in
  base::Duration planning{};          //   which points run, and for what
  base::Duration points{};            //   from lib_init to lib_finish
  std::vector<PointTimes> of_points;  // each, in the order of their first call
};

enum class Verdict { kAccepted, kRefused, kPluginFailed };

struct Outcome {
  Verdict verdict = Verdict::kAccepted;
  std::vector<Answer> answers;  // of the points that ran, in their order
  std::size_t planned = 0;      // calls that the commit asks for
  // Why the plug-in failed other than in an answer, and at which point. Outside
  // of a point the name is empty, and the reason says where.
  std::string failure;
  std::string failed_point;
  std::string failed_path;
  std::string output;  // of the plug-in, which should write nothing
  std::vector<std::string> faults;
  std::vector<std::string> left_open;  // "2 cursors"
  std::vector<std::string> debug_lines;
  std::map<std::string, std::uint64_t> calls;  // of the platform, by name
  CommitTimes times;
};

// Runs the validation points that the changes call, in a child process, between
// one lib_init() and one lib_finish(): the snapshot of a plug-in never outlives
// a commit. The first refusal ends the commit, and so does the time limit. Both
// trees must have the same model. Throws plugin::PluginError if the file is not
// a plug-in.
Outcome RunCommit(const datastore::Transaction& transaction,
                  const Options& options);
Outcome RunCommit(const datastore::DataTree& running,
                  const datastore::DataTree& candidate, const Options& options);

// One of many commits that share a time limit. Throws base::TimeOver if its
// verdict is not known in time.
Outcome RunCommit(const datastore::DataTree& running,
                  const datastore::DataTree& candidate, Options options,
                  const base::Countdown& countdown);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_COMMIT_H_
