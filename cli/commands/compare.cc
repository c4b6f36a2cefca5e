// ipav compare: shows the devices about which two versions of the plug-in or of
// the data model differ.

#include <CLI/App.hpp>
#include <CLI/Error.hpp>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/check/judge.h"
#include "cli/check/judge_fleet.h"
#include "cli/command.h"
#include "cli/fleet/devices.h"
#include "cli/fleet/fleet.h"
#include "cli/options.h"
#include "cli/reading.h"
#include "cli/report/comparison.h"
#include "cli/report/output_file.h"
#include "cli/report/report_output.h"
#include "cli/report/run.h"
#include "cli/shared_model.h"
#include "host/datastore/input_file.h"
#include "host/datastore/model.h"
#include "host/datastore/transaction.h"

namespace ipav::cli {

namespace {

using check::Judge;
using datastore::kStandardInput;
using datastore::Model;
using datastore::Running;
using fleet::Device;
using report::DeviceReport;
using report::Version;
using report::Versions;

constexpr char kCompareNotes[] =
    R"(The first --plugin and the first --yang are the old version, the second
ones the new version. An option that is given once is for both versions.

Examples:
  ipav compare --plugin old.so --plugin new.so devices/
  ipav compare --yang old-yang --yang new-yang --running running.xml *.xml

Exit status: 0 no device differs, 1 a device differs. If none differs: 2
an input is wrong for both versions, or the command line is wrong; 3 the
plug-in failed in the same way in both versions.)";

struct CompareOptions {
  Locations locations;
  std::vector<std::string> plugins;    // old, new; one is for both versions
  std::vector<std::string> yang_dirs;  // the same
  std::string running;                 // file; empty: nothing is configured yet
  std::vector<std::string> candidates;  // files, and folders of them
  check::JudgeOptions judge;
  fleet::FleetOptions fleet;
  report::ReportOptions report;
};

// --- The two versions

// Completes the two lists with the installed files.
void CompleteVersions(CompareOptions* options) {
  const std::size_t plugins = options->plugins.size();
  const std::size_t folders = options->yang_dirs.size();
  if (plugins > 2 || folders > 2 || (plugins < 2 && folders < 2)) {
    throw CLI::ValidationError(
        "two --plugin or two --yang are needed, the old version first");
  }
  if (plugins == 0) options->plugins = {options->locations.plugin};
  if (folders == 0) options->yang_dirs = {options->locations.yang_dir};
}

// A version with all that its judge borrows. A device reads its running
// configuration itself: the data models may differ about it.
struct Side {
  Side(const Version& version, const Model& model, check::JudgeOptions common)
      : options(std::move(common)),
        nothing{"", Running(model)},
        judge(model, nothing, options) {
    options.plugin = version.plugin;
    options.all = true;
  }

  check::JudgeOptions options;
  check::SharedRunning nothing;
  Judge judge;
};

// --- The command

ExitStatus Compare(const CompareOptions& options) {
  // 1. The devices, and the output.
  std::vector<Device> devices =
      fleet::FindDevices(options.candidates, options.running);
  const Versions versions = {
      {options.plugins.front(), options.yang_dirs.front()},
      {options.plugins.back(), options.yang_dirs.back()}};
  std::vector<std::string> inputs = fleet::FilesOf(devices);
  inputs.push_back(versions.older.plugin);
  inputs.push_back(versions.newer.plugin);
  report::RefuseToReplace(options.report.output, inputs);
  report::Run run;
  run.list_size = devices.size();
  run.shard = options.fleet.shard;
  if (run.shard) devices = fleet::PartOf(devices, *run.shard);
  report::ComparisonOutput output(options.report, versions, run);

  // 2. What both versions read: standard input can be read only once.
  if (std::count(inputs.begin(), inputs.end(), kStandardInput) > 0) {
    const ReadingTime limit(kStandardInput, options.judge.limits.time);
    datastore::ReadTextsInstead(
        {{kStandardInput,
          datastore::ReadInput(kStandardInput, options.judge.limits.size)}});
  }

  // 3. The two versions.
  const auto model_of = [&](const Version& version) -> const Model& {
    Locations locations = options.locations;
    locations.yang_dir = version.yang_dir;
    return SharedModel(locations);
  };
  const Side older(versions.older, model_of(versions.older), options.judge);
  const Side newer(versions.newer, model_of(versions.newer), options.judge);

  // 4. Each device, first by the old version.
  std::optional<DeviceReport> by_older;
  const auto take = [&](const DeviceReport& report) {
    if (by_older) {
      output.Add(*by_older, report);
      by_older.reset();
    } else {
      by_older = report;
    }
  };
  check::JudgeFleet({older.judge, newer.judge}, devices, options.fleet, take);
  return output.End();
}

}  // namespace

Command AddCompare(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<CompareOptions>();
  options->locations = locations;
  CLI::App* command = app->add_subcommand(
      "compare", "Show which devices two versions of a plug-in differ about");
  command->footer(kCompareNotes);
  command
      ->add_option("--plugin", options->plugins,
                   "Validation plug-in, the old one and the new one")
      ->type_name(kFile)
      ->allow_extra_args(false);
  command
      ->add_option("--yang", options->yang_dirs,
                   "Folder of the data model, the old one and the new one")
      ->type_name(kFolder)
      ->allow_extra_args(false);
  AddInput(command, "--running",
           "Running configuration, XML or JSON (default: empty)",
           &options->running);
  AddLimits(command,
            "read a configuration, and for a plug-in to check a candidate",
            &options->judge.limits);
  AddReport(command, &options->report);
  AddFleet(command, &options->fleet);
  AddInputs(command, "candidate",
            "Configurations to check, XML or JSON, or folders of them",
            &options->candidates)
      ->required();
  command->callback([options] { CompleteVersions(options.get()); });
  return {command, [options] {
            options->fleet.time_limit = options->judge.limits.time;
            return Compare(*options);
          }};
}

}  // namespace ipav::cli
