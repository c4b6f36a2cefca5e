// ipav completion: the script by which a shell completes the command line.
#ifndef IPAV_CLI_COMMANDS_COMPLETION_H_
#define IPAV_CLI_COMMANDS_COMPLETION_H_

#include <CLI/App.hpp>
#include <string>

#include "cli/exit_status.h"
#include "cli/locations.h"

namespace ipav::cli {

// Of the whole program, `app`, for bash, zsh or fish. Throws
// datastore::InputError.
ExitStatus PrintCompletion(const Locations& locations, const CLI::App& app,
                           const std::string& shell);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_COMPLETION_H_
