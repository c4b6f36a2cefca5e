// What edit-config does to a configuration (RFC 6241, section 7.2; RFC 7950,
// sections 7.5.8 to 7.8.6).
#ifndef IPAV_SERVER_STORE_EDIT_CONFIG_H_
#define IPAV_SERVER_STORE_EDIT_CONFIG_H_

#include <libyang/libyang.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "datastore/model.h"
#include "store/rpc_error.h"

namespace ipav::store {

struct NodesDeleter {
  void operator()(lyd_node* nodes) const { lyd_free_all(nodes); }
};

// Top nodes of a configuration, owned by their first one. Null: no nodes.
using Nodes = std::unique_ptr<lyd_node, NodesDeleter>;

// A copy of all top nodes.
Nodes Copy(const lyd_node* nodes);

enum class Operation : std::uint8_t {
  kMerge,
  kReplace,
  kCreate,
  kDelete,
  kRemove,
  kNone
};

enum class OnError : std::uint8_t {
  kUndo,     // the first error ends it, and nothing is changed
  kContinue  // what is wrong is left out, with all below it
};

struct EditRules {
  Operation default_operation = Operation::kMerge;
  OnError on_error = OnError::kUndo;
  bool allows_operations = true;  // attributes "operation" and "insert"
};

// Applies an edit to `nodes`, which need not be all that the model asks for,
// before or after. `edit` is the content of the element config, in XML: no or
// several top elements, with their namespaces. Default values and plain
// containers are added to the result, marked as libyang marks them; a node that
// is a default only does not exist to create and delete.
//
// Returns what is wrong, in the order of the edit: none, or with kUndo one
// error, and then `nodes` are as they were. Throws nothing but std::bad_alloc.
// Keeps nothing of its arguments; any thread, one at a time for a model.
std::vector<RpcError> EditConfig(const datastore::Model& model,
                                 const std::string& edit,
                                 const EditRules& rules, Nodes* nodes);

}  // namespace ipav::store

#endif  // IPAV_SERVER_STORE_EDIT_CONFIG_H_
