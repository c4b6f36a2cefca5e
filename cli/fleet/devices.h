// Which devices a command line names.
#ifndef IPAV_CLI_FLEET_DEVICES_H_
#define IPAV_CLI_FLEET_DEVICES_H_

#include <string>
#include <vector>

#include "cli/judge.h"
#include "cli/report/run.h"

namespace ipav::cli::fleet {

// The devices of files and folders, numbered in their order. A file is a
// device. So is a folder that holds candidate.xml or candidate.json; its
// running.xml or running.json goes before `running`. Of any other folder, all
// that ends in .xml or .json and all folders are taken, in the order of their
// names, less those that begin with a dot; no folder is taken twice. Throws
// datastore::InputError for a folder without a device.
std::vector<Device> FindDevices(const std::vector<std::string>& names,
                                const std::string& running);

std::vector<Device> PartOf(const std::vector<Device>& devices,
                           const report::Shard& shard);

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_DEVICES_H_
