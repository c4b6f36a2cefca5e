#include "cli/plan/replay.h"

#include <fmt/core.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "cli/changed_lines.h"
#include "cli/print_tree.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"

namespace ipav::cli::plan {

namespace {

using datastore::DataTree;
using datastore::Diff;
using planner::Composer;
using planner::State;

// The detours of one state that the other one does not have.
std::vector<std::size_t> DetoursOnlyIn(const State& one, const State& other,
                                       const Composer& composer) {
  std::vector<std::size_t> detours;
  for (const std::size_t item : one) {
    if (composer.IsDetour(item) && other.count(item) == 0) {
      detours.push_back(item);
    }
  }
  return detours;
}

[[noreturn]] void NotConfirmed(std::size_t number, const std::string& why) {
  throw std::runtime_error(
      fmt::format("commit {} of the plan is not confirmed: {}", number, why));
}

}  // namespace

std::vector<Step> Replay(const Composer& composer, const planner::Steps& states,
                         const ReplayOptions& options, const TakeCommit& take) {
  const base::Countdown countdown(options.time);
  const datastore::Model& model = composer.running().model();
  std::vector<Step> steps;
  std::unique_ptr<const DataTree> before;
  State from;
  for (const State& to : states) {
    const std::size_t number = steps.size() + 1;
    // 1. The configuration, as a file.
    const auto composed = composer.Compose(to);
    datastore::InputText text{fmt::format("step-{}", number),
                              PrintTree(*composed->tree, options.format), 0,
                              options.format};
    auto after =
        std::make_unique<const DataTree>(DataTree::FromText(model, text));
    if (!Diff(*composed->tree, *after).top().empty()) {
      NotConfirmed(number, "its file has other data");
    }
    // 2. Its verdict.
    const DataTree& running = before ? *before : composer.running();
    const commit::Outcome outcome = [&] {
      try {
        return commit::RunCommit(running, *after, {options.plugin}, countdown);
      } catch (const base::TimeOver&) {
        NotConfirmed(number, "no answer within " + base::InWords(options.time));
      }
    }();
    if (outcome.verdict != commit::Verdict::kAccepted) {
      NotConfirmed(number, "the plug-in does not accept it again");
    }
    // 3. Its changes.
    const Diff diff(running, *after);
    Step step;
    step.calls = outcome.answers.size();
    step.changes = nlohmann::ordered_json::array();
    for (const ChangedLine& line : ListLines(diff.top(), false)) {
      step.lines.push_back(InWords(line));
      step.changes.push_back(JsonOf(line));
    }
    step.taken_away = DetoursOnlyIn(to, from, composer);
    step.put_back = DetoursOnlyIn(from, to, composer);
    take(number, text.bytes, diff);
    steps.push_back(std::move(step));
    before = std::move(after);
    from = to;
  }
  return steps;
}

}  // namespace ipav::cli::plan
