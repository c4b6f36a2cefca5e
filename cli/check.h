// ipav check: judges candidates against a running configuration.
#ifndef IPAV_CLI_CHECK_H_
#define IPAV_CLI_CHECK_H_

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/locations.h"
#include "cli/report/report_output.h"
#include "cli/report/run.h"
#include "host/base/time_limit.h"
#include "host/datastore/input_file.h"

namespace ipav::cli {

struct CheckOptions {
  std::string running;  // file; empty: nothing is configured yet
  std::vector<std::string> candidates;  // files, and folders of them
  std::string page;            // file of the page to look at; empty: none
  bool all = false;            // list the answer of every point
  bool verbose = false;        // debug lines and platform calls as well
  std::string color = "auto";  // or always, never
  bool timing = false;         // where the time went, on standard error
  bool trace = false;          // every platform call on standard error
  // How long the reading of a configuration may take, and the validation of a
  // candidate.
  base::TimeLimit time_limit = std::chrono::seconds(60);
  std::size_t max_input_size = datastore::kMaxInputSize;  // bytes of each
  report::ReportOptions report;
  std::size_t jobs = 0;                // at a time; 0: as many as processors
  std::optional<report::Shard> shard;  // which devices of the list
  bool quiet = false;                  // no progress line
};

// Writes a report on each candidate. Returns the gravest status of all. Throws
// datastore::InputError, plugin::PluginError and std::runtime_error.
ExitStatus Check(const Locations& locations, const CheckOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_CHECK_H_
