// ipav summarize: one report of the JSON reports of several runs.
#ifndef IPAV_CLI_COMMANDS_SUMMARIZE_H_
#define IPAV_CLI_COMMANDS_SUMMARIZE_H_

#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/report/report_output.h"

namespace ipav::cli {

struct SummarizeOptions {
  std::vector<std::string> results;  // files
  report::ReportOptions report;
};

// Writes what one run over all devices would have written. What is wrong with
// the results, as a shard that is missing, is a line on standard error each.
// Returns the gravest status of all, of which a wrong result is one. Throws
// std::runtime_error when the report cannot be written.
ExitStatus Summarize(const SummarizeOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_SUMMARIZE_H_
