// Validates many devices with one or several judges.
#ifndef IPAV_CLI_CHECK_JUDGE_FLEET_H_
#define IPAV_CLI_CHECK_JUDGE_FLEET_H_

#include <functional>
#include <vector>

#include "cli/check/judge.h"
#include "cli/fleet/devices.h"
#include "cli/fleet/fleet.h"
#include "cli/report/device_report.h"

namespace ipav::cli::check {

// Calls `take` with the reports in the order of the devices: for each device
// that of the first judge, then that of the second, and so on. Throws
// std::runtime_error when a plug-in cannot be loaded, or no process can be
// created.
void JudgeFleet(const std::vector<Judge>& judges,
                const std::vector<fleet::Device>& devices,
                const fleet::FleetOptions& options,
                const std::function<void(const report::DeviceReport&)>& take);

}  // namespace ipav::cli::check

#endif  // IPAV_CLI_CHECK_JUDGE_FLEET_H_
