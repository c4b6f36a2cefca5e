#include "host/commit/commit.h"

#include <confd_lib.h>

#include <optional>

#include "host/base/stopwatch.h"
#include "host/commit/child.h"
#include "host/commit/child_messages.h"
#include "host/commit/life.h"
#include "host/datastore/diff.h"

namespace ipav::commit {

namespace {

using datastore::DataTree;
using datastore::Diff;

Outcome Judge(const Configurations& configurations, const Options& options) {
  base::Stopwatch watch;
  const auto validate = [&](const Reporter& reporter) {
    RunLife(configurations, options, std::nullopt, reporter);
  };
  const ChildReport report = RunInChild(validate, options.time_limit);
  Outcome outcome = ReadOutcome(report, options.time_limit);
  outcome.times.child = watch.Lap();
  return outcome;
}

}  // namespace

bool IsAccepting(std::int32_t result) {
  return result == CONFD_OK || result == CONFD_VALIDATION_WARN;
}

bool Accepts(const Answer& answer) {
  return !answer.exception.has_value() && IsAccepting(answer.result);
}

Outcome RunCommit(const DataTree& running, const DataTree& candidate,
                  const Options& options) {
  const Diff diff(running, candidate);
  return Judge(
      {[&running]() -> const DataTree& { return running; }, candidate, diff},
      options);
}

Outcome RunCommit(const datastore::Transaction& transaction,
                  const Options& options) {
  return Judge({[&]() -> const DataTree& { return transaction.running(); },
                transaction.candidate(), transaction.diff()},
               options);
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
