// ipav diff: what a candidate changes, and which validation points that fires.
#ifndef IPAV_CLI_COMMANDS_DIFF_H_
#define IPAV_CLI_COMMANDS_DIFF_H_

#include <string>

#include "cli/exit_status.h"
#include "cli/locations.h"
#include "cli/read_tree.h"

namespace ipav::cli {

struct DiffOptions {
  std::string running;
  std::string candidate;
  bool full = false;  // the leaves of added and deleted list entries, too
  std::string format = "text";  // or "json"
  ReadingLimits limits;
};

// kAccepted when both could be read, whatever they hold. Throws
// datastore::InputError.
ExitStatus PrintDiff(const Locations& locations, const DiffOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_DIFF_H_
