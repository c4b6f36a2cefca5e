// What ipav check --timing tells. On standard error: standard output stays what
// it is without.
#ifndef IPAV_CLI_TIMING_H_
#define IPAV_CLI_TIMING_H_

#include <string>

#include "cli/report/device_report.h"
#include "host/base/stopwatch.h"

namespace ipav::cli {

// One line, "timing: WHAT: 1.234 ms".
void PrintTime(const std::string& what, base::Duration time);

// A line for each part, of a device that has times.
void PrintTimes(const report::DeviceReport& device);

}  // namespace ipav::cli

#endif  // IPAV_CLI_TIMING_H_
