// Runs a command over many devices, several at a time, each in its own process:
// a device that hangs or crashes does not affect the others.
#ifndef IPAV_CLI_FLEET_FLEET_H_
#define IPAV_CLI_FLEET_FLEET_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/fleet/pool.h"
#include "cli/report/json/json_text.h"
#include "cli/report/run.h"
#include "host/base/time_limit.h"

namespace ipav::cli::fleet {

struct FleetOptions {
  std::size_t jobs = 0;                // at a time; 0: one for each processor
  std::optional<report::Shard> shard;  // which of the devices; all without
  // For one reading, and for one commit of the plug-in.
  base::TimeLimit time_limit = base::kNoTimeLimit;
  // A device may take the limit so many times: for two readings, a commit, and
  // all else.
  int time_limits = 4;
  bool is_quiet = false;  // no progress line, even on a terminal
};

// Whether a command line names a fleet, whose report ends with a summary.
bool IsFleet(const std::vector<std::string>& names,
             const FleetOptions& options);

// What a job found. The destructor of the JSON library may throw.
// NOLINTNEXTLINE(bugprone-exception-escape)
struct JobResult {
  ExitStatus status = kAccepted;  // counted in the progress line
  report::Json message;
};

// Runs in the device's process. What the job itself sends must be MessageOf()
// its message: a process that ends before it can return it.
using Job = std::function<JobResult(std::size_t number, const Sender& sender)>;

std::string MessageOf(const report::Json& message);

// Called in the order of the numbers, in the program's own process. Without a
// failure, the message is that of the job.
using TakeMessage =
    std::function<void(std::size_t number, const report::Json& message,
                       const std::string& failure)>;

// Numbers run from 0 to below `count`; `what` is the plural of what the jobs
// make: "devices". Throws std::runtime_error when a job throws
// plugin::PluginError, or when no process can be created.
void RunFleet(std::size_t count, const char* what, const FleetOptions& options,
              const Job& job, const TakeMessage& take);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_FLEET_H_
