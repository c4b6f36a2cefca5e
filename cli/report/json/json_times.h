// The times of a device as JSON, all in seconds.
#ifndef IPAV_CLI_REPORT_JSON_JSON_TIMES_H_
#define IPAV_CLI_REPORT_JSON_JSON_TIMES_H_

#include "cli/report/device_report.h"
#include "cli/report/json/json_text.h"

namespace ipav::cli::report {

// The device must have times.
Json TimesToJson(const DeviceReport& device);

// Throws std::exception for JSON that is not from TimesToJson().
void TimesFromJson(const Json& json, DeviceReport* device);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JSON_JSON_TIMES_H_
