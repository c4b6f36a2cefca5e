// Applies an edit-config to a configuration (RFC 6241, section 7.2; RFC 7950,
// sections 7.5.8 to 7.8.6).
#ifndef IPAV_IPAVD_STORE_EDIT_CONFIG_H_
#define IPAV_IPAVD_STORE_EDIT_CONFIG_H_

#include <libyang/libyang.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/datastore/model.h"
#include "ipavd/store/nodes.h"
#include "ipavd/store/rpc_error.h"

namespace ipav::store {

enum class Operation : std::uint8_t {
  kMerge,
  kReplace,
  kCreate,
  kDelete,
  kRemove,
  kNone
};

enum class OnError : std::uint8_t {
  kUndo,     // stop at the first error, and change nothing
  kContinue  // leave out wrong elements and everything below them
};

struct EditRules {
  Operation default_operation = Operation::kMerge;
  OnError on_error = OnError::kUndo;
  bool allows_operations = true;  // attributes "operation" and "insert"
};

// The new configuration, and the errors in the order of the edit. With kUndo
// there is at most one error, and then there are no nodes.
struct Edited {
  Nodes nodes;
  std::vector<RpcError> errors;
};

// Applies an edit to a copy of `base` (null: no nodes). Neither has to be a
// complete configuration, nor is the result. `edit` is the content of the
// element config: XML with any number of top elements. The result has default
// values and plain containers, marked as libyang marks them; a node that exists
// only by default does not exist for create and delete. A key gets the
// canonical text of its value. Throws only std::bad_alloc.
Edited EditConfig(const datastore::Model& model, const lyd_node* base,
                  const std::string& edit, const EditRules& rules);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_CONFIG_H_
