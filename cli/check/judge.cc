#include "cli/check/judge.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <ratio>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cli/check/suggest.h"
#include "cli/check/timing.h"
#include "cli/check/trace.h"
#include "cli/kept_running.h"
#include "cli/report/html/device_html.h"
#include "cli/report/restart_findings.h"
#include "host/base/stopwatch.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_text.h"
#include "host/source/source_text.h"
#include "messages/data_view.h"
#include "messages/finder.h"
#include "planner/every.h"

namespace ipav::cli::check {

namespace {

using commit::Outcome;
using commit::Verdict;
using datastore::DataTree;
using datastore::InputError;
using datastore::InputText;
using datastore::Model;
using datastore::ReadingTimes;
using datastore::Running;
using datastore::Transaction;
using fleet::Device;
using messages::Configuration;
using report::DeviceReport;
using report::Restart;

// Leaked on purpose: the process validates one device and exits. Freeing a
// large configuration node by node takes a fifth of the time of reading it.
template <typename T>
T& KeepUntilExit(std::unique_ptr<T> kept) {
  static auto& all = *new std::vector<std::unique_ptr<T>>;
  all.push_back(std::move(kept));
  return *all.back();
}

Running ReadRunning(const Model& model, const Device& device,
                    std::size_t max_size) {
  base::Stopwatch watch;
  InputText text =
      device.blob
          ? datastore::CheckText(device.running, fleet::ReadBlob(*device.blob))
          : datastore::ReadText(device.running, max_size);
  return Running(model, std::move(text), watch.Lap());
}

// Time spent on the tree so far. It is parsed when it is first needed, which
// may be during the comparison.
base::Duration TreeTime(const Running& running) {
  return running.times().parse + running.times().validation;
}

struct Candidate {
  InputText text;
  DataTree tree;
};

Candidate ReadCandidate(const Model& model, const std::string& file,
                        const ReadingLimits& limits, FinalOutput late,
                        ReadingTimes* times) {
  const ReadingTime limit(limits.time, std::move(late));
  base::Stopwatch watch;
  InputText text = datastore::ReadText(file, limits.size);
  times->text = watch.Lap();
  DataTree tree = DataTree::FromText(model, text, times);
  return {std::move(text), std::move(tree)};
}

// Runs a commit with these options, traced if wanted.
template <typename... Configurations>
Outcome RunCommit(const std::string& title, const JudgeOptions& options,
                  bool all, const Configurations&... configurations) {
  commit::Options of_commit = {options.plugin, all, options.limits.time};
  if (!options.trace) return commit::RunCommit(configurations..., of_commit);
  TraceWriter writer;
  of_commit.tracer = &writer;
  writer.BeginFile(title);
  Outcome outcome = commit::RunCommit(configurations..., of_commit);
  writer.EndFile();
  return outcome;
}

// --- After a restart

// The plug-in failed with a configuration that is loaded from nothing.
void Fail(const std::string& when, const Outcome& outcome,
          DeviceReport* report) {
  Outcome& failed = report->outcome;
  report->status = kPluginFailed;
  failed.verdict = Verdict::kPluginFailed;
  failed.failure = when + ": " + outcome.failure;
  failed.failed_point = outcome.failed_point;
  failed.failed_path = outcome.failed_path;
  failed.output += outcome.output;
  if (!outcome.failure.empty()) return;
  for (const commit::Answer& answer : outcome.answers) {
    if (!answer.exception) continue;
    failed.failure += "it threw an exception: " + *answer.exception;
    failed.failed_point = answer.opaque;
    failed.failed_path = answer.path;
    return;
  }
}

// Judges both configurations as the device does when it loads them. A new fault
// of the candidate refuses it; a standing one refuses nothing by itself.
void JudgeRestart(const Configuration& running, const Configuration& candidate,
                  const JudgeOptions& options, DeviceReport* report) {
  // 1. Without a running configuration, this is what was judged already.
  Restart restart;
  restart.is_change = report->running.empty();
  if (restart.is_change) {
    report->restart = restart;
    return;
  }
  // 2. Load both, and compare their faults.
  base::Stopwatch watch;
  const DataTree nothing = DataTree::Empty(candidate.tree->model());
  const auto load = [&](const Configuration& configuration, const char* which) {
    const std::string when = std::string("after a restart with the ") + which;
    Outcome outcome = RunCommit(report->candidate + " " + when, options, true,
                                nothing, *configuration.tree);
    if (outcome.verdict == Verdict::kPluginFailed) Fail(when, outcome, report);
    return outcome;
  };
  const Outcome of_candidate = load(candidate, "candidate");
  if (report->status == kPluginFailed) return;
  const Outcome of_running = load(running, "running configuration");
  if (report->status == kPluginFailed) return;
  restart.faults =
      messages::CompareRestarts(running, of_running, candidate, of_candidate);
  restart.planned = of_candidate.planned;
  restart.made = of_candidate.answers.size();
  restart.time = watch.Lap();
  // 3. The verdict.
  for (const messages::Finding& finding : restart.faults.findings) {
    if (!finding.is_standing) report->status = kRefused;
  }
  report->restart = std::move(restart);
}

// Several calls may hide one fault: it is listed once.
void RemoveRepeated(std::vector<messages::Finding>* findings) {
  std::set<std::vector<std::string>> listed;
  for (const messages::Finding& finding : *findings) {
    if (!finding.is_behind) listed.insert(messages::FaultOf(finding));
  }
  findings->erase(
      std::remove_if(findings->begin(), findings->end(),
                     [&](const messages::Finding& finding) {
                       return finding.is_behind &&
                              !listed.insert(messages::FaultOf(finding)).second;
                     }),
      findings->end());
}

// Adds what needs both configurations, and parses what was not parsed yet: the
// nodes that each refusal is about, and the judgement after a restart.
void Explain(const Running& running, const Transaction& transaction,
             const InputText& candidate, const JudgeOptions& options,
             DeviceReport* report) {
  const bool has_restart = options.restore && report->status != kPluginFailed;
  if (report->status != kRefused && !has_restart) return;
  std::optional<source::SourceText> before;
  if (running.text().has_value()) before.emplace(*running.text());
  const source::SourceText after(candidate);
  const Configuration of_running = {&transaction.running(), report->running,
                                    before ? &*before : nullptr};
  const Configuration of_candidate = {&transaction.candidate(),
                                      report->candidate, &after};
  if (report->status == kRefused) {
    if (options.every) {
      planner::EveryFinding every = planner::FindEvery(
          of_running, of_candidate, report->outcome,
          {options.plugin, options.limit, options.limits.time});
      RemoveRepeated(&every.findings);
      report->findings = std::move(every.findings);
      report->more_findings = std::move(every.more);
    } else {
      report->findings = messages::Finder(of_running, of_candidate)
                             .ExplainAll(report->outcome);
    }
    if (options.suggest) {
      AddFixes(*of_running.tree, *of_candidate.tree, candidate, options.plugin,
               options.limits.time, &report->findings);
    }
  }
  if (has_restart) JudgeRestart(of_running, of_candidate, options, report);
}

// The errors of the running configuration before those of the candidate.
InputError WithErrorsOf(const Running& running, const InputError& candidate) {
  std::vector<std::string> errors;
  try {
    static_cast<void>(running.Tree());
  } catch (const InputError& error) {
    errors = error.errors();
  }
  errors.insert(errors.end(), candidate.errors().begin(),
                candidate.errors().end());
  return InputError(std::move(errors));
}

DeviceReport ReportOn(const Device& device) {
  DeviceReport report;
  report.number = device.number;
  report.candidate = device.candidate;
  report.running = device.running;
  return report;
}

DeviceReport BadInput(const Device& device, std::vector<std::string> errors) {
  DeviceReport report = ReportOn(device);
  report.status = kBadInput;
  report.input_errors = std::move(errors);
  return report;
}

}  // namespace

DeviceReport Failed(const Device& device, const std::string& reason) {
  DeviceReport report = ReportOn(device);
  report.status = kPluginFailed;
  report.outcome.verdict = Verdict::kPluginFailed;
  report.outcome.failure = reason;
  return report;
}

Running ReadInTime(const Model& model, const std::string& file,
                   const ReadingLimits& limits) {
  const ReadingTime limit(file, limits.time);
  Device device;
  device.running = file;
  Running running = ReadRunning(model, device, limits.size);
  static_cast<void>(running.Tree());
  return running;
}

DeviceReport Judge::Commit(const Device& device,
                           const TimeOver& time_over) const {
  if (device.running == running_.file) {
    return Commit(device, running_.configuration, time_over);
  }
  const Running* kept = device.blob ? nullptr : KeptRunning(device.running);
  if (kept != nullptr) return Commit(device, *kept, time_over);
  const auto read = [&] {
    const base::TimeLimit time = options_.limits.time;
    const ReadingTime limit(
        time,
        time_over(BadInput(device, {NotReadWithin(device.running, time)})));
    return std::make_unique<const Running>(
        ReadRunning(model_, device, options_.limits.size));
  };
  return Commit(device, KeepUntilExit(read()), time_over);
}

DeviceReport Judge::Commit(const Device& device, const Running& running,
                           const TimeOver& time_over) const {
  const auto late = [&](const std::string& file) {
    return time_over(
        BadInput(device, {NotReadWithin(file, options_.limits.time)}));
  };
  // 1. Read the candidate. If it is wrong, the errors of the running
  // configuration are reported, too.
  ReadingTimes times;
  std::optional<Candidate> candidate;
  try {
    candidate = ReadCandidate(model_, device.candidate, options_.limits,
                              late(device.candidate), &times);
  } catch (const InputError& error) {
    const ReadingTime limit(options_.limits.time, late(device.running));
    throw WithErrorsOf(running, error);
  }
  // 2. Compare it with the running configuration.
  base::Stopwatch watch;
  const base::Duration before = TreeTime(running);
  const auto compare = [&] {
    const ReadingTime limit(options_.limits.time, late(device.running));
    if (options_.restore || options_.every || options_.suggest) {
      static_cast<void>(running.Tree());
    }
    return std::make_unique<const Transaction>(
        running, std::move(candidate->tree), candidate->text);
  };
  const Transaction& transaction = KeepUntilExit(compare());
  const base::Duration diff = watch.Lap() - (TreeTime(running) - before);
  // 3. Run the plug-in's validation points.
  DeviceReport report = ReportOn(device);
  report.outcome =
      RunCommit(device.candidate, options_, options_.all, transaction);
  report.status = report::StatusOf(report.outcome.verdict);
  report.advice = messages::AdviceOnVrfNames(transaction.candidate());
  Explain(running, transaction, candidate->text, options_, &report);
  if (options_.page) {
    const report::DeviceView view = {
        view::ListChanges(transaction.diff()),
        view::PlanOf(transaction.running(), transaction.candidate(),
                     report::PathsOfFindings(report))};
    report.page_section = report::DeviceSection(report, &view).str();
  }
  if (options_.timing) {
    report.times = report::Times{times, std::nullopt, diff};
    if (!device.running.empty()) report.times->running = running.times();
    PrintTimes(report);
  }
  return report;
}

DeviceReport Judge::operator()(const Device& device,
                               const TimeOver& time_over) const {
  base::Stopwatch watch;
  if (!device.problem.empty()) return BadInput(device, {device.problem});
  try {
    DeviceReport report = Commit(device, time_over);
    if (options_.timing) {
      report.seconds = base::In<std::ratio<1>>(watch.Lap());
    }
    return report;
  } catch (const InputError& error) {
    return BadInput(device, error.errors());
  }
}

}  // namespace ipav::cli::check
