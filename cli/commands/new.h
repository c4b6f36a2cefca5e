// ipav new: a first configuration for somebody to change.
#ifndef IPAV_CLI_COMMANDS_NEW_H_
#define IPAV_CLI_COMMANDS_NEW_H_

#include <string>

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli {

struct NewOptions {
  std::string format = "xml";  // or "json", which has no comments
};

// Throws datastore::InputError.
ExitStatus PrintNew(const Locations& locations, const NewOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_NEW_H_
