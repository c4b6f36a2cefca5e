// The lines of ipav check --timing, on standard error, so that standard output
// is the same with and without the option.
#ifndef IPAV_CLI_CHECK_TIMING_H_
#define IPAV_CLI_CHECK_TIMING_H_

#include <string>

#include "cli/report/device_report.h"
#include "host/base/stopwatch.h"

namespace ipav::cli::check {

// One line, "timing: WHAT: 1.234 ms".
void PrintTime(const std::string& what, base::Duration time);

// One line for each part; the device must have times.
void PrintTimes(const report::DeviceReport& device);

}  // namespace ipav::cli::check

#endif  // IPAV_CLI_CHECK_TIMING_H_
