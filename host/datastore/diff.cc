#include "host/datastore/diff.h"

#include <cstring>
#include <new>
#include <unordered_set>
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

// libyang keeps each text once.
bool HaveOneText(const lyd_node& before, const lyd_node& after) {
  return lyd_get_value(&before) == lyd_get_value(&after);
}

// Whether two nodes have the same nodes below them, with the same texts, in the
// same order.
bool AreCopies(const lyd_node& before, const lyd_node& after) {
  if (before.schema != after.schema) return false;
  if (IsLeaf(*after.schema)) return HaveOneText(before, after);
  const lyd_node* old = lyd_child(&before);
  const lyd_node* node = lyd_child(&after);
  while (old != nullptr && node != nullptr && AreCopies(*old, *node)) {
    old = old->next;
    node = node->next;
  }
  return old == nullptr && node == nullptr;
}

// Whether two instances of a node are seen to be the same at once. Most entries
// of lists are; of those that are not, the changes are still to be found.
bool IsSame(const lyd_node& before, const lyd_node& after) {
  if (IsLeaf(*before.schema)) {
    // Keys of one entry are equal, even if their texts differ.
    return lysc_is_key(before.schema) ||
           lyd_compare_single(&before, &after, 0) == LY_SUCCESS;
  }
  return before.schema->nodetype == LYS_LIST && AreCopies(before, after);
}

// Whether two nodes below the same parent are seen to be instances of one node,
// with the same keys.
bool AreSeenAlike(const lyd_node& before, const lyd_node& after) {
  const lysc_node& schema = *after.schema;
  // Only state data may have one node several times.
  if (before.schema != &schema || (schema.flags & LYS_CONFIG_W) == 0) {
    return false;
  }
  if (schema.nodetype == LYS_LEAFLIST) return HaveOneText(before, after);
  if (schema.nodetype != LYS_LIST) return true;
  const lyd_node* old_key = lyd_child(&before);
  const lyd_node* key = lyd_child(&after);
  for (; key != nullptr && lysc_is_key(key->schema); key = key->next) {
    if (!HaveOneText(*old_key, *key)) return false;
    old_key = old_key->next;
  }
  return true;
}

// Nodes with all above them.
class Touched {
 public:
  explicit Touched(const std::vector<const lyd_node*>& nodes) {
    for (const lyd_node* node : nodes) {
      while (node != nullptr && all_.insert(node).second) {
        node = lyd_parent(node);
      }
    }
  }

  bool Has(const lyd_node* node) const { return all_.count(node) != 0; }

 private:
  std::unordered_set<const lyd_node*> all_;
};

class Comparison {
 public:
  // Only what is touched may differ, and nothing is removed (null: all may).
  Comparison(const DataTree& running, const DataTree& candidate,
             const Touched* touched = nullptr)
      : running_(running), candidate_(candidate), touched_(touched) {}

  // Changes among the children of a node that both configurations have (null:
  // the top), or that is missing in one of them.
  std::vector<Change> Children(const lyd_node* before, const lyd_node* after,
                               bool in_before, bool in_after) const {
    std::vector<Change> changes;
    const std::size_t in_both =
        in_after ? AppendChanged(before, after, in_before, &changes) : 0;
    if (in_before && touched_ == nullptr) {
      AppendRemoved(before, after, in_after, in_both, &changes);
    }
    return changes;
  }

 private:
  // Compares what the candidate has. Returns how many of these nodes both have.
  std::size_t AppendChanged(const lyd_node* before, const lyd_node* after,
                            bool in_before,
                            std::vector<Change>* changes) const {
    std::size_t in_both = 0;
    // The nodes are mostly in the same order.
    const lyd_node* next = in_before ? running_.FirstChild(before) : nullptr;
    for (const lyd_node* node = candidate_.FirstChild(after); node != nullptr;
         node = node->next) {
      const lyd_node* old = InRunning(before, in_before, *node, next);
      if (old != nullptr) next = old->next;
      // Only state data may have one node several times.
      if (old != nullptr && (node->schema->flags & LYS_CONFIG_W) != 0) {
        ++in_both;
      }
      if (MayDiffer(*node)) Append(old, node, changes);
    }
    return in_both;
  }

  void AppendRemoved(const lyd_node* before, const lyd_node* after,
                     bool in_after, std::size_t in_both,
                     std::vector<Change>* changes) const {
    const lyd_node* node = running_.FirstChild(before);
    if (NumberOf(node) == in_both) return;
    for (; node != nullptr; node = node->next) {
      if (in_after && Counterpart(candidate_, after, *node) != nullptr) {
        continue;  // it was compared
      }
      Append(node, nullptr, changes);
    }
  }

  bool MayDiffer(const lyd_node& node) const {
    return touched_ == nullptr || touched_->Has(&node);
  }

  // The same instance as a node, below a parent that may be missing. `guess`,
  // if it is not null, is another node below that parent.
  const lyd_node* InRunning(const lyd_node* parent, bool has_parent,
                            const lyd_node& node, const lyd_node* guess) const {
    if (!has_parent) return nullptr;
    if (guess != nullptr && AreSeenAlike(*guess, node)) return guess;
    return MayDiffer(node) ? Counterpart(running_, parent, node) : nullptr;
  }

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
  const Touched* touched_;
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
    : Diff(running, candidate, std::nullopt) {}

Diff::Diff(const DataTree& running, const DataTree& candidate,
           const Leaves& leaves) {
  std::optional<Touched> touched;
  if (leaves.has_value()) touched.emplace(*leaves);
  top_ = Comparison(running, candidate, touched ? &*touched : nullptr)
             .Children(nullptr, nullptr, true, true);
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
