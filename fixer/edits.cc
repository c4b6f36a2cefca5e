#include "fixer/edits.h"

#include <libyang/libyang.h>

#include <algorithm>

#include "host/datastore/diff.h"
#include "host/datastore/libyang_error.h"
#include "messages/data_view.h"

namespace ipav::fixer {

namespace {

using datastore::DataTree;
using messages::DataView;

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

std::optional<FoundEdit> Find(const Edit& edit, const DataTree& running,
                              const DataTree& copy) {
  FoundEdit found{&edit};
  if (edit.kind == Edit::Kind::kRestore) {
    found.restored = EntryOfKey(DataView(running).AtPath(edit.path));
    if (found.restored == nullptr) return std::nullopt;
    const lyd_node* parent = lyd_parent(found.restored);
    found.node = datastore::InCopy(copy, found.restored);
    found.parent = datastore::InCopy(copy, parent);
    if (parent != nullptr && found.parent == nullptr) return std::nullopt;
    return found;
  }
  const lyd_node* node = DataView(copy).AtPath(edit.path);
  if (node == nullptr) return std::nullopt;
  if (edit.kind == Edit::Kind::kRemove) node = EntryOfKey(node);
  const bool is_parent = edit.kind == Edit::Kind::kAdd;
  (is_parent ? found.parent : found.node) = const_cast<lyd_node*>(node);
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

bool Make(const FoundEdit& found, lyd_node** first) {
  switch (found.edit->kind) {
    case Edit::Kind::kSet:
      return lyd_change_term(found.node, found.edit->value.c_str()) ==
             LY_SUCCESS;
    case Edit::Kind::kAdd:
      return AddNode(*found.edit, found.parent);
    case Edit::Kind::kRemove:
      datastore::RemoveNode(found.node, first);
      return true;
    case Edit::Kind::kRestore:
      break;
  }
  if (found.node != nullptr) datastore::RemoveNode(found.node, first);
  datastore::InsertCopy(found.restored, found.parent, first);
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
