#include "planner/verdicts.h"

#include <algorithm>
#include <chrono>

#include "messages/restart_faults.h"

namespace ipav::planner {

namespace {

using commit::Answer;
using commit::Outcome;
using datastore::DataTree;
using messages::Finding;

// Configurations in memory, besides the running one and the goal.
constexpr std::size_t kMostConfigurations = 32;

std::string FailureOf(const Outcome& outcome) {
  if (!outcome.failure.empty()) return outcome.failure;
  const auto threw = std::find_if(
      outcome.answers.begin(), outcome.answers.end(),
      [](const Answer& answer) { return answer.exception.has_value(); });
  return threw == outcome.answers.end()
             ? "it gave no answer"
             : "it threw an exception: " + *threw->exception;
}

// Whether the plug-in failed; the verdict then says how.
bool HasFailed(const Outcome& outcome, Verdict* verdict) {
  if (outcome.verdict != commit::Verdict::kPluginFailed) return false;
  verdict->error = FailureOf(outcome);
  verdict->error_path = outcome.failed_path;
  return true;
}

// A bit for each item.
std::string BitsOf(const State& state) {
  constexpr std::size_t kBits = 8;
  std::string bits(state.empty() ? 0 : *state.rbegin() / kBits + 1, '\0');
  for (const std::size_t item : state) {
    const unsigned bit = 1U << (item % kBits);
    bits[item / kBits] =
        static_cast<char>(static_cast<unsigned char>(bits[item / kBits]) | bit);
  }
  return bits;
}

std::string KeyOf(const State& from, const State& to) {
  const std::string bits = BitsOf(from);
  return std::to_string(bits.size()) + ' ' + bits + BitsOf(to);
}

}  // namespace

Verdicts::Verdicts(Composer* composer, std::string plugin, Limits limits)
    : composer_(composer),
      plugin_(std::move(plugin)),
      limits_(std::move(limits)),
      countdown_(limits_.time),
      empty_(DataTree::Empty(composer->running().model())) {}

const Verdict& Verdicts::Of(const State& from, const State& to) {
  const std::string key = KeyOf(from, to);
  const auto known = verdicts_.find(key);
  if (known != verdicts_.end()) return known->second;
  return verdicts_.emplace(key, Ask(from, to)).first->second;
}

std::shared_ptr<const Composed> Verdicts::ConfigurationOf(const State& state) {
  const std::string key = BitsOf(state);
  const auto known = configurations_.find(key);
  if (known != configurations_.end()) return known->second;
  if (configurations_.size() == kMostConfigurations) configurations_.clear();
  return configurations_.emplace(key, composer_->Compose(state)).first->second;
}

Outcome Verdicts::RunCommit(const DataTree& from, const DataTree& to) {
  if (limits_.verdicts != 0 && count_ == limits_.verdicts) throw LimitReached();
  if (limits_.on_verdict) limits_.on_verdict(count_);
  Outcome outcome = Judge(from, to, true);
  ++count_;
  if (outcome.verdict == commit::Verdict::kPluginFailed) {
    failure_ = FailureOf(outcome);
  }
  return outcome;
}

Verdict Verdicts::Ask(const State& from, const State& to) {
  Verdict verdict;
  // 1. The data model. Every `from` is a configuration that was accepted.
  const std::shared_ptr<const Composed> before = ConfigurationOf(from);
  const std::shared_ptr<const Composed> after = ConfigurationOf(to);
  if (after->tree == nullptr) {
    verdict.judge = Judge::kModel;
    verdict.error = after->error;
    verdict.error_path = after->error_path;
    return verdict;
  }
  // 2. The commit.
  const Outcome outcome = RunCommit(*before->tree, *after->tree);
  verdict.calls = outcome.answers.size();
  if (HasFailed(outcome, &verdict)) return verdict;
  if (outcome.verdict == commit::Verdict::kRefused) {
    messages::Finder finder({before->tree, "", nullptr},
                            {after->tree, "", nullptr});
    verdict.findings = finder.ExplainAll(outcome);
    return verdict;
  }
  // 3. A device that loads the result.
  const std::string key = BitsOf(to);
  auto known = restarts_.find(key);
  if (known == restarts_.end()) {
    known = restarts_.emplace(key, Restart(*after->tree)).first;
  }
  const std::size_t calls = verdict.calls;
  verdict = known->second;
  verdict.calls = calls;
  return verdict;
}

// Whether a device loads the configuration after a restart, except for faults
// that the running one has as well.
Verdict Verdicts::Restart(const DataTree& tree) {
  Verdict verdict;
  verdict.judge = Judge::kRestart;
  const Outcome outcome = RunCommit(empty_, tree);
  verdict.accepted = outcome.verdict == commit::Verdict::kAccepted;
  if (verdict.accepted) return verdict;
  if (HasFailed(outcome, &verdict)) return verdict;
  const DataTree& running = composer_->running();
  if (!of_running_.has_value()) of_running_ = RunCommit(empty_, running);
  verdict.findings =
      messages::CompareRestarts({&running, "", nullptr}, *of_running_,
                                {&tree, "", nullptr}, outcome)
          .findings;
  verdict.findings.erase(
      std::remove_if(verdict.findings.begin(), verdict.findings.end(),
                     [](const Finding& fault) { return fault.is_standing; }),
      verdict.findings.end());
  verdict.accepted = verdict.findings.empty();
  return verdict;
}

}  // namespace ipav::planner
