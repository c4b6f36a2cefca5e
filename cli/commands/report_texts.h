// The operator's texts in a printed report of `ipav check`.
#ifndef IPAV_CLI_COMMANDS_REPORT_TEXTS_H_
#define IPAV_CLI_COMMANDS_REPORT_TEXTS_H_

#include <string>
#include <vector>

namespace ipav::cli {

// The lines that are texts, without colours; every other line of the report is
// left out.
std::vector<std::string> TextsOfReport(const std::string& report);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_REPORT_TEXTS_H_
