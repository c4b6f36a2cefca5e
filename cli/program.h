// The program ipav, as main() and a session run it.
#ifndef IPAV_CLI_PROGRAM_H_
#define IPAV_CLI_PROGRAM_H_

#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli {

// Runs the command with these arguments, without the program's name, and prints
// the error if it fails. `session`, null outside of one, has the defaults of a
// session's commands; outside they are the installed files.
ExitStatus RunProgram(const std::vector<std::string>& arguments,
                      const Locations* session = nullptr);

}  // namespace ipav::cli

#endif  // IPAV_CLI_PROGRAM_H_
