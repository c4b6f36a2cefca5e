// Where the time of a device went, as JSON: all in seconds.
#ifndef IPAV_CLI_REPORT_JSON_JSON_TIMES_H_
#define IPAV_CLI_REPORT_JSON_JSON_TIMES_H_

#include "cli/report/device_report.h"
#include "cli/report/json/json_text.h"

namespace ipav::cli::report {

// Of a device that has times.
Json TimesToJson(const DeviceReport& device);

// Throws std::exception for what TimesToJson() did not make.
void TimesFromJson(const Json& json, DeviceReport* device);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JSON_JSON_TIMES_H_
