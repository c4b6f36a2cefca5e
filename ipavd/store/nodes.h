// The top nodes of a configuration, as libyang has them.
#ifndef IPAV_IPAVD_STORE_NODES_H_
#define IPAV_IPAVD_STORE_NODES_H_

#include <libyang/libyang.h>

#include <memory>
#include <string>

namespace ipav::store {

struct NodesDeleter {
  void operator()(lyd_node* nodes) const { lyd_free_all(nodes); }
};

// Owned by the first of them. Null: no nodes.
using Nodes = std::unique_ptr<lyd_node, NodesDeleter>;

// A copy of all top nodes. Throws std::bad_alloc.
Nodes Copy(const lyd_node* nodes);

// All of them as XML, without what is there by default. Throws std::bad_alloc.
std::string TextOf(const lyd_node* nodes);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_NODES_H_
