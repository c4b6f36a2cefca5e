// Configurations of the project's own data model, from texts.
#ifndef IPAV_FUZZ_SUPPORT_CONFIGURATIONS_H_
#define IPAV_FUZZ_SUPPORT_CONFIGURATIONS_H_

#include <optional>
#include <string>

#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"

namespace ipav::fuzz {

// Loaded once for all inputs.
const datastore::Model& ProjectModel();

// What `ipav check` makes of a file with that text; nothing where it refuses
// it. A refusal that is not one line which names the file is a finding.
std::optional<datastore::DataTree> ReadConfiguration(const std::string& text);

// A small configuration that has every kind of node, and is accepted.
const datastore::DataTree& SmallConfiguration();
std::string SmallConfigurationText();

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_CONFIGURATIONS_H_
