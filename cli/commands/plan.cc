// ipav plan: finds commits that lead from one configuration to another.

#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/fleet/devices.h"
#include "cli/fleet/fleet.h"
#include "cli/options.h"
#include "cli/plan/device_plan.h"
#include "cli/plan/plan_output.h"
#include "cli/plan/plan_page.h"
#include "cli/plan/step_files.h"
#include "cli/report/html/html.h"
#include "cli/report/output_file.h"
#include "cli/report/run.h"
#include "cli/shared_model.h"
#include "host/base/utf8.h"
#include "host/datastore/input_error.h"
#include "host/datastore/model.h"

namespace ipav::cli {

namespace {

using datastore::InputError;
using fleet::Device;
using plan::DevicePlan;
using plan::Input;

constexpr char kPlanNotes[] =
    R"(Every commit of a plan is accepted, and a device also loads each of its
configurations from nothing; faults that the running configuration has as
well do not count. A change is a line of ipav diff. If no order of the
changes is accepted, the plan may take away a node that a refusal names,
and put it back later (a detour). If there is no plan, the smallest sets
of changes that are refused in any order are listed, and a plan for the
others.

Examples:
  ipav plan --running running.xml goal.xml
  ipav plan --running running.xml --output steps goal.xml
  ipav plan --each --format json --running running.json goal.json
  ipav plan --failed-only --output plans devices

Exit status: 0 the goal is reached, 1 it is not, 2 the input or the
command line is wrong, 3 the plug-in died or threw an exception, and the
goal is not reached.)";

// More take years.
constexpr unsigned kMostVerdicts = 1000000000;

struct PlanOptions {
  Locations locations;
  std::string running;             // file; empty: nothing is configured yet
  std::vector<std::string> goals;  // files, and folders of them
  std::string output;              // folder; empty: none
  std::string format = "text";     // or json
  std::string page;                // file of the HTML page; empty: none
  bool failed_only = false;
  plan::PlanningOptions planning;
  fleet::FleetOptions fleet;
};

// Each device of a fleet has a folder of its own.
void RequireOwnFolders(const std::vector<Device>& devices) {
  std::map<std::string, std::string> goals;
  for (const Device& device : devices) {
    const std::filesystem::path name = device.name;
    const bool leads_elsewhere = std::any_of(
        name.begin(), name.end(),
        [](const auto& part) { return part == "." || part == ".."; });
    if (leads_elsewhere || name.empty()) {
      throw std::runtime_error(device.candidate +
                               ": has no name for a folder of --output");
    }
    const auto [known, is_new] = goals.emplace(device.name, device.candidate);
    if (!is_new) {
      throw std::runtime_error("the folder " + device.name +
                               " of --output would be that of " +
                               known->second + " and of " + device.candidate);
    }
  }
}

// A folder with nothing but a running configuration has no goal.
void RefuseRunning(const PlanOptions& options, std::vector<Device>* devices) {
  std::map<std::filesystem::path, std::size_t> count;
  const auto folder = [](const Device& device) {
    return std::filesystem::path(device.candidate).parent_path();
  };
  for (const Device& device : *devices) ++count[folder(device)];
  for (Device& device : *devices) {
    const std::filesystem::path file = device.candidate;
    const bool is_named = std::count(options.goals.begin(), options.goals.end(),
                                     device.candidate) > 0;
    if (file.stem() == "running" && count[folder(device)] == 1 && !is_named) {
      device.problem = folder(device).string() +
                       ": holds a running configuration, and no goal";
    }
  }
}

std::vector<Device> FindGoals(const PlanOptions& options, bool is_fleet) {
  std::vector<Device> devices =
      fleet::FindDevices(options.goals, options.running);
  RefuseRunning(options, &devices);
  if (options.output.empty()) return devices;
  plan::RequireNew(options.output);
  if (is_fleet || devices.size() > 1) RequireOwnFolders(devices);
  return devices;
}

// The page must not replace an input.
std::optional<report::HtmlWriter> OpenPage(const PlanOptions& options,
                                           const std::vector<Device>& devices) {
  if (options.page.empty()) return std::nullopt;
  if (options.page == "-") {
    throw std::runtime_error("--report -: the plan is on standard output");
  }
  std::vector<std::string> inputs = fleet::FilesOf(devices);
  inputs.push_back(options.running);
  report::RefuseToReplace(options.page, inputs);
  return std::optional<report::HtmlWriter>(std::in_place, options.page,
                                           plan::kPlanPage);
}

FinalOutput ErrorOutput(const std::string& error) {
  return {STDERR_FILENO, "ipav: " + base::Printable(error) + "\n"};
}

// Plans each device in a process of its own.
void PlanFleet(const plan::Planner& planner, const std::vector<Device>& devices,
               const PlanOptions& options,
               const std::function<void(const DevicePlan&)>& take) {
  const auto job = [&](std::size_t number,
                       const fleet::Sender& sender) -> fleet::JobResult {
    const Device& device = devices[number];
    const auto late = [&](const std::string& error) -> FinalOutput {
      return {sender.fd(),
              fleet::MessageOf(ToMessage(plan::BadInput(device, {error})))};
    };
    const std::string folder =
        options.output.empty() ? "" : options.output + "/" + device.name;
    DevicePlan found;
    try {
      found = planner(device, folder, late);
    } catch (const InputError& error) {
      found = plan::BadInput(device, error.errors());
    }
    return {found.status, ToMessage(found)};
  };
  const auto take_message = [&](std::size_t number, const report::Json& message,
                                const std::string& failure) {
    take(failure.empty() ? plan::FromMessage(message)
                         : plan::Failed(devices[number], failure));
  };
  fleet::RunFleet(devices.size(), "devices", options.fleet, job, take_message);
}

ExitStatus Plan(const PlanOptions& options) {
  // 1. The devices, and the outputs.
  const bool is_fleet =
      options.failed_only || fleet::IsFleet(options.goals, options.fleet);
  std::vector<Device> devices = FindGoals(options, is_fleet);
  const bool is_one = devices.size() == 1 && !is_fleet;
  std::optional<report::HtmlWriter> page = OpenPage(options, devices);
  report::Run run;
  run.list_size = devices.size();
  run.shard = options.fleet.shard;
  if (run.shard) devices = fleet::PartOf(devices, *run.shard);

  // 2. What the devices share.
  const datastore::Model& model = SharedModel(options.locations);
  const Input running = plan::ReadInput(model, options.running,
                                        options.planning.limits, ErrorOutput);
  plan::PlanningOptions planning = options.planning;
  planning.page = page.has_value();
  planning.has_progress = is_one && !options.fleet.is_quiet;
  const plan::Planner planner(model, running, planning);

  // 3. The plans.
  plan::PlanOutput output(
      {options.format == "json", is_one, is_fleet, options.failed_only}, &run);
  const auto take = [&](const DevicePlan& found) {
    output.Add(found);
    if (page && !(options.failed_only && found.status == kAccepted)) {
      page->Add({found.number, found.goal, found.status, found.problems,
                 found.page_section});
    }
  };
  if (is_one) {
    take(planner(devices.front(), options.output, ErrorOutput));
  } else {
    PlanFleet(planner, devices, options, take);
  }
  output.End();
  if (page) page->End();
  return run.summary.worst_status();
}

void AddOutput(CLI::App* command, PlanOptions* options) {
  command->add_flag("--each", options->planning.each,
                    "As many commits as possible, each as small as possible");
  command
      ->add_option("--output", options->output,
                   "New folder for the configurations after each commit and "
                   "for their changes; of several devices, each has a folder "
                   "in it")
      ->type_name(kFolder);
  AddChoice(command, "--format", {"text", "json"}, "text or json",
            &options->format);
  AddFile(command, "--report", "Also draw the steps on an HTML page, this file",
          &options->page);
  command->add_flag("--failed-only", options->failed_only,
                    "Omit devices that reach their goal");
  command
      ->add_option("--verdicts", options->planning.verdicts,
                   "End the search after this number of verdicts of the "
                   "plug-in (default: 0, no limit)")
      ->check(CLI::Range(0U, kMostVerdicts));
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
  AddInputs(command, "goal",
            "Configurations to reach, XML or JSON, or folders of them",
            &options->goals)
      ->required();
  AddOutput(command, options.get());
  AddLimits(command,
            "read a configuration, for the search, and to try the plan",
            &options->planning.limits);
  AddFleet(command, &options->fleet);
  AddPluginAndYang(command, &options->locations);
  return {command, [options] {
            options->planning.plugin = options->locations.plugin;
            options->fleet.time_limit = options->planning.limits.time;
            return Plan(*options);
          }};
}

}  // namespace ipav::cli
