// ipav convert: a configuration in the other of its two formats.
#ifndef IPAV_CLI_COMMANDS_CONVERT_H_
#define IPAV_CLI_COMMANDS_CONVERT_H_

#include <libyang/libyang.h>

#include <string>

#include "cli/exit_status.h"
#include "cli/locations.h"
#include "cli/read_tree.h"
#include "host/datastore/data_tree.h"

namespace ipav::cli {

struct ConvertOptions {
  std::string file;
  std::string to;      // xml or json; empty: the one that the file is not
  std::string output;  // file; empty: standard output
  ReadingLimits limits;
};

// Throws datastore::InputError, and std::runtime_error where the output cannot
// be written.
ExitStatus Convert(const Locations& locations, const ConvertOptions& options);

// The whole configuration as text; what it has by default is left out, as in
// the file that it came from.
std::string PrintTree(const datastore::DataTree& tree, LYD_FORMAT format);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_CONVERT_H_
