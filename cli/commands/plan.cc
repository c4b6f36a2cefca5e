// ipav plan: finds commits that lead from one configuration to another.

#include <fmt/core.h>

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <ratio>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/plan/plan_report.h"
#include "cli/plan/replay.h"
#include "cli/plan/step_files.h"
#include "cli/progress_line.h"
#include "cli/shared_model.h"
#include "host/base/stopwatch.h"
#include "host/commit/commit.h"
#include "host/confd/path.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"
#include "host/source/source_text.h"
#include "messages/data_view.h"
#include "messages/finder.h"
#include "messages/restart_faults.h"
#include "planner/composer.h"
#include "planner/core.h"
#include "planner/search.h"
#include "planner/verdicts.h"

namespace ipav::cli {

namespace {

using datastore::DataTree;
using datastore::InputText;
using plan::Core;
using plan::PlanReport;
using planner::Composer;
using planner::Search;
using planner::SearchResult;
using planner::State;
using planner::Verdicts;

constexpr char kPlanNotes[] =
    "Every commit of a plan is accepted, and a device also loads each of its\n"
    "configurations from nothing; faults that the running configuration has "
    "as\n"
    "well do not count. A change is a line of ipav diff. If no order of the\n"
    "changes is accepted, the plan may take away a node that a refusal names,\n"
    "and put it back later (a detour). If there is no plan, the smallest sets\n"
    "of changes that are refused in any order are listed, and a plan for the\n"
    "others.\n"
    "\n"
    "Examples:\n"
    "  ipav plan --running running.xml goal.xml\n"
    "  ipav plan --running running.xml --output steps goal.xml\n"
    "  ipav plan --each --format json --running running.json goal.json\n"
    "\n"
    "Exit status: 0 the goal is reached, 1 it is not, 2 the input or the\n"
    "command line is wrong, 3 the plug-in died or threw an exception, and the\n"
    "goal is not reached.";

struct PlanOptions {
  Locations locations;
  std::string running;  // file; empty: nothing is configured yet
  std::string goal;     // file
  bool each = false;
  std::string output;           // folder; empty: none
  std::string format = "text";  // or json
  std::size_t verdicts = 0;     // 0: any number
  ReadingLimits limits;         // `time` is also that of the search
};

struct Input {
  std::optional<InputText> text;  // none: an empty configuration
  DataTree tree;
};

Input ReadInput(const datastore::Model& model, const std::string& file,
                const ReadingLimits& limits) {
  if (file.empty()) return {std::nullopt, DataTree::Empty(model)};
  const ReadingTime limit(file, limits.time);
  InputText text = datastore::ReadText(file, limits.size);
  DataTree tree = DataTree::FromText(model, text);
  return {std::move(text), std::move(tree)};
}

// Explains why a set of changes is refused when it is committed alone.
class Refusals {
 public:
  Refusals(const PlanOptions& options, const Input& running, const Input& goal,
           Verdicts* verdicts)
      : options_(options),
        running_(running),
        goal_(goal),
        verdicts_(*verdicts),
        empty_(DataTree::Empty(running.tree.model())) {
    if (running.text) running_source_.emplace(*running.text);
  }

  // Judges the core after the changes that can be made, or alone if it is not
  // refused there.
  report::DeviceReport Of(const State& core, const State& made) {
    report::DeviceReport report;
    report.running = options_.running;
    report.candidate = "after the other changes";
    State from = made;
    State to = core;
    to.insert(made.begin(), made.end());
    if (made.empty() || verdicts_.Of(from, to).accepted) {
      report.candidate = "these changes alone";
      from = {};
      to = core;
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
    report.outcome = RunCommit(*before->tree, *after->tree, false);
    const bool has_failed =
        report.outcome.verdict == commit::Verdict::kPluginFailed;
    report.status = has_failed ? kPluginFailed : kRefused;
    if (!has_failed) {
      Explain(*before->tree, *after->tree, at_restart, &report);
    }
    return report;
  }

 private:
  commit::Outcome RunCommit(const DataTree& before, const DataTree& after,
                            bool all) const {
    return commit::RunCommit(
        before, after, {options_.locations.plugin, all, options_.limits.time});
  }

  void Explain(const DataTree& before, const DataTree& after, bool at_restart,
               report::DeviceReport* report) const {
    // They remember the nodes of one tree.
    const source::SourceText goal(*goal_.text);
    std::optional<source::SourceText> running;
    if (running_.text) running.emplace(*running_.text);
    const messages::Configuration from = {&before, options_.running,
                                          running ? &*running : nullptr};
    const messages::Configuration to = {&after, options_.goal, &goal};
    if (at_restart) {
      const commit::Outcome of_before = RunCommit(empty_, before, true);
      const commit::Outcome of_after = RunCommit(empty_, after, true);
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
  void Relocate(messages::Culprit* culprit) const {
    const lyd_node* node =
        messages::DataView(running_.tree).AtPath(culprit->path);
    if (culprit->novelty != datastore::Novelty::kUnchanged || node == nullptr ||
        messages::TextOf(node) != culprit->value || !running_source_) {
      return;
    }
    culprit->place = messages::PlaceOf(
        {&running_.tree, options_.running, &*running_source_}, node);
  }

  const PlanOptions& options_;
  const Input& running_;
  std::optional<source::SourceText> running_source_;
  const Input& goal_;
  Verdicts& verdicts_;
  const DataTree empty_;
};

std::vector<std::size_t> Numbers(const State& state) {
  return {state.begin(), state.end()};
}

// An entry with another key is a deletion and an addition.
bool MayReplace(const datastore::Change& added,
                const datastore::Change& deleted) {
  return added.before == nullptr && deleted.after == nullptr &&
         added.schema == deleted.schema && added.schema->nodetype == LYS_LIST &&
         confd::PrintPath(lyd_parent(added.after), *added.schema) ==
             confd::PrintPath(lyd_parent(deleted.before), *deleted.schema);
}

std::vector<std::size_t> FindUnreplaced(const std::vector<planner::Item>& items,
                                        const State& made,
                                        const State& left_out) {
  std::vector<std::size_t> unreplaced;
  for (const std::size_t deleted : made) {
    for (const std::size_t added : left_out) {
      if (MayReplace(*items[added].change, *items[deleted].change)) {
        unreplaced.push_back(deleted);
        break;
      }
    }
  }
  return unreplaced;
}

// Says why the goal is not reached, and plans what can be done instead.
SearchResult PlanTheRest(const SearchResult& failed, const State& goal,
                         planner::Style style, Refusals* refusals,
                         Verdicts* verdicts, PlanReport* report) {
  State made = failed.steps.empty() ? State{} : failed.steps.back();
  SearchResult rest = failed;
  try {
    if (failed.is_limited) throw planner::LimitReached();
    const planner::Verdict& at_once = verdicts->Of({}, goal);
    report->one_commit = at_once.findings.empty()
                             ? at_once.error
                             : at_once.findings.front().text;
    const auto obstacles = planner::FindObstacles(verdicts, goal, made);
    for (const auto& core : obstacles.cores) {
      report->cores.push_back({Numbers(core.changes), core.is_smallest,
                               refusals->Of(core.changes, obstacles.made)});
    }
    const SearchResult plan = Search(verdicts, obstacles.made).Run(style);
    if (plan.reached) {
      rest = plan;
      made = obstacles.made;
    }
  } catch (const planner::LimitReached&) {
    report->is_limited = true;
  }
  State left_out = goal;
  for (const std::size_t item : made) left_out.erase(item);
  report->left_out = Numbers(left_out);
  report->unreplaced =
      FindUnreplaced(verdicts->composer()->items(), made, left_out);
  return rest;
}

// Writes the plan to the folder for its steps, and to standard output.
void Write(const PlanReport& report, const Composer& composer,
           const std::string& format, plan::StepFiles* files) {
  const std::string json =
      plan::ToJson(report, composer)
          .dump(2, ' ', false, nlohmann::json::error_handler_t::replace) +
      "\n";
  files->End(json);
  if (format == "json") {
    static_cast<void>(std::fputs(json.c_str(), stdout));
  } else {
    plan::PrintText(report, composer);
  }
}

ExitStatus Plan(const PlanOptions& options) {
  // 1. Read both configurations.
  if (options.goal.empty()) {
    throw std::runtime_error("no file is named as goal");
  }
  base::Stopwatch watch;
  plan::StepFiles files(options.output);
  const datastore::Model& model = SharedModel(options.locations);
  const Input running = ReadInput(model, options.running, options.limits);
  const Input goal = ReadInput(model, options.goal, options.limits);

  // 2. Search.
  Composer composer(running.tree, goal.tree);
  ProgressLine progress(true);
  const auto show = [&](std::size_t count) {
    progress.Show([=] { return fmt::format("{} verdicts", count); });
  };
  Verdicts verdicts(&composer, options.locations.plugin,
                    {options.limits.time, options.verdicts, show});
  const auto style =
      options.each ? planner::Style::kEach : planner::Style::kFewest;
  SearchResult result = Search(&verdicts, composer.goal()).Run(style);

  // 3. Explain what is refused.
  PlanReport report;
  report.running = options.running;
  report.goal = options.goal;
  report.reached = result.reached;
  report.is_limited = result.is_limited;
  report.proven = result.proven;
  report.each = options.each;
  if (!result.reached) {
    Refusals refusals(options, running, goal, &verdicts);
    result = PlanTheRest(result, composer.goal(), style, &refusals, &verdicts,
                         &report);
    report.failure = verdicts.failure();
  }

  // 4. Replay the plan, and report it.
  progress.Clear();
  report.steps =
      plan::Replay(composer, result.steps, options.locations.plugin,
                   [&](std::size_t number, const std::string& configuration,
                       const datastore::Diff& diff) {
                     files.Write(number, configuration, diff);
                   });
  report.verdicts = verdicts.count();
  report.seconds = base::In<std::ratio<1>>(watch.Lap());
  Write(report, composer, options.format, &files);
  return plan::StatusOf(report);
}

}  // namespace

Command AddPlan(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<PlanOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "plan", "Find the commits that lead to a configuration");
  command->footer(kPlanNotes);
  AddInput(command, "--running",
           "Running configuration, XML or JSON (default: empty)",
           &options->running);
  AddInput(command, "goal", "Configuration to reach, XML or JSON",
           &options->goal)
      ->required();
  command->add_flag("--each", options->each,
                    "As many commits as possible, each as small as possible");
  command
      ->add_option("--output", options->output,
                   "New folder for the configurations after each commit and "
                   "for their changes")
      ->type_name(kFolder);
  AddChoice(command, "--format", {"text", "json"}, "text or json",
            &options->format);
  command->add_option("--verdicts", options->verdicts,
                      "End the search after this number of verdicts of the "
                      "plug-in (default: 0, no limit)");
  AddLimits(command, "read a configuration, and for the search",
            &options->limits);
  AddPluginAndYang(command, &options->locations);
  return {command, [options] { return Plan(*options); }};
}

}  // namespace ipav::cli
