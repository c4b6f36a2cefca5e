// The attributes of one element of an edit.
#ifndef IPAV_IPAVD_STORE_EDIT_ATTRIBUTES_H_
#define IPAV_IPAVD_STORE_EDIT_ATTRIBUTES_H_

#include <libxml/tree.h>

#include <cstdint>
#include <optional>
#include <string>

#include "ipavd/store/edit_config.h"
#include "ipavd/store/rpc_error.h"

namespace ipav::store {

enum class Insertion : std::uint8_t { kFirst, kLast, kBefore, kAfter };

struct EditAttributes {
  std::optional<Operation> operation;
  std::optional<Insertion> insert;    // lists ordered by the user
  std::optional<std::string> anchor;  // for kBefore and kAfter: key or value
  bool is_default = false;            // RFC 6243: the default value
};

// Which attributes the element may have.
struct AttributeRules {
  bool operation = true;
  bool insert = false;  // and "value", or for a list "key"
  const char* anchor_name = "value";
  bool is_default = false;  // a leaf with a default value
};

// Reads all attributes. The error, if any, has no path yet.
std::optional<RpcError> ReadAttributes(const xmlNode* element,
                                       const AttributeRules& rules,
                                       EditAttributes* attributes);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_ATTRIBUTES_H_
