#include "host/datastore/diff.h"

#include <cstring>
#include <new>
#include <utility>

namespace ipav::datastore {

namespace {

// Replaces the nodes of a part of the candidate by those of the whole of it.
void MoveToWhole(const DataTree& candidate, const lyd_node* parent,
                 std::vector<Change>* changes) {
  for (Change& change : *changes) {
    if (change.after == nullptr) continue;
    change.after = Counterpart(candidate, parent, *change.after);
    MoveToWhole(candidate, change.after, &change.children);
  }
}

std::size_t NumberOf(const lyd_node* siblings) {
  std::size_t count = 0;
  for (; siblings != nullptr; siblings = siblings->next) ++count;
  return count;
}

// Whether two instances of a node are seen to be the same at once. Most entries
// of lists are; of those that are not, the changes are still to be found.
bool IsSame(const lyd_node& before, const lyd_node& after) {
  if (IsLeaf(*before.schema)) {
    // Keys of one entry are equal, even if their texts differ.
    return lysc_is_key(before.schema) ||
           lyd_compare_single(&before, &after, 0) == LY_SUCCESS;
  }
  return before.schema->nodetype == LYS_LIST &&
         lyd_compare_single(&before, &after, LYD_COMPARE_FULL_RECURSION) ==
             LY_SUCCESS;
}

class Comparison {
 public:
  Comparison(const DataTree& running, const DataTree& candidate)
      : running_(running), candidate_(candidate) {}

  // Changes among the children of a node that both configurations have (null:
  // the top), or that is missing in one of them.
  std::vector<Change> Children(const lyd_node* before, const lyd_node* after,
                               bool in_before, bool in_after) const {
    std::vector<Change> changes;
    std::size_t in_both = 0;
    const lyd_node* node = in_after ? candidate_.FirstChild(after) : nullptr;
    for (; node != nullptr; node = node->next) {
      const lyd_node* old =
          in_before ? Counterpart(running_, before, *node) : nullptr;
      // Only state data may have one node several times.
      if (old != nullptr && (node->schema->flags & LYS_CONFIG_W) != 0) {
        ++in_both;
      }
      Append(old, node, &changes);
    }
    node = in_before ? running_.FirstChild(before) : nullptr;
    if (NumberOf(node) == in_both) return changes;
    for (; node != nullptr; node = node->next) {
      if (in_after && Counterpart(candidate_, after, *node) != nullptr) {
        continue;  // compared above
      }
      Append(node, nullptr, &changes);
    }
    return changes;
  }

 private:
  void Append(const lyd_node* before, const lyd_node* after,
              std::vector<Change>* changes) const {
    const lysc_node* schema = (after != nullptr ? after : before)->schema;
    Change change{schema, before, after, {}};
    const bool in_both = before != nullptr && after != nullptr;
    if (in_both && IsSame(*before, *after)) return;
    if (!IsLeaf(*schema)) {
      change.children =
          Children(before, after, before != nullptr, after != nullptr);
      // A plain container is not a change: it exists with its parent.
      if (change.children.empty() && (in_both || IsPlainContainer(*schema))) {
        return;
      }
    }
    changes->push_back(std::move(change));
  }

  const DataTree& running_;
  const DataTree& candidate_;
};

}  // namespace

const lyd_node* Counterpart(const DataTree& tree, const lyd_node* parent,
                            const lyd_node& node) {
  if (node.schema->nodetype == LYS_LIST) {
    return tree.FindEntry(parent, *node.schema, KeysOf(&node));
  }
  if (node.schema->nodetype == LYS_LEAFLIST) {
    for (const lyd_node* other = tree.Find(parent, *node.schema);
         other != nullptr; other = NextEntry(other)) {
      if (lyd_compare_single(&node, other, 0) == LY_SUCCESS) return other;
    }
    return nullptr;
  }
  return tree.Find(parent, *node.schema);
}

lyd_node* InCopy(const DataTree& copy, const lyd_node* node) {
  if (node == nullptr) return nullptr;
  const lyd_node* parent = InCopy(copy, lyd_parent(node));
  if (lyd_parent(node) != nullptr && parent == nullptr) return nullptr;
  return const_cast<lyd_node*>(Counterpart(copy, parent, *node));
}

void RemoveNode(lyd_node* node, lyd_node** first) {
  if (node == *first) *first = node->next;
  lyd_free_tree(node);
}

void InsertCopy(const lyd_node* node, lyd_node* parent, lyd_node** first) {
  lyd_node* copy = nullptr;
  constexpr auto kWhole = LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS;
  if (lyd_dup_single(node, nullptr, kWhole, &copy) != LY_SUCCESS ||
      (parent != nullptr
           ? lyd_insert_child(parent, copy)
           : lyd_insert_sibling(*first, copy, first)) != LY_SUCCESS) {
    throw std::bad_alloc();
  }
}

Diff::Diff(const DataTree& running, const DataTree& candidate)
    : top_(Comparison(running, candidate)
               .Children(nullptr, nullptr, true, true)) {
  IndexChanges();
}

Diff::Diff(const DataTree& running_part, const DataTree& candidate_part,
           const DataTree& candidate)
    : top_(Comparison(running_part, candidate_part)
               .Children(nullptr, nullptr, true, true)) {
  MoveToWhole(candidate, nullptr, &top_);
  IndexChanges();
}

void Diff::IndexChanges() {
  // Only now are the addresses final: no vector grows any more.
  std::vector<const std::vector<Change>*> open = {&top_};
  while (!open.empty()) {
    const std::vector<Change>& changes = *open.back();
    open.pop_back();
    for (const Change& change : changes) {
      if (change.after != nullptr) {
        by_candidate_node_.emplace(change.after, &change);
      }
      open.push_back(&change.children);
    }
  }
}

const Change* Diff::Of(const lyd_node* candidate_node) const {
  const auto found = by_candidate_node_.find(candidate_node);
  return found == by_candidate_node_.end() ? nullptr : found->second;
}

}  // namespace ipav::datastore
