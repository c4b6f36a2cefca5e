// The constraints between the nodes of a configuration. libyang reports only
// the first one that is violated, and not always where.
#ifndef IPAV_HOST_DATASTORE_CONSTRAINTS_H_
#define IPAV_HOST_DATASTORE_CONSTRAINTS_H_

#include <libyang/libyang.h>

#include <set>
#include <string>
#include <vector>

namespace ipav::datastore {

struct Violation {
  const lyd_node* node = nullptr;  // null: the whole configuration
  std::string reason;              // in libyang's words
};

// What the nodes of a tree, given by its first node, violate: when, must,
// mandatory, choices, min-elements, max-elements, unique, and references to
// other nodes. The tree has its default values. Instances of the nodes `unread`
// are missing from it; constraints that name these nodes are not checked.
std::vector<Violation> FindViolations(const ly_ctx* context,
                                      const lyd_node* tree,
                                      const std::set<const lysc_node*>& unread);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_CONSTRAINTS_H_
