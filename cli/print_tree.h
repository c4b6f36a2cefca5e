// Prints configurations as text.
#ifndef IPAV_CLI_PRINT_TREE_H_
#define IPAV_CLI_PRINT_TREE_H_

#include <libyang/libyang.h>

#include <cstdint>
#include <string>

#include "host/datastore/data_tree.h"

namespace ipav::cli {

// The tree that begins with `node`, which may be null. Throws
// std::runtime_error.
std::string Print(const lyd_node* node, LYD_FORMAT format,
                  std::uint32_t options);

// The whole configuration, without the default values that the file it was read
// from did not have. Throws std::runtime_error.
std::string PrintTree(const datastore::DataTree& tree, LYD_FORMAT format);

}  // namespace ipav::cli

#endif  // IPAV_CLI_PRINT_TREE_H_
