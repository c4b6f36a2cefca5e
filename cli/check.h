// ipav check: judges candidates against a running configuration.
#ifndef IPAV_CLI_CHECK_H_
#define IPAV_CLI_CHECK_H_

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "base/time_limit.h"
#include "datastore/input_file.h"
#include "exit_status.h"
#include "locations.h"

namespace ipav::cli {

struct CheckOptions {
  std::string running;  // file; empty: nothing is configured yet
  std::vector<std::string> candidates;
  std::string page;      // file of the report to be looked at; empty: none
  bool all = false;      // list the answer of every point
  bool verbose = false;  // debug lines and platform calls as well
  // How long the reading of a configuration may take, and the validation of a
  // candidate.
  base::TimeLimit time_limit = std::chrono::seconds(60);
  std::size_t max_input_size = datastore::kMaxInputSize;  // bytes of each
};

// Prints a report for each candidate. Returns the gravest status of all. Throws
// datastore::InputError, plugin::PluginError and report::WriteError.
ExitStatus Check(const Locations& locations, const CheckOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_CHECK_H_
