#include "planner/composer.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "host/confd/path.h"
#include "host/datastore/libyang_error.h"

namespace ipav::planner {

namespace {

using datastore::Change;
using datastore::DataTree;
using datastore::InCopy;

// What the items do to a copy of the running configuration. All nodes are
// looked up before the first one is changed: a change would invalidate the
// indexes of the tree.
struct Edits {
  struct Insertion {
    lyd_node* parent;  // null: at the top
    const lyd_node* node;
  };
  std::vector<lyd_node*> removals;
  std::vector<Insertion> insertions;
};

bool IsAtOrBelow(const lyd_node* node, const std::vector<lyd_node*>& tops) {
  while (node != nullptr &&
         std::find(tops.begin(), tops.end(), node) == tops.end()) {
    node = lyd_parent(node);
  }
  return node != nullptr;
}

// A change below a node that is away is made when the node comes back.
Edits FindEdits(const std::vector<Item>& items, const State& state,
                const DataTree& copy) {
  Edits edits;
  for (const std::size_t number : state) {
    const lyd_node* detour = items[number].detour;
    if (detour != nullptr) edits.removals.push_back(InCopy(copy, detour));
  }
  const std::vector<lyd_node*> away = edits.removals;
  edits.removals.erase(
      std::remove_if(edits.removals.begin(), edits.removals.end(),
                     [&](const lyd_node* node) {
                       return IsAtOrBelow(lyd_parent(node), away);
                     }),
      edits.removals.end());
  for (const std::size_t number : state) {
    const Change* change = items[number].change;
    if (change == nullptr) continue;
    lyd_node* before = InCopy(copy, change->before);
    // A new node's parent exists in both configurations: a new ancestor would
    // be the item instead, and plain containers always exist.
    lyd_node* parent = change->after == nullptr
                           ? nullptr
                           : InCopy(copy, lyd_parent(change->after));
    if (IsAtOrBelow(before, away) || IsAtOrBelow(parent, away)) continue;
    if (before != nullptr) edits.removals.push_back(before);
    if (change->after != nullptr) {
      edits.insertions.push_back({parent, change->after});
    }
  }
  return edits;
}

// Makes the edits. Returns the first node, which may be another one.
lyd_node* Apply(const Edits& edits, lyd_node* first) {
  for (lyd_node* node : edits.removals) datastore::RemoveNode(node, &first);
  for (const auto& [parent, node] : edits.insertions) {
    datastore::InsertCopy(node, parent, &first);
  }
  return first == nullptr ? nullptr : lyd_first_sibling(first);
}

std::shared_ptr<Composed> Refused(const ly_ctx* context) {
  auto composed = std::make_shared<Composed>();
  composed->error = datastore::FirstReason(context);
  const ly_err_item* error = ly_err_first(context);
  if (error != nullptr && error->path != nullptr) {
    composed->error_path =
        datastore::Between(error->path, "Data location \"", "\"");
  }
  datastore::ClearErrors(context);
  return composed;
}

std::shared_ptr<Composed> Given(const DataTree& tree) {
  auto composed = std::make_shared<Composed>();
  composed->tree = &tree;
  return composed;
}

}  // namespace

Composer::Composer(const DataTree& running, const DataTree& goal)
    : running_(running), goal_(goal), diff_(running, goal) {
  AddItems(diff_.top());
  change_count_ = items_.size();
}

void Composer::AddItems(const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    if (change.IsImplicit()) continue;
    const bool in_both = change.before != nullptr && change.after != nullptr;
    if (!datastore::IsLeaf(*change.schema) &&
        (in_both || datastore::IsPlainContainer(*change.schema))) {
      AddItems(change.children);
    } else {
      items_.push_back({&change, nullptr, confd::PrintPath(change.Node())});
    }
  }
}

State Composer::goal() const {
  std::vector<std::size_t> all(change_count_);
  std::iota(all.begin(), all.end(), 0);
  return {all.begin(), all.end()};
}

std::size_t Composer::DetourOf(const lyd_node& node) {
  const auto [found, is_new] = detours_.emplace(&node, items_.size());
  if (is_new) items_.push_back({nullptr, &node, confd::PrintPath(&node)});
  return found->second;
}

std::shared_ptr<const Composed> Composer::Compose(const State& state) const {
  if (state.empty()) return Given(running_);
  if (state == goal()) return Given(goal_);
  const datastore::Model& model = running_.model();
  DataTree copy = running_.Copy();
  const Edits edits = FindEdits(items_, state, copy);
  datastore::ClearErrors(model.context());
  auto tree = std::make_unique<DataTree>(
      DataTree::FromNodes(model, Apply(edits, copy.Release().release())));
  if (!tree->Complete()) return Refused(model.context());
  auto composed = std::make_shared<Composed>();
  composed->tree = tree.get();
  composed->owned = std::move(tree);
  return composed;
}

}  // namespace ipav::planner
