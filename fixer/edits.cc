#include "fixer/edits.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <new>

#include "host/datastore/diff.h"
#include "host/datastore/libyang_error.h"
#include "messages/data_view.h"

namespace ipav::fixer {

namespace {

using datastore::DataTree;
using messages::DataView;

constexpr std::uint32_t kOptions = LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS;

void Require(LY_ERR error) {
  if (error != LY_SUCCESS) throw std::bad_alloc();
}

// A key only exists with its entry.
const lyd_node* EntryOfKey(const lyd_node* node) {
  const bool is_key = node != nullptr && lysc_is_key(node->schema);
  return is_key ? lyd_parent(node) : node;
}

// An edit with its nodes. All are found before the first one is changed: a
// change would invalidate the indexes of the tree.
struct FoundEdit {
  const Edit* edit;
  lyd_node* node = nullptr;            // to change or remove
  lyd_node* parent = nullptr;          // to insert into; null: at the top
  const lyd_node* restored = nullptr;  // of the running configuration
};

// The node of the copy that is the same instance; null for null.
lyd_node* CopyOf(const DataTree& copy, const lyd_node* node) {
  if (node == nullptr) return nullptr;
  const lyd_node* parent = lyd_parent(node);
  const lyd_node* found = CopyOf(copy, parent);
  if (parent != nullptr && found == nullptr) return nullptr;
  // The copy is not shared yet.
  return const_cast<lyd_node*>(datastore::Counterpart(copy, found, *node));
}

std::optional<FoundEdit> Find(const Edit& edit, const DataTree& running,
                              const DataTree& copy) {
  FoundEdit found{&edit};
  auto* node = const_cast<lyd_node*>(DataView(copy).AtPath(edit.path));
  switch (edit.kind) {
    case Edit::Kind::kSet:
      found.node = node;
      break;
    case Edit::Kind::kAdd:
      found.parent = node;
      break;
    case Edit::Kind::kRemove:
      found.node = const_cast<lyd_node*>(EntryOfKey(node));
      break;
    case Edit::Kind::kRestore:
      found.restored = EntryOfKey(DataView(running).AtPath(edit.path));
      if (found.restored == nullptr) return std::nullopt;
      found.node = CopyOf(copy, found.restored);
      found.parent = CopyOf(copy, lyd_parent(found.restored));
      if (lyd_parent(found.restored) != nullptr && found.parent == nullptr) {
        return std::nullopt;
      }
      return found;
  }
  if (found.node == nullptr && found.parent == nullptr) return std::nullopt;
  return found;
}

// False if the model does not allow it.
bool AddNode(const Edit& edit, lyd_node* parent) {
  const lysc_node* schema = lys_find_child(
      parent->schema, parent->schema->module, edit.name.c_str(), 0, 0, 0);
  if (schema == nullptr) return false;
  if (schema->nodetype == LYS_LIST) {
    return lyd_new_list(parent, nullptr, edit.name.c_str(), 0, nullptr,
                        edit.value.c_str()) == LY_SUCCESS;
  }
  return lyd_new_term(parent, nullptr, edit.name.c_str(), edit.value.c_str(), 0,
                      nullptr) == LY_SUCCESS;
}

void Free(lyd_node* node, lyd_node** first) {
  if (node == *first) *first = node->next;
  lyd_free_tree(node);
}

bool Make(const FoundEdit& found, lyd_node** first) {
  switch (found.edit->kind) {
    case Edit::Kind::kSet:
      return lyd_change_term(found.node, found.edit->value.c_str()) ==
             LY_SUCCESS;
    case Edit::Kind::kAdd:
      return AddNode(*found.edit, found.parent);
    case Edit::Kind::kRemove:
      Free(found.node, first);
      return true;
    case Edit::Kind::kRestore:
      break;
  }
  if (found.node != nullptr) Free(found.node, first);
  lyd_node* copy = nullptr;
  Require(lyd_dup_single(found.restored, nullptr, kOptions, &copy));
  Require(found.parent != nullptr ? lyd_insert_child(found.parent, copy)
                                  : lyd_insert_sibling(*first, copy, first));
  return true;
}

}  // namespace

std::optional<DataTree> Apply(const std::vector<Edit>& edits,
                              const DataTree& running,
                              const DataTree& candidate) {
  // 1. A copy, and its nodes.
  DataTree copy = candidate.Copy();
  std::vector<FoundEdit> found;
  for (const Edit& edit : edits) {
    const std::optional<FoundEdit> one = Find(edit, running, copy);
    if (!one) return std::nullopt;
    const bool is_known =
        one->node != nullptr &&
        std::any_of(found.begin(), found.end(), [&](const FoundEdit& other) {
          return other.node == one->node;
        });
    if (!is_known) found.push_back(*one);
  }
  // 2. The edits.
  lyd_node* first = copy.Release().release();
  bool is_possible = true;
  for (const FoundEdit& one : found) is_possible &= Make(one, &first);
  DataTree edited = DataTree::FromNodes(
      candidate.model(), first == nullptr ? nullptr : lyd_first_sibling(first));
  datastore::ClearErrors(candidate.model().context());
  is_possible = is_possible && edited.Complete();
  datastore::ClearErrors(candidate.model().context());
  if (!is_possible) return std::nullopt;
  return edited;
}

}  // namespace ipav::fixer
