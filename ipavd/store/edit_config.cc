#include "ipavd/store/edit_config.h"

#include <map>
#include <optional>
#include <set>
#include <utility>

#include "host/datastore/data_tree.h"
#include "host/datastore/libyang_error.h"
#include "ipavd/store/edit_item.h"
#include "ipavd/store/edit_tree.h"
#include "ipavd/store/edit_xml.h"

namespace ipav::store {

namespace {

using datastore::Model;

bool IsRemoval(Operation operation) {
  return operation == Operation::kDelete || operation == Operation::kRemove;
}

// Whether the operation creates the node if it does not exist.
bool Makes(Operation operation) {
  return !IsRemoval(operation) && operation != Operation::kNone;
}

// Whether any element below has text beside elements. libyang refuses most of
// these, and leaks memory when it does.
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

// What the children of one element have set so far, to find contradictions.
struct Siblings {
  std::set<const lysc_node*> met;  // nodes that can be there only once
  std::map<const lysc_node*, const lysc_node*> case_of_choice;
};

class Editor {
 public:
  Editor(const Model& model, const EditRules& rules, EditTree* tree)
      : model_(model),
        rules_(rules),
        tree_(*tree),
        reader_(model.context(), rules.allows_operations, &errors_) {}

  void ApplyAll(const xmlNode* config) {
    ApplyChildren(config, nullptr, rules_.default_operation);
  }

  std::vector<RpcError> TakeErrors() { return errors_.Take(); }

 private:
  bool IsStopped() const {
    return errors_.is_full() ||
           (!errors_.empty() && rules_.on_error == OnError::kUndo);
  }

  bool RefuseElement(ErrorTag tag, const EditItem& item,
                     const std::string& message) {
    errors_.AddForElement(tag, PathOf(item.parent, item.schema),
                          item.schema.name, message);
    return false;
  }

  // Applies the children of a container or of a list entry (without its keys);
  // with a null parent, the top elements.
  void ApplyChildren(const xmlNode* element, lyd_node* parent,
                     Operation operation) {
    if (HasMixedContent(element)) {
      errors_.AddForElement(ErrorTag::kBadElement, PathOf(parent),
                            parent == nullptr ? "config" : NameOf(element),
                            "there is text where only elements can stand");
    }
    Siblings siblings;
    for (const xmlNode* child = FirstElement(element);
         child != nullptr && !IsStopped(); child = NextElement(child)) {
      const lysc_node* schema = reader_.SchemaOf(child, parent);
      if (schema == nullptr || lysc_is_key(schema)) continue;
      Apply(child, *schema, parent, operation, &siblings);
    }
  }

  void Apply(const xmlNode* element, const lysc_node& schema, lyd_node* parent,
             Operation inherited, Siblings* siblings) {
    EditItem item{element, schema, parent, inherited, {}};
    if (!reader_.ReadAttributesOf(&item) || !FitsSiblings(item, siblings))
      return;
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

  // Whether the item contradicts no other element of its parent.
  bool FitsSiblings(const EditItem& item, Siblings* siblings) {
    const bool is_single =
        (item.schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0;
    if (is_single && !siblings->met.insert(&item.schema).second) {
      return RefuseElement(ErrorTag::kBadElement, item, "stands here twice");
    }
    if (!Makes(item.operation)) return true;
    for (const lysc_node* node = item.schema.parent;
         node != nullptr && (node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
         node = node->parent) {
      if (node->nodetype != LYS_CASE) continue;
      const auto [entry, is_new] =
          siblings->case_of_choice.emplace(node->parent, node);
      if (!is_new && entry->second != node) {
        return RefuseElement(ErrorTag::kBadElement, item,
                             std::string("two cases of the choice \"") +
                                 node->parent->name + "\" stand here");
      }
    }
    return true;
  }

  // Whether the operation is possible on a node that exists, or does not.
  // `keys` are those of a list entry.
  bool IsPossible(const EditItem& item, bool exists,
                  const std::vector<std::string>& keys = {}) {
    const auto path = [&] { return PathOf(item.parent, item.schema, keys); };
    if (item.operation == Operation::kCreate && exists) {
      return errors_.Add(ErrorTag::kDataExists, path(),
                         "cannot be created: it exists already");
    }
    if (item.operation == Operation::kDelete && !exists) {
      return errors_.Add(ErrorTag::kDataMissing, path(),
                         "cannot be deleted: it does not exist");
    }
    if (item.operation == Operation::kNone && !exists) {
      return errors_.Add(ErrorTag::kDataMissing, path(), "does not exist");
    }
    return true;
  }

  void RemoveIfThere(lyd_node* node) {
    if (node != nullptr) tree_.Remove(node);
  }

  void ApplyContainer(const EditItem& item) {
    // 1. A plain container exists whenever its parent does.
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
    // 3. Its content.
    ApplyChildren(item.element, node, item.operation);
    if (is_new && is_passed && !IsConfigured(node)) tree_.Remove(node);
  }

  void ApplyEntry(const EditItem& item) {
    // 1. Find it by its keys.
    const auto keys = reader_.ReadKeys(item);
    if (!keys.has_value()) return;
    lyd_node* node = tree_.FindEntry(item.parent, item.schema, *keys);
    if (!IsPossible(item, node != nullptr, *keys)) return;
    // 2. The entry itself.
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    if (item.operation == Operation::kReplace && node != nullptr) {
      tree_.RemoveChildren(node);
    }
    if (node == nullptr) {
      tree_.RemoveRivals(item.parent, item.schema);
      node = tree_.AddEntry(item.parent, item.schema, *keys);
    }
    if (!Order(item, node)) return;
    // 3. Its content.
    ApplyChildren(item.element, node, item.operation);
  }

  void ApplyLeaf(const EditItem& item) {
    // 1. The old value. A default value counts only for the operation "none".
    lyd_node* node = tree_.Find(item.parent, item.schema);
    const bool exists = item.operation == Operation::kNone ? node != nullptr
                                                           : IsConfigured(node);
    if (!IsPossible(item, exists)) return;
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    if (item.operation == Operation::kNone) return;
    // 2. Its new value.
    const std::optional<std::string> value = reader_.ReadValue(item);
    if (!value.has_value() || !IsTaggedRightly(item, *value)) return;
    tree_.RemoveRivals(item.parent, item.schema);
    if (item.attributes.is_default) return RemoveIfThere(node);
    if (node == nullptr) {
      tree_.AddTerm(item.parent, item.schema, *value);
    } else {
      // The result only tells whether the value differs.
      static_cast<void>(lyd_change_term(node, value->c_str()));
    }
  }

  // A value that the edit marks as default must be the default value.
  bool IsTaggedRightly(const EditItem& item, const std::string& value) {
    if (!item.attributes.is_default ||
        datastore::CanonicalText(item.schema, value) ==
            datastore::CanonicalText(item.schema, DefaultOf(item.schema))) {
      return true;
    }
    return RefuseElement(ErrorTag::kInvalidValue, item,
                         "is not the default value");
  }

  void ApplyValue(const EditItem& item) {
    const std::optional<std::string> value = reader_.ReadValue(item);
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

  // anydata is replaced as a whole, since its content has no schema.
  void ApplyAny(const EditItem& item) {
    lyd_node* node = tree_.Find(item.parent, item.schema);
    if (!IsPossible(item, node != nullptr)) return;
    if (item.operation == Operation::kNone) return;
    if (IsRemoval(item.operation)) return RemoveIfThere(node);
    const auto refuse = [&](const std::string& reason) {
      RefuseElement(ErrorTag::kInvalidValue, item, reason);
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

  // Moves an entry to the place that its attribute "insert" names.
  bool Order(const EditItem& item, lyd_node* node) {
    if (!item.attributes.insert.has_value()) return true;
    const Insertion insertion = *item.attributes.insert;
    lyd_node* other = tree_.FirstOf(item.parent, item.schema);
    if (insertion == Insertion::kLast) {
      while (other->next != nullptr && other->next->schema == &item.schema) {
        other = other->next;
      }
    } else if (insertion != Insertion::kFirst) {
      other = AnchorOf(item);
      if (other == nullptr || other == node) return RefuseAnchor(item);
    }
    tree_.Move(
        node, other,
        insertion == Insertion::kFirst || insertion == Insertion::kBefore);
    return true;
  }

  lyd_node* AnchorOf(const EditItem& item) {
    const std::string& text = *item.attributes.anchor;
    if (item.schema.nodetype == LYS_LEAFLIST) {
      return tree_.FindValue(item.parent, item.schema, text);
    }
    const std::vector<std::string> keys = KeysOfAnchor(item.schema, text);
    return keys.empty() ? nullptr
                        : tree_.FindEntry(item.parent, item.schema, keys);
  }

  bool RefuseAnchor(const EditItem& item) {
    RpcError& error = errors_.AddForElement(
        ErrorTag::kBadAttribute, PathOf(item.parent, item.schema),
        item.schema.name,
        "there is no " + *item.attributes.anchor + " to insert it by");
    error.app_tag = "missing-instance";
    error.info.insert(
        error.info.begin(),
        {"bad-attribute", item.schema.nodetype == LYS_LIST ? "key" : "value"});
    return false;
  }

  const Model& model_;
  const EditRules& rules_;
  EditTree& tree_;
  EditErrors errors_;
  ItemReader reader_;
};

// The edit fails as a whole.
Edited Failure(const lyd_node* base, const EditRules& rules, ErrorTag tag,
               const std::string& message) {
  return {Copy(rules.on_error == OnError::kContinue ? base : nullptr),
          {MakeError(tag, message)}};
}

}  // namespace

Edited EditConfig(const Model& model, const lyd_node* base,
                  const std::string& edit, const EditRules& rules) {
  // 1. The text.
  const EditXml xml = ParseEdit(edit);
  if (xml.config == nullptr) {
    return Failure(base, rules, ErrorTag::kInvalidValue,
                   "the configuration is no XML: " + xml.error);
  }
  // 2. The changes. "replace" as the default operation drops all old nodes.
  const bool replaces = rules.default_operation == Operation::kReplace;
  EditTree tree(Copy(replaces ? nullptr : base));
  Editor editor(model, rules, &tree);
  editor.ApplyAll(xml.config);
  std::vector<RpcError> errors = editor.TakeErrors();
  if (!errors.empty() && rules.on_error == OnError::kUndo) {
    return {nullptr, std::move(errors)};
  }
  // 3. Default values.
  if (!tree.AddDefaults(model.context())) {
    return Failure(base, rules, ErrorTag::kOperationFailed,
                   LibraryError(model.context()));
  }
  return {tree.Take(), std::move(errors)};
}

}  // namespace ipav::store
