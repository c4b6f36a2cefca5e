#include "host/commit/commit.h"

#include <confd_lib.h>

#include <optional>

#include "host/base/stopwatch.h"
#include "host/commit/child.h"
#include "host/commit/child_messages.h"
#include "host/commit/life.h"
#include "host/datastore/diff.h"

namespace ipav::commit {

using datastore::DataTree;
using datastore::Diff;

bool IsAccepting(std::int32_t result) {
  return result == CONFD_OK || result == CONFD_VALIDATION_WARN;
}

bool Accepts(const Answer& answer) {
  return !answer.exception.has_value() && IsAccepting(answer.result);
}

Outcome RunCommit(const DataTree& running, const DataTree& candidate,
                  const Options& options) {
  return RunCommit(running, candidate, Diff(running, candidate), options);
}

Outcome RunCommit(const DataTree& running, const DataTree& candidate,
                  const Diff& diff, const Options& options) {
  base::Stopwatch watch;
  const auto validate = [&](const Reporter& reporter) {
    RunLife({running, candidate, diff}, options, std::nullopt, reporter);
  };
  const ChildReport report = RunInChild(validate, options.time_limit);
  Outcome outcome = ReadOutcome(report, options.time_limit);
  outcome.times.child = watch.Lap();
  return outcome;
}

Outcome RunCommit(const DataTree& running, const DataTree& candidate,
                  Options options, const base::Countdown& countdown) {
  const int left = countdown.ForPoll();
  if (left == 0) throw base::TimeOver();
  if (left > 0) options.time_limit = base::TimeLimit(left);
  Outcome outcome = RunCommit(running, candidate, options);
  const bool is_late =
      outcome.verdict == Verdict::kPluginFailed && countdown.ForPoll() == 0;
  if (is_late) throw base::TimeOver();
  return outcome;
}

}  // namespace ipav::commit
