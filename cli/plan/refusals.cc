#include "cli/plan/refusals.h"

#include <utility>

#include "messages/data_view.h"
#include "messages/finder.h"
#include "messages/restart_faults.h"

namespace ipav::cli::plan {

using datastore::DataTree;
using planner::State;

Refusals::Refusals(const Input& running, const Input& goal,
                   planner::Verdicts* verdicts)
    : running_(running),
      goal_(goal),
      verdicts_(*verdicts),
      empty_(DataTree::Empty(running.tree.model())) {
  if (running.text) running_source_.emplace(*running.text);
}

report::DeviceReport Refusals::Of(const State& changes, const State& made) {
  report::DeviceReport report;
  report.running = running_.file;
  report.candidate = "after the other changes";
  State from = made;
  State to = changes;
  to.insert(made.begin(), made.end());
  if (made.empty() || verdicts_.Of(from, to).accepted) {
    report.candidate = "these changes alone";
    from = {};
    to = changes;
  }
  const planner::Verdict& verdict = verdicts_.Of(from, to);
  const auto before = verdicts_.ConfigurationOf(from);
  const auto after = verdicts_.ConfigurationOf(to);
  if (after->tree == nullptr) {
    report.status = kBadInput;
    report.input_errors = {after->error_path + ": " + after->error};
    return report;
  }
  const bool at_restart = verdict.judge == planner::Judge::kRestart;
  report.outcome = verdicts_.Judge(*before->tree, *after->tree, false);
  const bool has_failed =
      report.outcome.verdict == commit::Verdict::kPluginFailed;
  report.status = has_failed ? kPluginFailed : kRefused;
  if (!has_failed) {
    Explain(*before->tree, *after->tree, at_restart, &report);
  }
  return report;
}

void Refusals::Explain(const DataTree& before, const DataTree& after,
                       bool at_restart, report::DeviceReport* report) const {
  // They remember the nodes of one tree.
  const source::SourceText goal(*goal_.text);
  std::optional<source::SourceText> running;
  if (running_.text) running.emplace(*running_.text);
  const messages::Configuration from = {&before, running_.file,
                                        running ? &*running : nullptr};
  const messages::Configuration to = {&after, goal_.file, &goal};
  if (at_restart) {
    const commit::Outcome of_before = verdicts_.Judge(empty_, before, true);
    const commit::Outcome of_after = verdicts_.Judge(empty_, after, true);
    report::Restart restart;
    restart.faults = messages::CompareRestarts(from, of_before, to, of_after);
    restart.planned = of_after.planned;
    restart.made = of_after.answers.size();
    report->restart = std::move(restart);
    return;
  }
  report->findings = messages::Finder(from, to).ExplainAll(report->outcome);
  for (messages::Finding& finding : report->findings) {
    for (messages::Culprit& culprit : finding.culprits) Relocate(&culprit);
  }
}

// What no change concerns is in the running configuration; the goal may have
// another value there.
void Refusals::Relocate(messages::Culprit* culprit) const {
  const lyd_node* node =
      messages::DataView(running_.tree).AtPath(culprit->path);
  if (culprit->novelty != datastore::Novelty::kUnchanged || node == nullptr ||
      messages::TextOf(node) != culprit->value || !running_source_) {
    return;
  }
  culprit->place = messages::PlaceOf(
      {&running_.tree, running_.file, &*running_source_}, node);
}

}  // namespace ipav::cli::plan
