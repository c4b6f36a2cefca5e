// The top nodes of a configuration.
#ifndef IPAV_IPAVD_STORE_NODES_H_
#define IPAV_IPAVD_STORE_NODES_H_

#include <libyang/libyang.h>

#include <cstdint>
#include <string>

#include "host/datastore/libyang_ptr.h"

namespace ipav::store {

using datastore::Nodes;

// A copy of all top nodes. Throws std::bad_alloc.
Nodes Copy(const lyd_node* nodes);

// All nodes as XML. `options` are those of lyd_print_mem(); by default, default
// nodes are left out. Throws std::bad_alloc.
std::string TextOf(const lyd_node* nodes,
                   std::uint32_t options = LYD_PRINT_WD_EXPLICIT);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_NODES_H_
