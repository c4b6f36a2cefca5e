#include "cli/check/judge_fleet.h"

#include <cstddef>
#include <string>

#include "cli/report/json/json.h"

namespace ipav::cli::check {

namespace {

using fleet::Device;
using fleet::Sender;
using report::DeviceReport;
using report::Json;

// Members of the message of a device's process.
constexpr char kReport[] = "report";
constexpr char kPageSection[] = "pageSection";

Json ToMessage(const DeviceReport& report) {
  return {{kReport, report::ToJson(report)},
          {kPageSection, report.page_section}};
}

DeviceReport ReportOf(const Json& message) {
  DeviceReport report = report::FromJson(message.at(kReport));
  report.page_section = message.at(kPageSection).get<std::string>();
  return report;
}

}  // namespace

void JudgeFleet(const std::vector<Judge>& judges,
                const std::vector<Device>& devices,
                const fleet::FleetOptions& options,
                const std::function<void(const DeviceReport&)>& take) {
  const auto device_of = [&](std::size_t number) -> const Device& {
    return devices[number / judges.size()];
  };
  const auto job = [&](std::size_t number,
                       const Sender& sender) -> fleet::JobResult {
    const auto late = [&](const DeviceReport& report) -> FinalOutput {
      return {sender.fd(), fleet::MessageOf(ToMessage(report))};
    };
    const DeviceReport report =
        judges[number % judges.size()](device_of(number), late);
    return {report.status, ToMessage(report)};
  };
  const auto take_message = [&](std::size_t number, const Json& message,
                                const std::string& failure) {
    take(failure.empty() ? ReportOf(message)
                         : Failed(device_of(number), failure));
  };
  fleet::RunFleet(devices.size() * judges.size(),
                  judges.size() == 1 ? "devices" : "verdicts", options, job,
                  take_message);
}

}  // namespace ipav::cli::check
