#include "messages/restart_faults.h"

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/datastore/diff.h"
#include "messages/data_view.h"

namespace ipav::messages {

namespace {

using commit::Answer;
using datastore::Change;
using datastore::Diff;
using datastore::Novelty;

// Two faults with the same texts are one.
using Texts = std::tuple<std::string, std::string, std::string>;
Texts TextsOf(const Answer& answer) {
  return {answer.opaque, answer.path, answer.text.value_or("")};
}

std::set<Texts> TextsOf(const commit::Outcome& outcome) {
  std::set<Texts> texts;
  for (const Answer& answer : outcome.answers) {
    if (IsRefusal(answer)) texts.insert(TextsOf(answer));
  }
  return texts;
}

// So are two faults of one rule with the same nodes: the text may name them in
// another order, or be about another number of them.
using Nodes =
    std::tuple<std::string, std::string, std::string, std::set<std::string>>;
Nodes NodesOf(const Finding& finding) {
  std::set<std::string> paths;
  for (const Culprit& culprit : finding.culprits) paths.insert(culprit.path);
  return {finding.point, finding.path, finding.rule, std::move(paths)};
}

// The faults that the change heals, with what it did to their nodes.
std::vector<Finding> Healed(const Configuration& running,
                            const Configuration& candidate,
                            const std::vector<Answer>& answers) {
  std::vector<Finding> healed;
  if (answers.empty()) return healed;
  Finder finder(running, running, Judged::kFromNothing);
  const DataView view(*running.tree);
  const Diff backwards(*candidate.tree, *running.tree);
  for (const Answer& answer : answers) {
    Finding& finding = healed.emplace_back(finder.Explain(answer));
    finding.is_standing = false;
    for (Culprit& culprit : finding.culprits) {
      const Change* change = backwards.Of(view.AtPath(culprit.path));
      if (change == nullptr) continue;
      const bool is_gone = change->How() == Novelty::kAdded;
      culprit.novelty = is_gone ? Novelty::kRemoved : Novelty::kChanged;
    }
  }
  return healed;
}

}  // namespace

RestartFaults CompareRestarts(const Configuration& running,
                              const commit::Outcome& of_running,
                              const Configuration& candidate,
                              const commit::Outcome& of_candidate) {
  RestartFaults faults;
  const std::set<Texts> before = TextsOf(of_running);
  const std::set<Texts> after = TextsOf(of_candidate);
  Finder finder(running, candidate, Judged::kFromNothing);

  // 1. The faults that the candidate reports: new ones and standing ones.
  std::set<Nodes> known;
  for (const Answer& answer : of_candidate.answers) {
    if (!IsRefusal(answer)) continue;
    Finding finding = finder.Explain(answer);
    if (finding.culprits.empty() && before.count(TextsOf(answer)) > 0) {
      finding.is_standing = true;
    }
    known.insert(NodesOf(finding));
    faults.findings.push_back(std::move(finding));
  }

  // 2. Those that only the running configuration reports: the candidate has
  // them too, or has them no more.
  std::vector<Answer> healed;
  for (const Answer& answer : of_running.answers) {
    if (!IsRefusal(answer) || after.count(TextsOf(answer)) > 0) continue;
    Finding finding = finder.Explain(answer);
    if (!finding.is_standing) {
      healed.push_back(answer);
    } else if (known.insert(NodesOf(finding)).second) {
      faults.findings.push_back(std::move(finding));
    }
  }
  faults.healed = Healed(running, candidate, healed);
  return faults;
}

}  // namespace ipav::messages
