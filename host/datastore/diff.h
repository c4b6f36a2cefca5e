// The difference between the running configuration and the candidate, as a tree
// of the changed nodes only. Made in one pass over both trees, which must
// outlive it.
//
// Entries of lists ordered by the user are matched by key; moves are not
// detected.
#ifndef IPAV_HOST_DATASTORE_DIFF_H_
#define IPAV_HOST_DATASTORE_DIFF_H_

#include <libyang/libyang.h>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "host/datastore/data_tree.h"

namespace ipav::datastore {

// How a transaction changed a node.
enum class Novelty : std::uint8_t { kUnchanged, kAdded, kChanged, kRemoved };

struct Change {
  const lysc_node* schema;
  const lyd_node* before;  // null: created
  const lyd_node* after;   // null: deleted
  // Changed children in the order of the candidate, deleted ones last. Complete
  // below created and deleted nodes as well.
  std::vector<Change> children;

  const lyd_node* Node() const { return after != nullptr ? after : before; }
  Novelty How() const {
    if (before == nullptr) return Novelty::kAdded;
    return after == nullptr ? Novelty::kRemoved : Novelty::kChanged;
  }
  // A default value, which comes and goes with its parent.
  bool IsImplicit() const {
    return How() != Novelty::kChanged && (Node()->flags & LYD_DEFAULT) != 0;
  }
};

// A leaf, or an entry of a leaf-list: it has a value.
inline bool IsLeaf(const lysc_node& schema) {
  return (schema.nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
}

// A non-presence container: it exists whenever its parent does.
inline bool IsPlainContainer(const lysc_node& schema) {
  return schema.nodetype == LYS_CONTAINER && (schema.flags & LYS_PRESENCE) == 0;
}

// The node of `tree` under `parent` (null: the top) that is the same instance
// as `node`; null if there is none.
const lyd_node* Counterpart(const DataTree& tree, const lyd_node* parent,
                            const lyd_node& node);

// ---- Edits of a tree that nothing else refers to. `first` is its first top
// node, null for an empty tree.

// The same instance as a node of a tree like it; null if there is none. To be
// called before the first edit, which invalidates the indexes.
lyd_node* InCopy(const DataTree& copy, const lyd_node* node);

void RemoveNode(lyd_node* node, lyd_node** first);

// Inserts a copy of a node with all below it. No parent: at the top.
void InsertCopy(const lyd_node* node, lyd_node* parent, lyd_node** first);

// ----------------------------------------------------------------------------

// Leaves of a tree, which have changed; none if other nodes may have, too.
using Leaves = std::optional<std::vector<const lyd_node*>>;

class Diff {
 public:
  Diff(const DataTree& running, const DataTree& candidate);

  // The same if the leaves, given, are all of the candidate that may differ.
  Diff(const DataTree& running, const DataTree& candidate,
       const Leaves& leaves);

  // The same, from parts of both that hold everything that differs. The changes
  // point to nodes of the whole candidate, so that its part may be destroyed.
  Diff(const DataTree& running_part, const DataTree& candidate_part,
       const DataTree& candidate);
  Diff(const Diff&) = delete;
  Diff& operator=(const Diff&) = delete;

  const std::vector<Change>& top() const { return top_; }

  // The change at or below that node of the candidate; null if it is the same
  // in both.
  const Change* Of(const lyd_node* candidate_node) const;

 private:
  void IndexChanges();

  std::vector<Change> top_;
  std::unordered_map<const lyd_node*, const Change*> by_candidate_node_;
};

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_DIFF_H_
