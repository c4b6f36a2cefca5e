#include "cli/check.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "cli/color.h"
#include "cli/fleet/devices.h"
#include "cli/fleet/fleet.h"
#include "cli/judge.h"
#include "cli/report/device_html.h"
#include "cli/report/html.h"
#include "cli/report/output_file.h"
#include "cli/timing.h"
#include "host/base/stopwatch.h"
#include "host/datastore/model.h"
#include "host/datastore/transaction.h"

namespace ipav::cli {

namespace {

using datastore::Model;
using datastore::Running;
using report::DeviceReport;
using report::ReportOutput;

LastWords OnStandardError(const DeviceReport& device) {
  return {STDERR_FILENO, "ipav: " + device.input_error + "\n"};
}

void TellOnStandardError(const DeviceReport& device) {
  static_cast<void>(std::fputs(OnStandardError(device).bytes.c_str(), stderr));
}

// Whether somebody thinks of devices rather than of files.
bool IsFleet(const CheckOptions& options) {
  if (options.jobs > 0 || options.shard || options.report.failed_only) {
    return true;
  }
  const auto is_folder = [](const std::string& name) {
    std::error_code error;
    return std::filesystem::is_directory(name, error);
  };
  return std::any_of(options.candidates.begin(), options.candidates.end(),
                     is_folder);
}

// What a report would replace is often what somebody meant to read.
void RefuseToReplaceInputs(const CheckOptions& options,
                           const std::vector<Device>& devices) {
  if (options.report.output.empty() && options.page.empty()) return;
  std::vector<std::string> inputs = {options.running};
  for (const Device& device : devices) {
    inputs.push_back(device.candidate);
    inputs.push_back(device.running);
  }
  report::RefuseToReplace(options.page, inputs);
  inputs.push_back(options.page);
  report::RefuseToReplace(options.report.output, inputs);
}

// For one device there is nobody to share it with: it reads its own, and can
// report what is wrong with it.
SharedRunning ReadShared(const Model& model, std::size_t devices,
                         const CheckOptions& options) {
  if (options.running.empty() || devices == 1) {
    return {"", Running(model)};
  }
  return {options.running, ReadInTime(model, options.running, options)};
}

// The page to look at, where one is wanted.
class Page {
 public:
  explicit Page(const CheckOptions& options)
      : failed_only_(options.report.failed_only) {
    if (options.page.empty()) return;
    writer_ = std::make_unique<report::HtmlWriter>(options.page);
  }

  void Add(const DeviceReport& device) {
    if (writer_ == nullptr) return;
    if (failed_only_ && device.status == kAccepted) return;
    writer_->AddSection(
        device, device.number,
        device.page_section.empty()
            ? report::DeviceSection(device, nullptr, device.number).str()
            : device.page_section);
  }

  void End() {
    if (writer_ != nullptr) writer_->End();
  }

 private:
  const bool failed_only_;
  std::unique_ptr<report::HtmlWriter> writer_;
};

// In this process, with nothing but a line on standard error for bad input.
ExitStatus CheckOne(const Judge& judge, const Device& device,
                    ReportOutput* output, Page* page) {
  const DeviceReport report = judge(device, OnStandardError);
  if (report.status == kBadInput) {
    TellOnStandardError(report);
  } else {
    output->Add(report);
    output->End(false);
    page->Add(report);
    page->End();
  }
  return report.status;
}

}  // namespace

ExitStatus Check(const Locations& locations, const CheckOptions& options) {
  base::Stopwatch total;
  const bool is_fleet = IsFleet(options);
  report::Run run;
  std::vector<Device> devices =
      fleet::FindDevices(options.candidates, options.running);
  RefuseToReplaceInputs(options, devices);
  run.list_size = devices.size();
  run.shard = options.shard;
  if (run.shard) devices = fleet::PartOf(devices, *run.shard);

  std::FILE* terminal = options.report.output.empty() ? stdout : nullptr;
  ReportOutput output(
      options.report,
      {options.all, options.verbose, WantsColor(options.color, terminal)},
      &run);
  Page page(options);
  // Left to the end of the program, as what is read by it.
  base::Stopwatch watch;
  static const Model& model =
      *new Model(locations.yang_dir, locations.yang_extension);
  if (options.timing) PrintTime("data model", watch.Lap());
  const SharedRunning running = ReadShared(model, devices.size(), options);
  const Judge judge(model, running, locations, options);
  const bool is_one = run.list_size == 1 && !is_fleet;
  if (is_one && output.is_plain()) {
    const ExitStatus status = CheckOne(judge, devices.front(), &output, &page);
    if (options.timing) PrintTime("total", total.Lap());
    return status;
  }
  fleet::JudgeFleet(
      judge, devices,
      {options.trace ? 1 : options.jobs, options.time_limit, !options.quiet},
      [&](const DeviceReport& device) {
        if (is_one && device.status == kBadInput) {
          TellOnStandardError(device);
        }
        output.Add(device);
        page.Add(device);
      });
  output.End(is_fleet);
  page.End();
  if (options.timing) PrintTime("total", total.Lap());
  return run.summary.gravest();
}

}  // namespace ipav::cli
