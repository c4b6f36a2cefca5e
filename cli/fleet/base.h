// The devices that changed since a revision of their git repository.
#ifndef IPAV_CLI_FLEET_BASE_H_
#define IPAV_CLI_FLEET_BASE_H_

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "cli/fleet/devices.h"

namespace ipav::cli::fleet {

struct SinceBase {
  std::vector<Device> devices;     // with other candidates, or new ones
  std::set<std::string> deleted;   // candidates that the work tree has no more
  std::vector<std::string> files;  // of all devices, also of unchanged ones
};

// Finds the devices of files and folders as FindDevices() does. The running
// configuration of each is the file at the revision: its own running.xml or
// running.json if it has one there, else its candidate. A new device has none.
// Throws datastore::InputError, also for the errors of git.
SinceBase FindSince(const std::string& revision,
                    const std::vector<std::string>& names,
                    std::size_t max_size);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_BASE_H_
