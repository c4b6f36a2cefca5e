#include "planner/order.h"

#include <algorithm>

namespace ipav::planner {

namespace {

std::vector<std::string> RefusalsOf(const Verdict& verdict) {
  if (verdict.accepted) return {};
  if (verdict.findings.empty()) return {verdict.error};
  std::vector<std::string> texts;
  for (const messages::Finding& finding : verdict.findings) {
    texts.push_back(finding.text);
  }
  return texts;
}

// The state that the second commit makes if it comes first; `from` if it puts
// back what the first one took away.
State Exchanged(const State& from, const State& first, const State& second) {
  if (!std::includes(second.begin(), second.end(), first.begin(),
                     first.end())) {
    return from;
  }
  State state = from;
  for (const std::size_t item : second) {
    if (first.count(item) == 0) state.insert(item);
  }
  return state;
}

}  // namespace

std::vector<Constraint> FindConstraints(Verdicts* verdicts, const Steps& steps,
                                        bool as_one) {
  std::vector<Constraint> constraints;
  const auto add = [&](std::size_t commit, bool is_of_order, const State& from,
                       const State& to) {
    if (from == to) return;
    std::vector<std::string> texts = RefusalsOf(verdicts->Of(from, to));
    if (!texts.empty()) {
      constraints.push_back({commit, is_of_order, std::move(texts)});
    }
  };
  try {
    for (std::size_t i = 1; i < steps.size(); ++i) {
      const State from = i < 2 ? State{} : steps[i - 2];
      if (as_one) add(i, false, from, steps[i]);
      add(i, true, from, Exchanged(from, steps[i - 1], steps[i]));
    }
  } catch (const LimitReached&) {
    // The plan is the same without them.
  }
  return constraints;
}

}  // namespace ipav::planner
