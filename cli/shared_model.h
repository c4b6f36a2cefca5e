// The data models of this process. Each is loaded once.
#ifndef IPAV_CLI_SHARED_MODEL_H_
#define IPAV_CLI_SHARED_MODEL_H_

#include "cli/locations.h"
#include "host/datastore/model.h"

namespace ipav::cli {

// The model of that folder. A child process has the models of its parent.
// Lives until the process exits. Throws datastore::InputError.
const datastore::Model& SharedModel(const Locations& locations);

}  // namespace ipav::cli

#endif  // IPAV_CLI_SHARED_MODEL_H_
