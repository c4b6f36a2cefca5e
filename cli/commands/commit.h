// ipav commit: commits a configuration on a running ipavd.
#ifndef IPAV_CLI_COMMANDS_COMMIT_H_
#define IPAV_CLI_COMMANDS_COMMIT_H_

#include <string>

#include "cli/exit_status.h"
#include "cli/locations.h"
#include "cli/read_tree.h"

namespace ipav::cli {

struct CommitOptions {
  std::string server;     // UNIX socket
  std::string file;       // the configuration, XML or JSON
  bool validate = false;  // ask only, change nothing
  ReadingLimits limits;   // `time` is that of each answer as well
};

// Makes the file the whole running configuration. Prints what became of it.
// Throws datastore::InputError and std::runtime_error.
ExitStatus CommitTo(const Locations& locations, const CommitOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_COMMIT_H_
