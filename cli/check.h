// ipav check: judges candidates against a running configuration.
#ifndef IPAV_CLI_CHECK_H_
#define IPAV_CLI_CHECK_H_

#include <string>
#include <vector>

#include "exit_status.h"
#include "locations.h"

namespace ipav::cli {

struct CheckOptions {
  std::string running;  // file; empty: nothing is configured yet
  std::vector<std::string> candidates;
  bool all = false;      // list the answer of every point
  bool verbose = false;  // debug lines and platform calls as well
};

// Prints a report for each candidate. Returns the gravest status of all. Throws
// datastore::InputError and plugin::PluginError.
ExitStatus Check(const Locations& locations, const CheckOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_CHECK_H_
