#include "cli/check/fleet.h"

#include <sched.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "cli/check/pool.h"
#include "cli/check/progress.h"
#include "cli/report/json/json.h"
#include "host/plugin/plugin.h"

namespace ipav::cli::check {

namespace {

using report::DeviceReport;
using report::Json;

// Members of the message that a device's process sends: a report and the
// section of the page, or the reason why the plug-in cannot be loaded.
constexpr char kReport[] = "report";
constexpr char kPageSection[] = "pageSection";
constexpr char kNoPlugin[] = "noPlugin";

// The number of processors that this program may use.
std::size_t Processors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  if (sched_getaffinity(0, sizeof(processors), &processors) != 0) return 1;
  return static_cast<std::size_t>(std::max(CPU_COUNT(&processors), 1));
}

std::string MessageOf(const DeviceReport& report) {
  return Json({{kReport, report::ToJson(report)},
               {kPageSection, report.page_section}})
      .dump();
}

// In the device's process. Returns its exit status.
int JudgeDevice(const Judge& judge, const Device& device,
                const Sender& sender) {
  try {
    const auto late = [&](const DeviceReport& report) -> FinalOutput {
      return {sender.fd(), MessageOf(report)};
    };
    const DeviceReport report = judge(device, late);
    sender.Send(MessageOf(report));
    return report.status;
  } catch (const plugin::PluginError& error) {
    sender.Send(Json({{kNoPlugin, error.what()}}).dump());
    return kBadInput;
  } catch (const std::exception& error) {
    sender.Send(MessageOf(Failed(device, error.what())));
    return kPluginFailed;
  }
}

std::string HowItEnded(const Pool::Result& result) {
  if (result.timed_out) return "it took several times its time limit";
  if (WIFSIGNALED(result.wait_status)) {
    return std::string("killed by signal: ") +
           strsignal(WTERMSIG(result.wait_status));
  }
  return "it ended with status " +
         std::to_string(WEXITSTATUS(result.wait_status));
}

// A process that was killed may have sent an incomplete message.
DeviceReport ReportOf(const Device& device, const Pool::Result& result) {
  const Json message = Json::parse(result.text, nullptr, false);
  if (message.is_discarded()) {
    return Failed(device,
                  "the device's process gave no report, " + HowItEnded(result));
  }
  if (message.contains(kNoPlugin)) {
    throw std::runtime_error(message.at(kNoPlugin).get<std::string>());
  }
  DeviceReport report = report::FromJson(message.at(kReport));
  report.page_section = message.at(kPageSection).get<std::string>();
  return report;
}

}  // namespace

void JudgeFleet(const std::vector<Judge>& judges,
                const std::vector<Device>& devices, const FleetOptions& options,
                const std::function<void(const DeviceReport&)>& take) {
  // See FleetOptions::time_limit: two readings, the commits, the rest.
  const int time_limits = 3 + options.commits;
  const std::size_t count = devices.size() * judges.size();
  Progress progress(count, judges.size() == 1 ? "devices" : "verdicts",
                    !options.is_quiet);
  const auto job = [&](std::size_t number, const Sender& sender) {
    return JudgeDevice(judges[number % judges.size()],
                       devices[number / judges.size()], sender);
  };
  const std::size_t jobs = options.jobs > 0 ? options.jobs : Processors();
  Pool pool(count, {jobs, options.time_limit * time_limits}, job, &progress);
  for (std::size_t i = 0; i < count; ++i) {
    const DeviceReport report =
        ReportOf(devices[i / judges.size()], pool.Next());
    progress.Clear();
    take(report);
  }
}

}  // namespace ipav::cli::check
