// ipav points: the use sites of validation points in the data model.
#ifndef IPAV_CLI_COMMANDS_POINTS_H_
#define IPAV_CLI_COMMANDS_POINTS_H_

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli {

// Prints every use site in the order in which a commit runs them. Throws
// datastore::InputError.
ExitStatus ListPoints(const Locations& locations);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_POINTS_H_
