// The devices that a command line names.
#ifndef IPAV_CLI_FLEET_DEVICES_H_
#define IPAV_CLI_FLEET_DEVICES_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/fleet/git.h"
#include "cli/report/run.h"

namespace ipav::cli::fleet {

// A configuration to validate.
struct Device {
  std::size_t number = 1;  // in the list of all devices, from 1
  std::string candidate;
  // Its file without the ending, or its folder, below the folder that was
  // named.
  std::string name;
  std::string running;  // file; empty: nothing is configured yet
  // Why the device cannot be validated, if that is known before any file is
  // read; else empty.
  std::string problem;
  // The running configuration, if it is a file of a git repository. Then
  // `running` is its name in messages.
  std::optional<Blob> blob = std::nullopt;
};

// The devices of files and folders, numbered in their order. A file is a
// device. So is a folder that holds candidate.xml or candidate.json; its own
// running.xml or running.json replaces `running`. In any other folder, every
// file that ends in .xml or .json and every folder is taken, in the order of
// their names, except those that begin with a dot; no folder is taken twice.
// Throws datastore::InputError for a folder without a device.
std::vector<Device> FindDevices(const std::vector<std::string>& names,
                                const std::string& running);

// The files that the devices are read from; an empty name stands for none.
std::vector<std::string> FilesOf(const std::vector<Device>& devices);

// The devices of one shard.
std::vector<Device> PartOf(const std::vector<Device>& devices,
                           const report::Shard& shard);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_DEVICES_H_
