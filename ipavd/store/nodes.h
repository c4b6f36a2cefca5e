// The nodes of a configuration: their copies, texts and paths.
#ifndef IPAV_IPAVD_STORE_NODES_H_
#define IPAV_IPAVD_STORE_NODES_H_

#include <libyang/libyang.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/datastore/libyang_ptr.h"
#include "host/datastore/model.h"

namespace ipav::store {

using datastore::Nodes;

// A copy of all top nodes. Throws std::bad_alloc.
Nodes Copy(const lyd_node* nodes);

// All nodes as XML. `options` are those of lyd_print_mem(); by default, default
// nodes are left out. Throws std::bad_alloc.
std::string TextOf(const lyd_node* nodes,
                   std::uint32_t options = LYD_PRINT_WD_EXPLICIT);

// ---- Paths of data nodes for error-path, with module names as prefixes ------

// The path of a node; empty for null.
std::string PathOf(const lyd_node* node);

// The path of a child that need not exist. `keys` are those of a list entry;
// none means the whole list.
std::string PathOf(const lyd_node* parent, const lysc_node& child,
                   const std::vector<std::string>& keys = {});

// The path for a data path of the commit engine, "/config/interface/l3{users}".
// Empty if the text is not such a path.
std::string PathOf(const datastore::Model& model, const std::string& text);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_NODES_H_
