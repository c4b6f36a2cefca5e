// Advice on names of VRFs that look special and are not. The rules know only
// the exact names global and mgmt.
#ifndef IPAV_MESSAGES_VRF_NAMES_H_
#define IPAV_MESSAGES_VRF_NAMES_H_

#include <string>
#include <vector>

#include "host/datastore/data_tree.h"

namespace ipav::messages {

// One line for each such name of an interface's VRF or of the table of VRFs, in
// alphabetical order.
std::vector<std::string> AdviceOnVrfNames(const datastore::DataTree& tree);

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_VRF_NAMES_H_
