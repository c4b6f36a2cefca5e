#include "ipavd/store/edit_item.h"

#include <map>
#include <string_view>
#include <utility>

#include "host/datastore/data_tree.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/model.h"
#include "ipavd/store/edit_tree.h"
#include "ipavd/store/edit_xml.h"

namespace ipav::store {

namespace {

constexpr const char* kNetconf = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr const char* kYang = "urn:ietf:params:xml:ns:yang:1";
constexpr const char* kDefaults = "urn:ietf:params:xml:ns:netconf:default:1.0";

template <typename Value>
using Names = std::map<std::string_view, Value>;

const Names<Operation>& Operations() {
  static const Names<Operation> kNames = {{"merge", Operation::kMerge},
                                          {"replace", Operation::kReplace},
                                          {"create", Operation::kCreate},
                                          {"delete", Operation::kDelete},
                                          {"remove", Operation::kRemove}};
  return kNames;
}

const Names<Insertion>& Insertions() {
  static const Names<Insertion> kNames = {{"first", Insertion::kFirst},
                                          {"last", Insertion::kLast},
                                          {"before", Insertion::kBefore},
                                          {"after", Insertion::kAfter}};
  return kNames;
}

const Names<bool>& Booleans() {
  static const Names<bool> kNames = {
      {"true", true}, {"1", true}, {"false", false}, {"0", false}};
  return kNames;
}

RpcError AttributeError(ErrorTag tag, const xmlNode* element,
                        const std::string& attribute,
                        const std::string& message) {
  return MakeError(
      tag, message, ErrorType::kApplication,
      {{"bad-attribute", attribute}, {"bad-element", NameOf(element)}});
}

// Which attributes the element may have.
struct AttributeRules {
  bool operation = true;
  bool insert = false;  // and "value", or for a list "key"
  const char* anchor_name = "value";
  bool is_default = false;  // a leaf with a default value
};

// Reads all attributes of an element. The error, if any, has no path yet.
class AttributeReader {
 public:
  AttributeReader(const xmlNode* element, const AttributeRules& rules,
                  EditAttributes* attributes)
      : element_(element), rules_(rules), attributes_(*attributes) {}

  std::optional<RpcError> ReadAll() {
    for (const xmlAttr* attribute = element_->properties; attribute != nullptr;
         attribute = attribute->next) {
      std::optional<RpcError> error = Read(attribute);
      if (error.has_value()) return error;
    }
    return CheckAnchor();
  }

 private:
  std::optional<RpcError> Read(const xmlAttr* attribute) {
    const std::string space = NamespaceOf(attribute);
    const std::string name = NameOf(attribute);
    const std::string value = ValueOf(attribute);
    if (space == kNetconf && name == "operation" && rules_.operation) {
      return Keep(Operations(), name, value, &attributes_.operation);
    }
    if (space == kYang && name == "insert" && rules_.insert) {
      return Keep(Insertions(), name, value, &attributes_.insert);
    }
    if (space == kYang && name == rules_.anchor_name && rules_.insert) {
      attributes_.anchor = value;
      return std::nullopt;
    }
    if (space == kDefaults && name == "default" && rules_.is_default) {
      return Keep(Booleans(), name, value, &attributes_.is_default);
    }
    return AttributeError(ErrorTag::kUnknownAttribute, element_, name,
                          "there is no attribute \"" + name + "\" here");
  }

  template <typename Value, typename Kept>
  std::optional<RpcError> Keep(const Names<Value>& values,
                               const std::string& name, const std::string& text,
                               Kept* kept) const {
    const auto value = values.find(text);
    if (value == values.end()) {
      return AttributeError(
          ErrorTag::kBadAttribute, element_, name,
          "\"" + text + "\" is no value of the attribute \"" + name + "\"");
    }
    *kept = value->second;
    return std::nullopt;
  }

  // An anchor where there must be one, and only there.
  std::optional<RpcError> CheckAnchor() const {
    const bool needs_anchor = attributes_.insert == Insertion::kBefore ||
                              attributes_.insert == Insertion::kAfter;
    if (needs_anchor == attributes_.anchor.has_value()) return std::nullopt;
    const std::string name = rules_.anchor_name;
    if (needs_anchor) {
      return AttributeError(ErrorTag::kMissingAttribute, element_, name,
                            "the attribute \"" + name + "\" is missing");
    }
    return AttributeError(
        ErrorTag::kUnknownAttribute, element_, name,
        "the attribute \"" + name + "\" is for insert before and after only");
  }

  const xmlNode* element_;
  const AttributeRules& rules_;
  EditAttributes& attributes_;
};

constexpr std::uint16_t kDataNodes = LYS_CONTAINER | LYS_LIST | LYS_LEAF |
                                     LYS_LEAFLIST | LYS_ANYXML | LYS_ANYDATA;

const lysc_type& TypeOf(const lysc_node& leaf) {
  // In a leaf-list, the type is at the same place.
  return *reinterpret_cast<const lysc_node_leaf&>(leaf).type;
}

std::string PathOfItem(const EditItem& item) {
  return store::PathOf(item.parent, item.schema);
}

}  // namespace

const char* DefaultOf(const lysc_node& schema) {
  if (schema.nodetype != LYS_LEAF) return nullptr;
  const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(schema);
  return leaf.dflt == nullptr
             ? nullptr
             : lyd_value_get_canonical(schema.module->ctx, leaf.dflt);
}

std::string LibraryError(const ly_ctx* context) {
  const ly_err_item* error = ly_err_first(context);
  return error == nullptr ? "is no value of its type" : error->msg;
}

std::vector<std::string> KeysOfAnchor(const lysc_node& list,
                                      const std::string& text) {
  std::map<std::string, std::string> values;
  std::size_t at = 0;
  while (at < text.size() && text[at] == '[') {
    const std::size_t equals = text.find('=', at);
    if (equals == std::string::npos || equals + 1 >= text.size()) return {};
    std::string name = text.substr(at + 1, equals - at - 1);
    name.erase(0, name.find(':') + 1);
    const std::size_t end = text.find(text[equals + 1], equals + 2);
    if (end == std::string::npos) return {};
    values[name] = text.substr(equals + 2, end - equals - 2);
    at = end + 2;
  }
  std::vector<std::string> keys;
  for (const lysc_node* key : datastore::Model::FactsOf(list).keys) {
    const auto value = values.find(key->name);
    if (value == values.end()) return {};
    keys.push_back(datastore::CanonicalText(*key, value->second));
  }
  return keys;
}

const lysc_node* ItemReader::SchemaOf(const xmlNode* element,
                                      const lyd_node* parent) {
  const std::string space = NamespaceOf(element);
  const std::string name = NameOf(element);
  const lys_module* module =
      ly_ctx_get_module_implemented_ns(context_, space.c_str());
  if (module == nullptr) {
    RpcError& error = errors_.AddForElement(
        ErrorTag::kUnknownNamespace, PathOf(parent), name,
        space.empty() ? "\"" + name + "\" has no namespace"
                      : "no module has the namespace " + space);
    error.info.emplace_back("bad-namespace", space);
    return nullptr;
  }
  const lysc_node* schema =
      lys_find_child(parent == nullptr ? nullptr : parent->schema, module,
                     name.c_str(), 0, kDataNodes, 0);
  if (schema == nullptr || (schema->flags & LYS_CONFIG_R) != 0) {
    errors_.AddForElement(ErrorTag::kUnknownElement, PathOf(parent), name,
                          "no configuration has \"" + name + "\" here");
    return nullptr;
  }
  return schema;
}

bool ItemReader::ReadAttributesOf(EditItem* item) {
  const lysc_node* schema = &item->schema;  // for the macro lysc_is_userordered
  AttributeRules rules;
  rules.operation = allows_operations_;
  rules.insert = allows_operations_ && lysc_is_userordered(schema) != 0;
  if (schema->nodetype == LYS_LIST) rules.anchor_name = "key";
  rules.is_default = DefaultOf(*schema) != nullptr;
  std::optional<RpcError> error =
      AttributeReader(item->element, rules, &item->attributes).ReadAll();
  if (error.has_value())
    return errors_.Add(*std::move(error), PathOfItem(*item));
  item->operation = item->attributes.operation.value_or(item->operation);
  return true;
}

std::optional<std::vector<std::string>> ItemReader::ReadKeys(
    const EditItem& item) {
  std::vector<std::string> keys;
  for (const lysc_node* key : datastore::Model::FactsOf(item.schema).keys) {
    if (!ReadKey(item, *key, &keys)) return std::nullopt;
  }
  return keys;
}

// Appends one key.
bool ItemReader::ReadKey(const EditItem& item, const lysc_node& key,
                         std::vector<std::string>* keys) {
  const std::string quoted = std::string("the key \"") + key.name + "\"";
  const xmlNode* found = nullptr;
  for (const xmlNode* child = FirstElement(item.element); child != nullptr;
       child = NextElement(child)) {
    if (NameOf(child) != key.name || NamespaceOf(child) != key.module->ns) {
      continue;
    }
    if (found != nullptr) {
      errors_.AddForElement(ErrorTag::kBadElement, PathOfItem(item), key.name,
                            quoted + " stands here twice");
      return false;
    }
    found = child;
  }
  if (found != nullptr) return ReadKeyValue(found, item, key, keys);
  errors_.AddForElement(ErrorTag::kMissingElement, PathOfItem(item), key.name,
                        quoted + " is missing");
  return false;
}

bool ItemReader::ReadKeyValue(const xmlNode* element, const EditItem& item,
                              const lysc_node& key,
                              std::vector<std::string>* keys) {
  AttributeRules rules;
  rules.operation = false;  // only the entry has an operation
  EditAttributes attributes;
  std::optional<RpcError> error =
      AttributeReader(element, rules, &attributes).ReadAll();
  if (error.has_value())
    return errors_.Add(*std::move(error), PathOfItem(item));
  const std::optional<std::string> value = ReadValue(element, item, key);
  if (!value.has_value()) return false;
  keys->push_back(datastore::CanonicalText(key, *value));
  return true;
}

// `leaf` is the item itself or one of its keys.
std::optional<std::string> ItemReader::ReadValue(const xmlNode* element,
                                                 const EditItem& item,
                                                 const lysc_node& leaf) {
  const auto path = [&] {
    return &leaf == &item.schema ? PathOfItem(item)
                                 : PathOfItem(item) + "/" + leaf.name;
  };
  if (FirstElement(element) != nullptr) {
    errors_.AddForElement(ErrorTag::kBadElement, path(), leaf.name,
                          "has elements where only text can stand");
    return std::nullopt;
  }
  std::string value =
      WithModuleName(element, leaf, netconf::ContentOf(element));
  datastore::ClearErrors(context_);
  const LY_ERR error = lyd_value_validate(
      context_, &leaf, value.c_str(), value.size(), nullptr, nullptr, nullptr);
  // LY_EINCOMPLETE: it depends on nodes that may still come.
  if (error == LY_SUCCESS || error == LY_EINCOMPLETE) return value;
  errors_.AddForElement(ErrorTag::kInvalidValue, path(), leaf.name,
                        LibraryError(context_));
  return std::nullopt;
}

// In XML the prefix of an identity stands for a namespace. libyang expects the
// name of a module here.
std::string ItemReader::WithModuleName(const xmlNode* element,
                                       const lysc_node& leaf,
                                       const std::string& text) const {
  if (TypeOf(leaf).basetype != LY_TYPE_IDENT) return text;
  const std::size_t colon = text.find(':');
  const std::string prefix =
      colon == std::string::npos ? "" : text.substr(0, colon);
  const lys_module* module = ly_ctx_get_module_implemented_ns(
      context_, NamespaceOf(element, prefix).c_str());
  if (module == nullptr) return text;
  return std::string(module->name) + ":" +
         text.substr(colon == std::string::npos ? 0 : colon + 1);
}

}  // namespace ipav::store
