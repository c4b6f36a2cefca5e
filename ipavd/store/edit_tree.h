// The configuration that an edit changes, node by node: what is there, and what
// must go with what comes. It judges no operation.
//
// Nodes are libyang's and belong to the tree. A parent of null is the top.
#ifndef IPAV_SERVER_STORE_EDIT_TREE_H_
#define IPAV_SERVER_STORE_EDIT_TREE_H_

#include <libyang/libyang.h>

#include <string>
#include <vector>

#include "ipavd/store/edit_config.h"

namespace ipav::store {

class EditTree {
 public:
  explicit EditTree(Nodes nodes) : nodes_(std::move(nodes)) {}

  // The only instance of a node that is no entry; null when there is none.
  lyd_node* Find(lyd_node* parent, const lysc_node& schema) const;

  // The entry of a list with these keys, in the order of the model.
  lyd_node* FindEntry(lyd_node* parent, const lysc_node& list,
                      const std::vector<std::string>& keys);

  // The entry of a leaf-list.
  lyd_node* FindValue(lyd_node* parent, const lysc_node& leaf_list,
                      const std::string& value) const;

  // New nodes. Null where libyang refuses them, as for a value of another type.
  lyd_node* AddContainer(lyd_node* parent, const lysc_node& schema);
  lyd_node* AddEntry(lyd_node* parent, const lysc_node& list,
                     const std::vector<std::string>& keys);
  lyd_node* AddTerm(lyd_node* parent, const lysc_node& schema,
                    const std::string& value);
  lyd_node* AddAny(lyd_node* parent, const lysc_node& schema,
                   const std::string& xml);

  void Remove(lyd_node* node);

  // All in a container or an entry but its keys.
  void RemoveChildren(lyd_node* node);

  // What cannot be beside an instance of that node: nodes of other cases, and
  // the default entries of a leaf-list.
  void RemoveRivals(lyd_node* parent, const lysc_node& schema);

  // First instance of a list or leaf-list.
  lyd_node* FirstOf(lyd_node* parent, const lysc_node& schema) const;

  // Move an entry of a list or leaf-list ordered by the user beside another
  // one.
  void MoveBefore(lyd_node* entry, lyd_node* other);
  void MoveAfter(lyd_node* entry, lyd_node* other);

  // Adds what is there by default, and takes away what no longer is. False
  // where libyang cannot tell.
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

// Whether a node is more than what is there by default.
bool IsConfigured(const lyd_node* node);

bool IsPlainContainer(const lysc_node& schema);

// The leaves that are the keys of a list.
std::vector<const lysc_node*> KeysOf(const lysc_node& list);

}  // namespace ipav::store

#endif  // IPAV_SERVER_STORE_EDIT_TREE_H_
