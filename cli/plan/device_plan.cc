#include "cli/plan/device_plan.h"

#include <fmt/core.h>

#include <memory>
#include <optional>
#include <ratio>

#include "cli/plan/plan_page.h"
#include "cli/plan/plan_report.h"
#include "cli/plan/replay.h"
#include "cli/plan/step_files.h"
#include "cli/progress_line.h"
#include "host/base/stopwatch.h"
#include "host/base/utf8.h"
#include "host/confd/path.h"
#include "host/datastore/input_text.h"
#include "planner/core.h"
#include "planner/search.h"
#include "planner/verdicts.h"

namespace ipav::cli::plan {

namespace {

using datastore::DataTree;
using datastore::InputText;
using fleet::Device;
using planner::Composer;
using planner::Search;
using planner::SearchResult;
using planner::State;
using planner::Verdicts;
using report::Json;

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
    report->unexamined = obstacles.unexamined;
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

// A device without a plan. `state` is one word or two for people.
DevicePlan Without(const Device& device, ExitStatus status, const char* state,
                   const std::vector<std::string>& problems) {
  DevicePlan plan;
  plan.number = device.number;
  plan.goal = device.candidate;
  plan.status = status;
  plan.text =
      fmt::format("{}: not planned, {}\n", base::Printable(plan.goal), state);
  for (const std::string& problem : problems) {
    plan.text += "  " + base::Printable(problem) + "\n";
  }
  plan.problems = problems;
  plan.page_section = SectionWithoutPlan(
      {plan.number, plan.goal, plan.status, plan.problems, ""});
  plan.json = Json::object();
  report::PutUnlessEmpty(&plan.json, "running", device.running);
  report::PutText(&plan.json, "goal", device.candidate);
  return plan;
}

// In every format.
DevicePlan Written(const Device& device, const PlanReport& report,
                   const Composer& composer, bool page) {
  DevicePlan plan;
  plan.number = device.number;
  plan.goal = device.candidate;
  plan.status = StatusOf(report);
  plan.text = InWords(report, composer);
  plan.json = ToJson(report, composer);
  if (!page) return plan;
  plan.problems = ProblemsOf(report);
  plan.page_section = PlanSection(plan.number, report, composer);
  return plan;
}

}  // namespace

DevicePlan BadInput(const Device& device,
                    const std::vector<std::string>& errors) {
  DevicePlan plan = Without(device, kBadInput, "bad input", errors);
  report::PutLines(&plan.json, "inputErrors", errors);
  return plan;
}

DevicePlan Failed(const Device& device, const std::string& reason) {
  DevicePlan plan = Without(device, kPluginFailed, "failed", {reason});
  report::PutText(&plan.json, "failure", reason);
  return plan;
}

std::string PlanDocument(const Json& plan) {
  Json document = {{"format", "ipav plan"}, {"version", kPlanVersion}};
  document.update(plan);
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json ToMessage(const DevicePlan& plan) {
  Json json = {{"number", plan.number}, {"status", plan.status}};
  report::PutText(&json, "goal", plan.goal);
  report::PutText(&json, "text", plan.text);
  json["json"] = plan.json;
  report::PutLines(&json, "problems", plan.problems);
  json["pageSection"] = plan.page_section;
  return json;
}

DevicePlan FromMessage(const Json& message) {
  DevicePlan plan;
  plan.number = message.at("number").get<std::size_t>();
  plan.status = message.at("status").get<ExitStatus>();
  plan.goal = report::TextOf(message, "goal");
  plan.text = report::TextOf(message, "text");
  plan.json = message.at("json");
  plan.problems = report::LinesOf(message, "problems");
  plan.page_section = message.at("pageSection").get<std::string>();
  return plan;
}

Input ReadInput(const datastore::Model& model, const std::string& file,
                const ReadingLimits& limits, const TimeOver& time_over) {
  if (file.empty()) return {"", std::nullopt, DataTree::Empty(model)};
  const ReadingTime limit(limits.time,
                          time_over(NotReadWithin(file, limits.time)));
  InputText text = datastore::ReadText(file, limits.size);
  DataTree tree = DataTree::FromText(model, text);
  return {file, std::move(text), std::move(tree)};
}

DevicePlan Planner::operator()(const Device& device, const std::string& folder,
                               const TimeOver& time_over) const {
  if (!device.problem.empty()) return BadInput(device, {device.problem});
  std::optional<Input> own;
  if (device.running != running_.file) {
    own = ReadInput(model_, device.running, options_.limits, time_over);
  }
  const Input goal =
      ReadInput(model_, device.candidate, options_.limits, time_over);
  return Plan(device, own ? *own : running_, goal, folder);
}

DevicePlan Planner::Plan(const Device& device, const Input& running,
                         const Input& goal, const std::string& folder) const {
  // 1. Search.
  base::Stopwatch watch;
  Composer composer(running.tree, goal.tree);
  ProgressLine progress(options_.has_progress);
  const auto show = [&](std::size_t count) {
    progress.Show([=] { return fmt::format("{} verdicts", count); });
  };
  Verdicts verdicts(&composer, options_.plugin,
                    {options_.limits.time, options_.verdicts, show});
  const auto style =
      options_.each ? planner::Style::kEach : planner::Style::kFewest;
  SearchResult result = Search(&verdicts, composer.goal()).Run(style);

  // 2. Explain what is refused.
  PlanReport report;
  report.running = running.file;
  report.goal = goal.file;
  report.reached = result.reached;
  report.is_limited = result.is_limited;
  report.proven = result.proven;
  report.each = options_.each;
  if (!result.reached) {
    Refusals refusals(running, goal, &verdicts);
    result = PlanTheRest(result, composer.goal(), style, &refusals, &verdicts,
                         &report);
    report.failure = verdicts.failure();
  }

  // 3. Replay the plan, and report it.
  const LYD_FORMAT format = goal.text ? goal.text->format : LYD_XML;
  StepFiles files(folder, format);
  report.steps = Replay(
      composer, result.steps, {options_.plugin, options_.limits.time, format},
      [&](std::size_t number, const std::string& configuration,
          const datastore::Diff& diff) {
        files.Write(number, configuration, diff);
      });
  progress.Clear();
  report.verdicts = verdicts.count();
  report.seconds = base::In<std::ratio<1>>(watch.Lap());
  if (options_.page) {
    report.constraints =
        FindConstraints(&verdicts, result.steps, !options_.each);
  }
  DevicePlan plan = Written(device, report, composer, options_.page);
  files.End(PlanDocument(plan.json));
  return plan;
}

}  // namespace ipav::cli::plan
