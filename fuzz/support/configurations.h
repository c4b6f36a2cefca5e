// Makes configurations of the project's own data model from texts.
#ifndef IPAV_FUZZ_SUPPORT_CONFIGURATIONS_H_
#define IPAV_FUZZ_SUPPORT_CONFIGURATIONS_H_

#include <optional>
#include <string>

#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"

namespace ipav::fuzz {

// Loaded once for all inputs.
const datastore::Model& ProjectModel();

// Reads a file with that text as `ipav check` does; nothing if it is refused. A
// refusal that is not one line with the file name is a finding.
std::optional<datastore::DataTree> ReadConfiguration(const std::string& text);

// A small, valid configuration with every kind of node.
const datastore::DataTree& SmallConfiguration();
std::string SmallConfigurationText();

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_CONFIGURATIONS_H_
