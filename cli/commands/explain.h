// The topics of ipav explain.
#ifndef IPAV_CLI_COMMANDS_EXPLAIN_H_
#define IPAV_CLI_COMMANDS_EXPLAIN_H_

#include <string>
#include <vector>

namespace ipav::cli {

// The anchors of all rules, and the names of all validation points.
std::vector<std::string> TopicNames();

// The operator's texts in a printed report of `ipav check`, without colours.
// Every other line of the report is left out.
std::vector<std::string> TextsOfReport(const std::string& report);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_EXPLAIN_H_
