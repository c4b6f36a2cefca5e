#include "ipavd/store/edit_config.h"

#include <map>
#include <optional>
#include <set>
#include <utility>

#include "host/datastore/data_tree.h"
#include "host/datastore/libyang_error.h"
#include "ipavd/store/data_path.h"
#include "ipavd/store/edit_attributes.h"
#include "ipavd/store/edit_tree.h"
#include "ipavd/store/edit_xml.h"

namespace ipav::store {

namespace {

using datastore::Model;

constexpr std::uint16_t kDataNodes = LYS_CONTAINER | LYS_LIST | LYS_LEAF |
                                     LYS_LEAFLIST | LYS_ANYXML | LYS_ANYDATA;

bool IsRemoval(Operation operation) {
  return operation == Operation::kDelete || operation == Operation::kRemove;
}

// Whether the operation leaves a node where there was none.
bool Makes(Operation operation) {
  return !IsRemoval(operation) && operation != Operation::kNone;
}

const lysc_type& TypeOf(const lysc_node& leaf) {
  // The members of both kinds that are asked for lie at the same place.
  return *reinterpret_cast<const lysc_node_leaf&>(leaf).type;
}

// The default value of a leaf; null for none.
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

// Whether text stands beside elements in any element below. libyang refuses
// most of that, and loses the memory of what it has read.
bool HasMixedElements(const xmlNode* element) {
  for (const xmlNode* child = FirstElement(element); child != nullptr;
       child = NextElement(child)) {
    const bool has_elements = FirstElement(child) != nullptr;
    if (has_elements && (HasMixedContent(child) || HasMixedElements(child))) {
      return true;
    }
  }
  return false;
}

// Keys of a list entry that an attribute names: "[p:name='a'][p:unit='0']".
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
  for (const lysc_node* key : KeysOf(list)) {
    const auto value = values.find(key->name);
    if (value == values.end()) return {};
    keys.push_back(datastore::CanonicalText(*key, value->second));
  }
  return keys;
}

// The children of one element, which may contradict each other.
struct Siblings {
  std::set<const lysc_node*> met;  // those that can be there once only
  std::map<const lysc_node*, const lysc_node*> case_of_choice;
};

// An element of the edit that has its place in the model.
struct Item {
  const xmlNode* element;
  const lysc_node& schema;
  lyd_node* parent;
  Operation operation;
  EditAttributes attributes;
};

class Editor {
 public:
  Editor(const Model& model, const EditRules& rules, EditTree* tree)
      : model_(model), rules_(rules), tree_(*tree) {}

  void ApplyAll(const xmlNode* config) {
    ApplyChildren(config, nullptr, rules_.default_operation);
  }

  std::vector<RpcError> TakeErrors() { return std::move(errors_); }

 private:
  bool IsStopped() const {
    return !errors_.empty() && rules_.on_error == OnError::kUndo;
  }

  // Always false, for a caller to return.
  bool Refuse(ErrorTag tag, const std::string& path,
              const std::string& message) {
    RpcError error;
    error.tag = tag;
    error.path = path;
    error.message = message;
    errors_.push_back(std::move(error));
    return false;
  }

  bool RefuseElement(ErrorTag tag, const std::string& path,
                     const std::string& name, const std::string& message) {
    Refuse(tag, path, message);
    errors_.back().info = {{"bad-element", name}};
    return false;
  }

  // Of a container, an entry (but its keys) or, with null, the whole edit.
  void ApplyChildren(const xmlNode* element, lyd_node* parent,
                     Operation operation) {
    if (HasMixedContent(element)) {
      RefuseElement(ErrorTag::kBadElement, PathOf(parent),
                    parent == nullptr ? "config" : NameOf(element),
                    "there is text where only elements can stand");
    }
    Siblings siblings;
    for (const xmlNode* child = FirstElement(element);
         child != nullptr && !IsStopped(); child = NextElement(child)) {
      const lysc_node* schema = SchemaOf(child, parent);
      if (schema == nullptr || lysc_is_key(schema)) continue;
      Apply(child, *schema, parent, operation, &siblings);
    }
  }

  // Null, and an error, for what no configuration has there.
  const lysc_node* SchemaOf(const xmlNode* element, lyd_node* parent) {
    const std::string space = NamespaceOf(element);
    const std::string name = NameOf(element);
    const lys_module* module =
        ly_ctx_get_module_implemented_ns(model_.context(), space.c_str());
    if (module == nullptr) {
      RefuseElement(ErrorTag::kUnknownNamespace, PathOf(parent), name,
                    space.empty() ? "\"" + name + "\" has no namespace"
                                  : "no module has the namespace " + space);
      errors_.back().info.emplace_back("bad-namespace", space);
      return nullptr;
    }
    const lysc_node* schema =
        lys_find_child(parent == nullptr ? nullptr : parent->schema, module,
                       name.c_str(), 0, kDataNodes, 0);
    if (schema == nullptr || (schema->flags & LYS_CONFIG_R) != 0) {
      RefuseElement(ErrorTag::kUnknownElement, PathOf(parent), name,
                    "no configuration has \"" + name + "\" here");
      return nullptr;
    }
    return schema;
  }

  void Apply(const xmlNode* element, const lysc_node& schema, lyd_node* parent,
             Operation inherited, Siblings* siblings) {
    Item item{element, schema, parent, inherited, {}};
    if (!ReadAttributesOf(&item) || !IsBeside(item, siblings)) return;
    switch (schema.nodetype) {
      case LYS_CONTAINER:
        ApplyContainer(item);
        break;
      case LYS_LIST:
        ApplyEntry(item);
        break;
      case LYS_LEAF:
        ApplyLeaf(item);
        break;
      case LYS_LEAFLIST:
        ApplyValue(item);
        break;
      default:
        ApplyAny(item);
        break;
    }
  }

  bool ReadAttributesOf(Item* item) {
    const lysc_node& schema = item->schema;
    const lysc_node* node = &schema;  // a macro takes it
    AttributeRules rules;
    rules.operation = rules_.allows_operations;
    rules.insert = rules_.allows_operations && lysc_is_userordered(node) != 0;
    if (schema.nodetype == LYS_LIST) rules.anchor_name = "key";
    rules.is_default = DefaultOf(schema) != nullptr;
    std::optional<RpcError> error =
        ReadAttributes(item->element, rules, &item->attributes);
    if (error.has_value()) {
      error->path = PathOf(item->parent, schema);
      errors_.push_back(*std::move(error));
      return false;
    }
    item->operation = item->attributes.operation.value_or(item->operation);
    return true;
  }

  // Whether no other element of the same parent forbids the item.
  bool IsBeside(const Item& item, Siblings* siblings) {
    const bool is_single =
        (item.schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0;
    if (is_single && !siblings->met.insert(&item.schema).second) {
      return RefuseElement(ErrorTag::kBadElement,
                           PathOf(item.parent, item.schema), item.schema.name,
                           "stands here twice");
    }
    if (!Makes(item.operation)) return true;
    for (const lysc_node* node = item.schema.parent;
         node != nullptr && (node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
         node = node->parent) {
      if (node->nodetype != LYS_CASE) continue;
      const auto [entry, is_new] =
          siblings->case_of_choice.emplace(node->parent, node);
      if (!is_new && entry->second != node) {
        return RefuseElement(ErrorTag::kBadElement,
                             PathOf(item.parent, item.schema), item.schema.name,
                             std::string("two cases of the choice \"") +
                                 node->parent->name + "\" stand here");
      }
    }
    return true;
  }

  // Whether the operation can be done to what exists, or does not.
  // `keys` are those of an entry.
  bool IsPossible(const Item& item, bool exists,
                  const std::vector<std::string>& keys = {}) {
    const auto path = [&] { return PathOf(item.parent, item.schema, keys); };
    if (item.operation == Operation::kCreate && exists) {
      return Refuse(ErrorTag::kDataExists, path(),
                    "cannot be created: it exists already");
    }
    if (item.operation == Operation::kDelete && !exists) {
      return Refuse(ErrorTag::kDataMissing, path(),
                    "cannot be deleted: it does not exist");
    }
    if (item.operation == Operation::kNone && !exists) {
      return Refuse(ErrorTag::kDataMissing, path(), "does not exist");
    }
    return true;
  }

  void RemoveIfThere(lyd_node* node) {
    if (node != nullptr) tree_.Remove(node);
  }

  void ApplyContainer(const Item& item) {
    // 1. A plain container is there with its parent, if with nothing in it.
    lyd_node* node = tree_.Find(item.parent, item.schema);
    const bool is_passed =
        item.operation == Operation::kNone && IsPlainContainer(item.schema);
    if (!is_passed && !IsPossible(item, IsConfigured(node))) return;
    // 2. The container itself.
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    if (!is_passed) tree_.RemoveRivals(item.parent, item.schema);
    if (item.operation == Operation::kReplace && node != nullptr) {
      tree_.RemoveChildren(node);
    }
    const bool is_new = node == nullptr;
    if (is_new) node = tree_.AddContainer(item.parent, item.schema);
    // 3. What is in it.
    ApplyChildren(item.element, node, item.operation);
    if (is_new && is_passed && !IsConfigured(node)) tree_.Remove(node);
  }

  void ApplyEntry(const Item& item) {
    // 1. Which one it is.
    std::vector<std::string> keys;
    for (const lysc_node* key : KeysOf(item.schema)) {
      if (!ReadKey(item, *key, &keys)) return;
    }
    lyd_node* node = tree_.FindEntry(item.parent, item.schema, keys);
    if (!IsPossible(item, node != nullptr, keys)) return;
    // 2. The entry itself.
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    if (item.operation == Operation::kReplace && node != nullptr) {
      tree_.RemoveChildren(node);
    }
    if (node == nullptr) {
      tree_.RemoveRivals(item.parent, item.schema);
      node = tree_.AddEntry(item.parent, item.schema, keys);
    }
    if (!Order(item, node)) return;
    // 3. What is in it.
    ApplyChildren(item.element, node, item.operation);
  }

  // Appends a key of an entry.
  bool ReadKey(const Item& item, const lysc_node& key,
               std::vector<std::string>* keys) {
    const auto path = [&] { return PathOf(item.parent, item.schema); };
    const xmlNode* found = nullptr;
    for (const xmlNode* child = FirstElement(item.element); child != nullptr;
         child = NextElement(child)) {
      if (NameOf(child) != key.name || NamespaceOf(child) != key.module->ns) {
        continue;
      }
      if (found != nullptr) {
        return RefuseElement(
            ErrorTag::kBadElement, path(), key.name,
            std::string("the key \"") + key.name + "\" stands here twice");
      }
      found = child;
    }
    if (found == nullptr) {
      return RefuseElement(
          ErrorTag::kMissingElement, path(), key.name,
          std::string("the key \"") + key.name + "\" is missing");
    }
    return ReadKeyValue(found, item, key, keys);
  }

  bool ReadKeyValue(const xmlNode* element, const Item& item,
                    const lysc_node& key, std::vector<std::string>* keys) {
    AttributeRules rules;
    rules.operation = false;  // a key goes with its entry
    EditAttributes attributes;
    std::optional<RpcError> error = ReadAttributes(element, rules, &attributes);
    if (error.has_value()) {
      error->path = PathOf(item.parent, item.schema);
      errors_.push_back(*std::move(error));
      return false;
    }
    const std::optional<std::string> value = ReadValue(element, item, key);
    if (!value.has_value()) return false;
    keys->push_back(datastore::CanonicalText(key, *value));
    return true;
  }

  // A value of the type of a leaf, the item itself or a key of it, as libyang
  // takes it; none, and an error, for anything else.
  std::optional<std::string> ReadValue(const xmlNode* element, const Item& item,
                                       const lysc_node& leaf) {
    const auto path = [&] {
      const std::string own = PathOf(item.parent, item.schema);
      return &leaf == &item.schema ? own : own + "/" + leaf.name;
    };
    if (FirstElement(element) != nullptr) {
      RefuseElement(ErrorTag::kBadElement, path(), leaf.name,
                    "has elements where only text can stand");
      return std::nullopt;
    }
    std::string value = WithModuleName(element, leaf, TextOf(element));
    datastore::ClearErrors(model_.context());
    const LY_ERR error =
        lyd_value_validate(model_.context(), &leaf, value.c_str(), value.size(),
                           nullptr, nullptr, nullptr);
    // What depends on other nodes is not known before they are there.
    if (error == LY_SUCCESS || error == LY_EINCOMPLETE) return value;
    RefuseElement(ErrorTag::kInvalidValue, path(), leaf.name,
                  LibraryError(model_.context()));
    return std::nullopt;
  }

  // Prefixes of XML mean namespaces; those that libyang takes here, modules.
  std::string WithModuleName(const xmlNode* element, const lysc_node& leaf,
                             const std::string& text) const {
    if (TypeOf(leaf).basetype != LY_TYPE_IDENT) return text;
    const std::size_t colon = text.find(':');
    const std::string prefix =
        colon == std::string::npos ? "" : text.substr(0, colon);
    const lys_module* module = ly_ctx_get_module_implemented_ns(
        model_.context(), NamespaceOf(element, prefix).c_str());
    if (module == nullptr) return text;
    return std::string(module->name) + ":" +
           text.substr(colon == std::string::npos ? 0 : colon + 1);
  }

  void ApplyLeaf(const Item& item) {
    // 1. What is there; a default value does not count, but for passing.
    lyd_node* node = tree_.Find(item.parent, item.schema);
    const bool exists = item.operation == Operation::kNone ? node != nullptr
                                                           : IsConfigured(node);
    if (!IsPossible(item, exists)) return;
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    if (item.operation == Operation::kNone) return;
    // 2. Its new value.
    const std::optional<std::string> value =
        ReadValue(item.element, item, item.schema);
    if (!value.has_value() || !IsTaggedRightly(item, *value)) return;
    tree_.RemoveRivals(item.parent, item.schema);
    if (item.attributes.is_default) return RemoveIfThere(node);
    if (node == nullptr) {
      tree_.AddTerm(item.parent, item.schema, *value);
    } else {
      // What it answers tells apart whether the value was the same.
      static_cast<void>(lyd_change_term(node, value->c_str()));
    }
  }

  // A value that is called a default value must be that.
  bool IsTaggedRightly(const Item& item, const std::string& value) {
    if (!item.attributes.is_default ||
        datastore::CanonicalText(item.schema, value) ==
            datastore::CanonicalText(item.schema, DefaultOf(item.schema))) {
      return true;
    }
    return RefuseElement(ErrorTag::kInvalidValue,
                         PathOf(item.parent, item.schema), item.schema.name,
                         "is not the default value");
  }

  void ApplyValue(const Item& item) {
    const std::optional<std::string> value =
        ReadValue(item.element, item, item.schema);
    if (!value.has_value()) return;
    lyd_node* node = tree_.FindValue(item.parent, item.schema, *value);
    const bool exists = item.operation == Operation::kNone ? node != nullptr
                                                           : IsConfigured(node);
    if (!IsPossible(item, exists, {*value})) return;
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    if (item.operation == Operation::kNone) return;
    if (!IsConfigured(node)) {
      tree_.RemoveRivals(item.parent, item.schema);
      node = tree_.AddTerm(item.parent, item.schema, *value);
    }
    static_cast<void>(Order(item, node));
  }

  // The value as a whole: nobody knows what is in it.
  void ApplyAny(const Item& item) {
    lyd_node* node = tree_.Find(item.parent, item.schema);
    if (!IsPossible(item, node != nullptr)) return;
    if (item.operation == Operation::kNone) return;
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    const auto refuse = [&](const std::string& reason) {
      RefuseElement(ErrorTag::kInvalidValue, PathOf(item.parent, item.schema),
                    item.schema.name, reason);
    };
    if (HasMixedContent(item.element) || HasMixedElements(item.element)) {
      return refuse("has text beside elements");
    }
    RemoveIfThere(node);
    tree_.RemoveRivals(item.parent, item.schema);
    datastore::ClearErrors(model_.context());
    if (tree_.AddAny(item.parent, item.schema, InnerXml(item.element)) ==
        nullptr) {
      refuse(LibraryError(model_.context()));
    }
  }

  // Moves an entry to where the edit wants it.
  bool Order(const Item& item, lyd_node* node) {
    if (!item.attributes.insert.has_value()) return true;
    const Insertion insertion = *item.attributes.insert;
    lyd_node* first = tree_.FirstOf(item.parent, item.schema);
    if (insertion == Insertion::kFirst) {
      tree_.MoveBefore(node, first);
      return true;
    }
    if (insertion == Insertion::kLast) {
      lyd_node* last = first;
      while (last->next != nullptr && last->next->schema == &item.schema) {
        last = last->next;
      }
      tree_.MoveAfter(node, last);
      return true;
    }
    lyd_node* anchor = AnchorOf(item);
    if (anchor == nullptr || anchor == node) return RefuseAnchor(item);
    if (insertion == Insertion::kBefore) {
      tree_.MoveBefore(node, anchor);
    } else {
      tree_.MoveAfter(node, anchor);
    }
    return true;
  }

  lyd_node* AnchorOf(const Item& item) {
    const std::string& text = *item.attributes.anchor;
    if (item.schema.nodetype == LYS_LEAFLIST) {
      return tree_.FindValue(item.parent, item.schema, text);
    }
    const std::vector<std::string> keys = KeysOfAnchor(item.schema, text);
    return keys.empty() ? nullptr
                        : tree_.FindEntry(item.parent, item.schema, keys);
  }

  bool RefuseAnchor(const Item& item) {
    Refuse(ErrorTag::kBadAttribute, PathOf(item.parent, item.schema),
           "there is no " + *item.attributes.anchor + " to insert it by");
    RpcError& error = errors_.back();
    error.app_tag = "missing-instance";
    error.info = {
        {"bad-attribute", item.schema.nodetype == LYS_LIST ? "key" : "value"},
        {"bad-element", item.schema.name}};
    return false;
  }

  const Model& model_;
  const EditRules& rules_;
  EditTree& tree_;
  std::vector<RpcError> errors_;
};

// Of the whole edit, which then is what is left out.
Edited Failure(const lyd_node* base, const EditRules& rules, ErrorTag tag,
               const std::string& message) {
  RpcError error;
  error.tag = tag;
  error.message = message;
  return {Copy(rules.on_error == OnError::kContinue ? base : nullptr), {error}};
}

}  // namespace

Edited EditConfig(const Model& model, const lyd_node* base,
                  const std::string& edit, const EditRules& rules) {
  // 1. The text.
  const EditXml xml(edit);
  if (xml.config() == nullptr) {
    return Failure(base, rules, ErrorTag::kInvalidValue,
                   "the configuration is no XML: " + xml.error());
  }
  // 2. What it changes. A replacement replaces all that there is.
  const bool replaces = rules.default_operation == Operation::kReplace;
  EditTree tree(Copy(replaces ? nullptr : base));
  Editor editor(model, rules, &tree);
  editor.ApplyAll(xml.config());
  std::vector<RpcError> errors = editor.TakeErrors();
  if (!errors.empty() && rules.on_error == OnError::kUndo) {
    return {nullptr, std::move(errors)};
  }
  // 3. What comes with that.
  if (!tree.AddDefaults(model.context())) {
    return Failure(base, rules, ErrorTag::kOperationFailed,
                   LibraryError(model.context()));
  }
  return {tree.Take(), std::move(errors)};
}

}  // namespace ipav::store
