// What edit-config does to a configuration (RFC 6241, section 7.2; RFC 7950,
// sections 7.5.8 to 7.8.6).
#ifndef IPAV_SERVER_STORE_EDIT_CONFIG_H_
#define IPAV_SERVER_STORE_EDIT_CONFIG_H_

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
  kUndo,     // the first error ends it, and nothing is changed
  kContinue  // what is wrong is left out, with all below it
};

struct EditRules {
  Operation default_operation = Operation::kMerge;
  OnError on_error = OnError::kUndo;
  bool allows_operations = true;  // attributes "operation" and "insert"
};

// What an edit makes of a configuration, and what is wrong with it, in the
// order of the edit. With kUndo there is one error at most, and then no nodes.
struct Edited {
  Nodes nodes;
  std::vector<RpcError> errors;
};

// Applies an edit to a copy of `base` (null: no nodes), which need not be all
// that the model asks for; neither need the result. `edit` is the content of
// the element config, in XML: no or several top elements, with their
// namespaces. Default values and plain containers are added to the result,
// marked as libyang marks them; a node that is there by default only does not
// exist to create and delete. A key of which one value has several texts gets
// the text that all of them share. Throws nothing but std::bad_alloc.
Edited EditConfig(const datastore::Model& model, const lyd_node* base,
                  const std::string& edit, const EditRules& rules);

}  // namespace ipav::store

#endif  // IPAV_SERVER_STORE_EDIT_CONFIG_H_
