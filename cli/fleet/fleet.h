// Judges many devices, some at a time, each in a process of its own: one that
// hangs or dies is one result among the others.
#ifndef IPAV_CLI_FLEET_FLEET_H_
#define IPAV_CLI_FLEET_FLEET_H_

#include <cstddef>
#include <functional>
#include <vector>

#include "cli/judge.h"
#include "cli/report/device_report.h"
#include "host/base/time_limit.h"

namespace ipav::cli::fleet {

struct FleetOptions {
  std::size_t jobs = 0;  // at a time; 0: one for each processor
  // Of a reading and of a commit. Whatever else a device does may take it once
  // more.
  base::TimeLimit time_limit = base::kNoTimeLimit;
  bool shows_progress = true;  // where standard error is a terminal
};

// Hands the reports on in the order of the devices. Throws std::runtime_error
// when the plug-in is none, or no process can be made.
void JudgeFleet(const Judge& judge, const std::vector<Device>& devices,
                const FleetOptions& options,
                const std::function<void(const report::DeviceReport&)>& take);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_FLEET_H_
