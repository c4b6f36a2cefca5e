#include "fixer/fixes.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/datastore/diff.h"

namespace ipav::fixer {

namespace {

using commit::Answer;
using commit::Outcome;
using datastore::DataTree;
using datastore::Diff;
using messages::DataView;
using messages::Finding;
using messages::Judged;

bool IsSame(const DataTree& a, const DataTree& b) {
  return Diff(a, b).top().empty();
}

// Replaces whole words of a refusal's text or path.
std::string ReplaceWord(const std::string& text, const std::string& word,
                        const std::string& by) {
  const auto is_one_of = [](std::string_view set, char c) {
    return set.find(c) != std::string_view::npos;
  };
  std::string replaced;
  std::size_t at = 0;
  for (std::size_t found = text.find(word); found != std::string::npos;
       found = text.find(word, at)) {
    const std::size_t end = found + word.size();
    const bool is_word = (found == 0 || is_one_of(" {", text[found - 1])) &&
                         (end == text.size() || is_one_of(" .}", text[end]));
    replaced += text.substr(at, found - at) + (is_word ? by : word);
    at = end;
  }
  return replaced + text.substr(at);
}

// What the candidate would be told instead of this text about a copy: a fault
// of an address that has another value now is not new.
Answer BeforeEdits(Answer answer, const std::vector<Edit>& edits,
                   const DataTree& candidate) {
  for (const Edit& edit : edits) {
    if (edit.kind != Edit::Kind::kSet || edit.value.empty()) continue;
    const std::string before =
        messages::TextOf(DataView(candidate).AtPath(edit.path));
    if (before.empty()) continue;
    answer.path = ReplaceWord(answer.path, edit.value, before);
    if (answer.text) {
      answer.text = ReplaceWord(*answer.text, edit.value, before);
    }
  }
  return answer;
}

// Whether the answer is that refusal, from any point. The texts about timers
// name no interface.
bool Repeats(const Answer& answer, const Finding& finding) {
  const bool names_nodes = finding.rule.rfind("ra-", 0) != 0;
  return *answer.text == finding.text &&
         (names_nodes || answer.path == finding.path);
}

}  // namespace

Fixer::Baseline::Baseline(const DataTree& start, const DataTree& candidate,
                          Outcome judgement, Judged how)
    : from(start),
      outcome(std::move(judgement)),
      judged(how),
      finder({&start, "", nullptr}, {&candidate, "", nullptr}, how) {
  for (const Answer& answer : outcome.answers) {
    if (answer.text) texts.emplace(answer.path, *answer.text);
  }
}

bool Fixer::Baseline::Has(const Answer& answer) const {
  return texts.count({answer.path, *answer.text}) > 0;
}

bool Fixer::Baseline::IsNew(const Answer& answer) {
  return !Has(answer) && finder.Explain(answer).culprits.empty();
}

Fixer::Fixer(const DataTree& running, const DataTree& candidate,
             const std::string& plugin, const base::Countdown& countdown)
    : running_(running),
      candidate_(candidate),
      plugin_(plugin),
      countdown_(countdown),
      empty_(DataTree::Empty(running.model())) {}

std::unique_ptr<Fixer::Baseline> Fixer::Judge(const DataTree& from,
                                              Judged judged) const {
  return std::make_unique<Baseline>(
      from, candidate_,
      commit::RunCommit(from, candidate_, {plugin_, true}, countdown_), judged);
}

Fixer::Baseline& Fixer::OfChange() {
  if (of_change_ == nullptr) of_change_ = Judge(running_, Judged::kAsChange);
  return *of_change_;
}

Fixer::Baseline& Fixer::OfWhole() {
  if (of_whole_ == nullptr) of_whole_ = Judge(empty_, Judged::kFromNothing);
  return *of_whole_;
}

std::vector<Fix> Fixer::FixesOf(const Finding& finding) {
  std::vector<Fix> fixes;
  std::vector<std::shared_ptr<const DataTree>> known;
  const DataView running(running_);
  const DataView candidate(candidate_);
  for (Proposal& proposal : Propose({finding, running, candidate})) {
    std::optional<DataTree> edited =
        Apply(proposal.edits, running_, candidate_);
    if (!edited) continue;
    const auto tree = std::make_shared<const DataTree>(std::move(*edited));
    const bool is_known =
        std::any_of(known.begin(), known.end(),
                    [&](const auto& other) { return IsSame(*other, *tree); });
    if (is_known) continue;
    known.push_back(tree);
    if (Holds(finding, proposal, *tree)) {
      fixes.push_back({proposal.is_safe, std::move(proposal.text), tree});
    }
  }
  return fixes;
}

bool Fixer::Holds(const Finding& finding, const Proposal& proposal,
                  const DataTree& tree) {
  if (!IsBetter(finding, proposal, tree, &OfChange())) return false;
  return IsSame(running_, empty_) ||
         IsBetter(finding, proposal, tree, &OfWhole());
}

bool Fixer::IsBetter(const Finding& finding, const Proposal& proposal,
                     const DataTree& tree, Baseline* baseline) const {
  const Outcome outcome =
      commit::RunCommit(baseline->from, tree, {plugin_, true}, countdown_);
  if (outcome.verdict == commit::Verdict::kPluginFailed) return false;
  // 1. Nothing new appears, and the refusal is gone from every point.
  bool may_hide = false;
  for (const Answer& answer : outcome.answers) {
    if (commit::Accepts(answer)) continue;
    if (!messages::IsRefusal(answer) || !answer.text) return false;
    // A text that the candidate gets as well needs no words replaced.
    const Answer before = baseline->Has(answer)
                              ? answer
                              : BeforeEdits(answer, proposal.edits, candidate_);
    if (Repeats(before, finding) || baseline->IsNew(before)) return false;
    may_hide |= answer.opaque == finding.point && answer.path == finding.path;
  }
  if (!may_hide || finding.culprits.empty()) return true;
  // 2. It does not hide behind another one of its call.
  messages::Finder finder({&baseline->from, "", nullptr}, {&tree, "", nullptr},
                          baseline->judged);
  Answer same;
  same.opaque = finding.point;
  same.path = finding.path;
  same.text = finding.text;
  return finder.Explain(same).culprits.empty();
}

}  // namespace ipav::fixer
