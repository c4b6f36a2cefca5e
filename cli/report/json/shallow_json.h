// JSON that another program sends.
#ifndef IPAV_CLI_REPORT_JSON_SHALLOW_JSON_H_
#define IPAV_CLI_REPORT_JSON_SHALLOW_JSON_H_

#include <string>

#include "cli/report/json/json_text.h"

namespace ipav::cli::report {

// A discarded value for a text that is not JSON, or in which more than 128
// arrays and objects are in each other: Json is copied by recursion.
Json ParseShallow(const std::string& text);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_JSON_SHALLOW_JSON_H_
