// Reads the elements of an edit as nodes of the data model: schema, attributes,
// keys and values. It does not look at the configuration that is edited.
#ifndef IPAV_IPAVD_STORE_EDIT_ITEM_H_
#define IPAV_IPAVD_STORE_EDIT_ITEM_H_

#include <libxml/tree.h>
#include <libyang/libyang.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

// An element of an edit and the node of the model that it names.
struct EditItem {
  const xmlNode* element;
  const lysc_node& schema;
  lyd_node* parent;  // in the edited configuration; null: the top
  Operation operation;
  EditAttributes attributes;
};

// The default value of a leaf; null for other nodes and without one.
const char* DefaultOf(const lysc_node& schema);

// Why libyang refused the last value.
std::string LibraryError(const ly_ctx* context);

// The keys of a list entry, in the order of the model, from the text of an
// attribute "key": "[p:name='a'][p:unit='0']". Empty when the text is wrong.
std::vector<std::string> KeysOfAnchor(const lysc_node& list,
                                      const std::string& text);

// Collects the errors of an edit, in its order.
class EditErrors {
 public:
  // The edit ends with so many.
  static constexpr std::size_t kMax = 100;
  // Bytes. A longer path, which quotes long keys, is left out, and a longer
  // message is cut off.
  static constexpr std::size_t kLongestText = 4096;

  bool empty() const { return errors_.empty(); }
  bool is_full() const { return errors_.size() >= kMax; }

  // Both return false, for the caller to return.
  bool Add(RpcError error, const std::string& path) {
    error.path = path.size() > kLongestText ? "" : path;
    if (error.message.size() > kLongestText) {
      error.message.resize(kLongestText);
    }
    errors_.push_back(std::move(error));
    return false;
  }
  bool Add(ErrorTag tag, const std::string& path, const std::string& message) {
    return Add(MakeError(tag, message), path);
  }

  // The error is about the element `name`. More of error-info may be added to
  // what it returns.
  RpcError& AddForElement(ErrorTag tag, const std::string& path,
                          const std::string& name, const std::string& message) {
    Add(tag, path, message);
    errors_.back().info = {{"bad-element", name}};
    return errors_.back();
  }

  std::vector<RpcError> Take() { return std::move(errors_); }

 private:
  std::vector<RpcError> errors_;
};

// Each function adds an error and returns nothing for a wrong element.
class ItemReader {
 public:
  // `allows_operations`: whether attributes "operation" and "insert" may be
  // there. The errors are borrowed.
  ItemReader(const ly_ctx* context, bool allows_operations, EditErrors* errors)
      : context_(context),
        allows_operations_(allows_operations),
        errors_(*errors) {}

  // The node of the model below `parent`; null for a wrong element.
  const lysc_node* SchemaOf(const xmlNode* element, const lyd_node* parent);

  // Sets attributes and operation. False for a wrong attribute.
  bool ReadAttributesOf(EditItem* item);

  // The keys of a list entry, in the order of the model.
  std::optional<std::vector<std::string>> ReadKeys(const EditItem& item);

  // The value of a leaf or of an entry of a leaf-list, as libyang takes it.
  std::optional<std::string> ReadValue(const EditItem& item) {
    return ReadValue(item.element, item, item.schema);
  }

 private:
  bool ReadKey(const EditItem& item, const lysc_node& key,
               std::vector<std::string>* keys);
  bool ReadKeyValue(const xmlNode* element, const EditItem& item,
                    const lysc_node& key, std::vector<std::string>* keys);
  std::optional<std::string> ReadValue(const xmlNode* element,
                                       const EditItem& item,
                                       const lysc_node& leaf);
  std::string WithModuleName(const xmlNode* element, const lysc_node& leaf,
                             const std::string& text) const;

  const ly_ctx* context_;
  const bool allows_operations_;
  EditErrors& errors_;
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_ITEM_H_
