// Prints configurations as text.
#ifndef IPAV_CLI_PRINT_TREE_H_
#define IPAV_CLI_PRINT_TREE_H_

#include <libyang/libyang.h>

#include <string>

#include "host/datastore/data_tree.h"

namespace ipav::cli {

// The whole configuration, without the default values that the file it was read
// from did not have. Throws std::runtime_error.
std::string PrintTree(const datastore::DataTree& tree, LYD_FORMAT format);

}  // namespace ipav::cli

#endif  // IPAV_CLI_PRINT_TREE_H_
