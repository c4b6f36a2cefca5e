#include "ipavd/store/edit_tree.h"

#include <algorithm>
#include <array>
#include <utility>

namespace ipav::store {

namespace {

// Far more keys than any list has.
constexpr std::size_t kMaxKeys = 16;

const lysc_node* DataParentOf(const lysc_node* schema) {
  const lysc_node* parent = schema->parent;
  while (parent != nullptr &&
         (parent->nodetype & (LYS_CHOICE | LYS_CASE)) != 0) {
    parent = parent->parent;
  }
  return parent;
}

bool IsWithin(const lysc_node* schema, const lysc_node& branch) {
  while (schema != nullptr && schema != &branch) schema = schema->parent;
  return schema != nullptr;
}

// Clears the default marks of plain containers. libyang adds no default nodes
// to a container with that mark, so that one which an edit deleted there would
// stay away.
void ClearDefaultMarks(lyd_node* siblings) {
  for (lyd_node* node = siblings; node != nullptr; node = node->next) {
    if (IsPlainContainer(*node->schema)) {
      node->flags &= ~static_cast<std::uint32_t>(LYD_DEFAULT);
    }
    ClearDefaultMarks(lyd_child_no_keys(node));
  }
}

// Marks the plain containers that hold nothing but default nodes. Returns
// whether there are other nodes.
bool MarkDefaults(lyd_node* siblings) {
  bool is_configured = false;
  for (lyd_node* node = siblings; node != nullptr; node = node->next) {
    const bool has_more = MarkDefaults(lyd_child_no_keys(node));
    if (IsPlainContainer(*node->schema) && !has_more) {
      node->flags |= LYD_DEFAULT;
    }
    is_configured = is_configured || (node->flags & LYD_DEFAULT) == 0;
  }
  return is_configured;
}

}  // namespace

bool IsConfigured(const lyd_node* node) {
  if (node == nullptr) return false;
  if (!IsPlainContainer(*node->schema)) {
    return (node->flags & LYD_DEFAULT) == 0;
  }
  const lyd_node* child = lyd_child(node);
  while (child != nullptr && !IsConfigured(child)) child = child->next;
  return child != nullptr;
}

lyd_node* EditTree::First(lyd_node* parent) const {
  return parent == nullptr ? nodes_.get() : lyd_child(parent);
}

lyd_node* EditTree::FirstOf(lyd_node* parent, const lysc_node& schema) const {
  lyd_node* node = First(parent);
  while (node != nullptr && node->schema != &schema) node = node->next;
  return node;
}

lyd_node* EditTree::Find(lyd_node* parent, const lysc_node& schema) const {
  lyd_node* found = nullptr;
  static_cast<void>(
      lyd_find_sibling_val(First(parent), &schema, nullptr, 0, &found));
  return found;
}

lyd_node* EditTree::FindValue(lyd_node* parent, const lysc_node& leaf_list,
                              const std::string& value) const {
  lyd_node* found = nullptr;
  static_cast<void>(lyd_find_sibling_val(First(parent), &leaf_list,
                                         value.c_str(), value.size(), &found));
  return found;
}

// Makes an entry that is not part of the tree. libyang can only make it below
// its parent.
lyd_node* EditTree::NewEntry(lyd_node* parent, const lysc_node& list,
                             const std::vector<std::string>& keys) {
  std::array<const char*, kMaxKeys> text{};
  if (keys.size() > text.size()) return nullptr;
  std::transform(keys.begin(), keys.end(), text.begin(),
                 [](const std::string& key) { return key.c_str(); });
  lyd_node* entry = nullptr;
  // lyd_new_list() reads as many arguments as the list has keys.
  if (lyd_new_list(parent, list.module, list.name, 0, &entry, text[0], text[1],
                   text[2], text[3], text[4], text[5], text[6], text[7],
                   text[8], text[9], text[10], text[11], text[12], text[13],
                   text[14], text[15]) != LY_SUCCESS) {
    return nullptr;
  }
  lyd_unlink_tree(entry);
  return entry;
}

lyd_node* EditTree::FindEntry(lyd_node* parent, const lysc_node& list,
                              const std::vector<std::string>& keys) {
  lyd_node* entry = NewEntry(parent, list, keys);
  if (entry == nullptr) return nullptr;
  lyd_node* found = nullptr;
  static_cast<void>(lyd_find_sibling_first(First(parent), entry, &found));
  lyd_free_tree(entry);
  return found;
}

lyd_node* EditTree::Insert(lyd_node* parent, lyd_node* node) {
  if (node == nullptr) return nullptr;
  if (parent != nullptr) {
    static_cast<void>(lyd_insert_child(parent, node));
    return node;
  }
  lyd_node* first = node;
  static_cast<void>(lyd_insert_sibling(nodes_.release(), node, &first));
  nodes_.reset(first);
  return node;
}

void EditTree::Unlink(lyd_node* node) {
  if (node == nodes_.get()) {
    static_cast<void>(nodes_.release());
    nodes_.reset(node->next);
  }
  lyd_unlink_tree(node);
}

lyd_node* EditTree::AddContainer(lyd_node* parent, const lysc_node& schema) {
  lyd_node* node = nullptr;
  if (lyd_new_inner(parent, schema.module, schema.name, 0, &node) !=
      LY_SUCCESS) {
    return nullptr;
  }
  return parent != nullptr ? node : Insert(nullptr, node);
}

lyd_node* EditTree::AddEntry(lyd_node* parent, const lysc_node& list,
                             const std::vector<std::string>& keys) {
  return Insert(parent, NewEntry(parent, list, keys));
}

lyd_node* EditTree::AddTerm(lyd_node* parent, const lysc_node& schema,
                            const std::string& value) {
  lyd_node* node = nullptr;
  if (lyd_new_term(parent, schema.module, schema.name, value.c_str(), 0,
                   &node) != LY_SUCCESS) {
    return nullptr;
  }
  return parent != nullptr ? node : Insert(nullptr, node);
}

lyd_node* EditTree::AddAny(lyd_node* parent, const lysc_node& schema,
                           const std::string& xml) {
  // Parsed as part of a document, since lyd_new_any() leaks memory when it
  // refuses a value.
  const std::string name = std::string("any:") + schema.name;
  const std::string text = "<" + name + " xmlns:any=\"" + schema.module->ns +
                           "\">" + xml + "</" + name + ">";
  ly_in* input = nullptr;
  if (ly_in_new_memory(text.c_str(), &input) != LY_SUCCESS) return nullptr;
  lyd_node* node = nullptr;
  const LY_ERR error =
      lyd_parse_data(schema.module->ctx, parent, input, LYD_XML,
                     LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &node);
  ly_in_free(input, 0);
  if (error != LY_SUCCESS) return nullptr;
  return parent != nullptr ? Find(parent, schema) : Insert(nullptr, node);
}

void EditTree::Remove(lyd_node* node) {
  Unlink(node);
  lyd_free_tree(node);
}

void EditTree::RemoveChildren(lyd_node* node) {
  lyd_node* next = nullptr;
  for (lyd_node* child = lyd_child_no_keys(node); child != nullptr;
       child = next) {
    next = child->next;
    Remove(child);
  }
}

void EditTree::RemoveCase(lyd_node* parent, const lysc_node& branch) {
  lyd_node* next = nullptr;
  for (lyd_node* node = First(parent); node != nullptr; node = next) {
    next = node->next;
    if (IsWithin(node->schema, branch)) Remove(node);
  }
}

void EditTree::RemoveRivals(lyd_node* parent, const lysc_node& schema) {
  // 1. The other cases of all choices between the node and its parent.
  const lysc_node* end = DataParentOf(&schema);
  for (const lysc_node* node = schema.parent; node != end;
       node = node->parent) {
    if (node->nodetype != LYS_CASE) continue;
    const auto& choice =
        *reinterpret_cast<const lysc_node_choice*>(node->parent);
    for (const lysc_node_case* branch = choice.cases; branch != nullptr;
         branch = reinterpret_cast<const lysc_node_case*>(branch->next)) {
      const auto* other = reinterpret_cast<const lysc_node*>(branch);
      if (other != node) RemoveCase(parent, *other);
    }
  }
  // 2. Default entries.
  if (schema.nodetype != LYS_LEAFLIST) return;
  lyd_node* next = nullptr;
  for (lyd_node* entry = FirstOf(parent, schema);
       entry != nullptr && entry->schema == &schema; entry = next) {
    next = entry->next;
    if ((entry->flags & LYD_DEFAULT) != 0) Remove(entry);
  }
}

void EditTree::Move(lyd_node* entry, lyd_node* other, bool before) {
  if (entry == other) return;
  Unlink(entry);
  static_cast<void>(
      (before ? lyd_insert_before : lyd_insert_after)(other, entry));
  if (before && other == nodes_.get()) {
    static_cast<void>(nodes_.release());
    nodes_.reset(entry);
  }
}

void EditTree::RemoveConditionalDefaults(lyd_node* parent) {
  lyd_node* next = nullptr;
  for (lyd_node* node = First(parent); node != nullptr; node = next) {
    next = node->next;
    if ((node->flags & LYD_DEFAULT) != 0 &&
        lysc_has_when(node->schema) != nullptr) {
      Remove(node);
    } else {
      RemoveConditionalDefaults(node);
    }
  }
}

bool EditTree::AddDefaults(const ly_ctx* context) {
  // libyang adds default nodes whose "when" is true, but keeps those whose
  // "when" has become false.
  RemoveConditionalDefaults(nullptr);
  lyd_node* nodes = nodes_.release();
  ClearDefaultMarks(nodes);
  const LY_ERR error =
      lyd_new_implicit_all(&nodes, context, LYD_IMPLICIT_NO_STATE, nullptr);
  nodes_.reset(nodes);
  static_cast<void>(MarkDefaults(nodes));
  return error == LY_SUCCESS;
}

}  // namespace ipav::store
