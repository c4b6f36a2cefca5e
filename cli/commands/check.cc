// ipav check: validates candidates against a running configuration.

#include <fmt/core.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/check/judge.h"
#include "cli/check/judge_fleet.h"
#include "cli/check/timing.h"
#include "cli/command.h"
#include "cli/fleet/base.h"
#include "cli/fleet/devices.h"
#include "cli/fleet/fleet.h"
#include "cli/options.h"
#include "cli/report/html/html.h"
#include "cli/report/output_file.h"
#include "cli/report/report_output.h"
#include "cli/report/run.h"
#include "cli/shared_model.h"
#include "host/base/stopwatch.h"
#include "host/base/utf8.h"
#include "host/datastore/model.h"
#include "host/datastore/transaction.h"

namespace ipav::cli {

namespace {

using check::Judge;
using check::SharedRunning;
using datastore::Model;
using datastore::Running;
using fleet::Device;
using report::DeviceReport;
using report::HtmlWriter;
using report::ReportOutput;

constexpr char kCheckNotes[] = R"(Examples:
  ipav check --running running.xml candidate.xml
  ipav check --running running.xml --all candidate.xml
  ipav check --running running.xml --every candidate.xml
  ipav check --running running.xml --restore candidate.xml
  ipav check --base origin/main devices/
  ipav check --trace --running running.xml candidate.xml 2> trace.txt

Exit status: 0 accepted, 1 refused, 2 the input or the command line is
wrong, 3 the plug-in died, threw an exception or did not answer in time.)";

// A search for more takes hours.
constexpr unsigned kMostFindings = 10000;

struct CheckOptions {
  Locations locations;
  std::string running;  // file; empty: nothing is configured yet
  std::string base;     // revision of git; empty: none
  std::vector<std::string> candidates;  // files, and folders of them
  check::JudgeOptions judge;
  fleet::FleetOptions fleet;
  report::ReportOptions report;
  std::string page;  // file of the HTML page; empty: none
};

// --- Options

void AddOutput(CLI::App* command, CheckOptions* options) {
  command->add_flag("--all", options->judge.all,
                    "Run every validation point and list its answer");
  CLI::Option* every = command->add_flag(
      "--every", options->judge.every,
      "List every violation of each validation point, also those that appear "
      "only after another one is corrected; implies --all");
  command
      ->add_option("--limit", options->judge.limit,
                   "Findings of a device that --every lists")
      ->check(CLI::Range(1U, kMostFindings))
      ->needs(every)
      ->capture_default_str();
  command->add_flag("-v,--verbose", options->report.verbose,
                    "Show debug lines and the number of platform calls");
  CLI::Option* restore = command->add_flag(
      "--restore", options->judge.restore,
      "Judge each candidate a second time, as the device does when it loads "
      "the "
      "configuration after a restart: a new fault refuses it, one that the "
      "running configuration has as well is only reported");
  // After a restart, a point reports its first fault only.
  restore->excludes(every);
  command->add_flag("--suggest", options->judge.suggest,
                    "List the ways out of each refusal that the plug-in "
                    "accepts; ipav fix applies them");
  AddFile(command, "--report", "Also write an HTML page to this file",
          &options->page);
  command->add_flag("--trace", options->judge.trace,
                    "Write every platform call with its answer and its time to "
                    "standard error; devices are checked one at a time");
  command->add_flag(
      "--timing", options->judge.timing,
      "Print the time of each step to standard error, and add the times of "
      "each device to a json report, its seconds to a junit report");
  options->report.color = "auto";
  AddChoice(command, "--color", {"auto", "always", "never"},
            "Colours: auto (on a terminal if NO_COLOR is not set), always, "
            "never",
            &options->report.color);
}

// --- Inputs

// The devices to check. With --base, says which ones are deleted.
fleet::SinceBase FindDevices(const CheckOptions& options) {
  if (options.base.empty()) {
    std::vector<Device> devices =
        fleet::FindDevices(options.candidates, options.running);
    std::vector<std::string> files = fleet::FilesOf(devices);
    return {std::move(devices), {}, std::move(files)};
  }
  const ReadingTime limit("--base " + options.base, options.judge.limits.time);
  fleet::SinceBase found = fleet::FindSince(options.base, options.candidates,
                                            options.judge.limits.size);
  for (const std::string& file : found.deleted) {
    fmt::print(stderr, "{}: deleted since {}\n", base::Printable(file),
               base::Printable(options.base));
  }
  return found;
}

// An output must not replace an input or another output.
void RefuseToReplaceInputs(const CheckOptions& options,
                           std::vector<std::string> inputs) {
  if (options.report.output.empty() && options.page.empty()) return;
  if (options.page == "-" && report::IsStandardOutput(options.report.output)) {
    throw std::runtime_error(
        "--report -: the report is on standard output, too; name a file for it "
        "with --output");
  }
  inputs.push_back(options.running);
  report::RefuseToReplace(options.page, inputs);
  inputs.push_back(options.page);
  report::RefuseToReplace(options.report.output, inputs);
}

// A single device reads its running configuration itself, so that its report
// can say what is wrong with it.
SharedRunning ReadShared(const Model& model, std::size_t devices,
                         const CheckOptions& options) {
  if (options.running.empty() || devices == 1) {
    return {"", Running(model)};
  }
  return {options.running,
          check::ReadInTime(model, options.running, options.judge.limits)};
}

// --- Outputs

FinalOutput OnStandardError(const DeviceReport& device) {
  std::string lines;
  for (const std::string& error : device.input_errors) {
    lines += "ipav: " + base::Printable(error) + "\n";
  }
  return {STDERR_FILENO, std::move(lines)};
}

void PrintInputError(const DeviceReport& device) {
  static_cast<void>(std::fputs(OnStandardError(device).bytes.c_str(), stderr));
}

void Take(const DeviceReport& device, const CheckOptions& options, bool is_one,
          ReportOutput* output, std::optional<HtmlWriter>* page) {
  if (is_one && device.status == kBadInput) PrintInputError(device);
  output->Add(device);
  if (options.report.failed_only && device.status == kAccepted) return;
  if (*page) (*page)->Add(report::EntryOf(device));
}

// --- The command

ExitStatus Check(const CheckOptions& options) {
  // 1. The devices, and the outputs.
  const bool is_fleet = options.report.failed_only || !options.base.empty() ||
                        fleet::IsFleet(options.candidates, options.fleet);
  fleet::SinceBase found = FindDevices(options);
  RefuseToReplaceInputs(options, std::move(found.files));
  std::vector<Device> devices = std::move(found.devices);
  report::Run run;
  run.list_size = devices.size();
  run.shard = options.fleet.shard;
  if (run.shard) devices = fleet::PartOf(devices, *run.shard);
  ReportOutput output(options.report, &run);
  std::optional<HtmlWriter> page;
  if (!options.page.empty()) page.emplace(options.page, report::kCheckPage);

  // 2. What the devices share.
  base::Stopwatch watch;
  const Model& model = SharedModel(options.locations);
  if (options.judge.timing) check::PrintTime("data model", watch.Lap());
  const SharedRunning running = ReadShared(model, devices.size(), options);
  const Judge judge(model, running, options.judge);

  // 3. The devices: a single one in this process, others in processes of their
  // own.
  const bool is_one = run.list_size == 1 && !is_fleet;
  const auto take = [&](const DeviceReport& device) {
    Take(device, options, is_one, &output, &page);
  };
  if (is_one && output.is_plain()) {
    const DeviceReport report = judge(devices.front(), OnStandardError);
    // An input error is a line on standard error alone.
    if (report.status == kBadInput) {
      PrintInputError(report);
      return kBadInput;
    }
    take(report);
  } else {
    fleet::FleetOptions fleet = options.fleet;
    if (options.judge.trace) fleet.jobs = 1;  // else the calls would be mixed
    check::JudgeFleet({judge}, devices, fleet, take);
  }
  output.End(is_fleet);
  if (page) page->End();
  return run.summary.worst_status();
}

}  // namespace

Command AddCheck(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<CheckOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "check", "Check candidates against a running configuration");
  command->footer(kCheckNotes);
  CLI::Option* running = AddInput(
      command, "--running",
      "Running configuration, XML or JSON (default: empty)", &options->running);
  command
      ->add_option("--base", options->base,
                   "Check only devices that changed since this revision of "
                   "their git repository, against what is there")
      ->type_name("REVISION")
      ->check([](const std::string& name) -> std::string {
        return name.empty() || name.front() == '-' ? "not a revision" : "";
      })
      ->excludes(running);
  AddOutput(command, options.get());
  AddLimits(command,
            "read a configuration, and for the plug-in to check a candidate",
            &options->judge.limits);
  AddReport(command, &options->report);
  AddFailedOnly(command, &options->report);
  AddFleet(command, &options->fleet);
  AddInputs(command, "candidate",
            "Configurations to check, XML or JSON, or folders of them",
            &options->candidates)
      ->required();
  AddPluginAndYang(command, &options->locations);
  return {command, [options] {
            options->judge.plugin = options->locations.plugin;
            options->judge.all |= options->judge.every;
            options->judge.page = !options->page.empty();
            options->report.all = options->judge.all;
            options->fleet.time_limit = options->judge.limits.time;
            if (options->judge.restore) options->fleet.time_limits = 6;
            if (options->judge.every) options->fleet.time_limits = 5;
            if (options->judge.suggest) ++options->fleet.time_limits;
            base::Stopwatch total;
            const ExitStatus status = Check(*options);
            if (options->judge.timing) check::PrintTime("total", total.Lap());
            return status;
          }};
}

}  // namespace ipav::cli
