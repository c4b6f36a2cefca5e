// Validates many devices, several at a time, each in its own process: a device
// that hangs or crashes does not affect the others.
#ifndef IPAV_CLI_CHECK_FLEET_H_
#define IPAV_CLI_CHECK_FLEET_H_

#include <cstddef>
#include <functional>
#include <vector>

#include "cli/check/judge.h"
#include "cli/report/device_report.h"
#include "host/base/time_limit.h"

namespace ipav::cli::check {

struct FleetOptions {
  std::size_t jobs = 0;  // at a time; 0: one for each processor
  // For one reading, and for one commit. A device may take it three times, for
  // two readings and all else, and once more for each of its commits.
  base::TimeLimit time_limit = base::kNoTimeLimit;
  int commits = 1;        // of each device
  bool is_quiet = false;  // no progress line, even on a terminal
};

// Calls `take` with the reports in the order of the devices: for each device
// that of the first judge, then that of the second, and so on. Throws
// std::runtime_error when a plug-in cannot be loaded, or no process can be
// created.
void JudgeFleet(const std::vector<Judge>& judges,
                const std::vector<Device>& devices, const FleetOptions& options,
                const std::function<void(const report::DeviceReport&)>& take);

}  // namespace ipav::cli::check

#endif  // IPAV_CLI_CHECK_FLEET_H_
