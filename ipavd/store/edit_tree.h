// The configuration that an edit changes: finds, adds, removes and moves nodes.
// It does not check operations.
//
// Nodes belong to the tree. A null parent means the top.
#ifndef IPAV_IPAVD_STORE_EDIT_TREE_H_
#define IPAV_IPAVD_STORE_EDIT_TREE_H_

#include <libyang/libyang.h>

#include <string>
#include <utility>
#include <vector>

#include "host/datastore/diff.h"
#include "ipavd/store/nodes.h"

namespace ipav::store {

using datastore::IsPlainContainer;

class EditTree {
 public:
  explicit EditTree(Nodes nodes) : nodes_(std::move(nodes)) {}

  // The instance of a container or leaf; null when there is none.
  lyd_node* Find(lyd_node* parent, const lysc_node& schema) const;

  // The list entry with these keys, which are in the order of the model.
  lyd_node* FindEntry(lyd_node* parent, const lysc_node& list,
                      const std::vector<std::string>& keys);

  // The entry of a leaf-list.
  lyd_node* FindValue(lyd_node* parent, const lysc_node& leaf_list,
                      const std::string& value) const;

  // Add a node. Null when libyang refuses it, such as a value of a wrong type.
  lyd_node* AddContainer(lyd_node* parent, const lysc_node& schema);
  lyd_node* AddEntry(lyd_node* parent, const lysc_node& list,
                     const std::vector<std::string>& keys);
  lyd_node* AddTerm(lyd_node* parent, const lysc_node& schema,
                    const std::string& value);
  lyd_node* AddAny(lyd_node* parent, const lysc_node& schema,
                   const std::string& xml);

  void Remove(lyd_node* node);

  // Removes everything in a container or list entry except the keys.
  void RemoveChildren(lyd_node* node);

  // Removes what cannot be there together with an instance of that node: nodes
  // of other cases, and default entries of a leaf-list.
  void RemoveRivals(lyd_node* parent, const lysc_node& schema);

  // First instance of a list or leaf-list.
  lyd_node* FirstOf(lyd_node* parent, const lysc_node& schema) const;

  // Moves an entry of a list or leaf-list ordered by the user before or after
  // another one.
  void Move(lyd_node* entry, lyd_node* other, bool before);

  // Adds default nodes, and removes those whose "when" is no longer true. False
  // when libyang fails.
  bool AddDefaults(const ly_ctx* context);

  Nodes Take() { return std::move(nodes_); }

 private:
  lyd_node* First(lyd_node* parent) const;
  lyd_node* Insert(lyd_node* parent, lyd_node* node);
  void Unlink(lyd_node* node);
  lyd_node* NewEntry(lyd_node* parent, const lysc_node& list,
                     const std::vector<std::string>& keys);
  void RemoveConditionalDefaults(lyd_node* parent);
  void RemoveCase(lyd_node* parent, const lysc_node& branch);

  Nodes nodes_;
};

// Whether a node was set, or has such a node below it.
bool IsConfigured(const lyd_node* node);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_TREE_H_
