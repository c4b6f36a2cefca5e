// Some nodes of a tree, and a copy of them.
#ifndef IPAV_IPAVD_NETCONF_SELECTION_H_
#define IPAV_IPAVD_NETCONF_SELECTION_H_

#include <libyang/libyang.h>

#include <unordered_map>

#include "ipavd/store/edit_config.h"

namespace ipav::netconf {

class Selection {
 public:
  // A node with all below it, in all that is around it.
  void Add(const lyd_node* node);

  // The selected nodes among `tree` and its siblings, as nodes of that context,
  // which has the same modules. Entries of lists have their keys. Throws
  // std::runtime_error.
  store::Nodes Copy(const lyd_node* tree, const ly_ctx* context) const;

 private:
  void CopyChildren(const lyd_node* from, const ly_ctx* context,
                    lyd_node* to) const;

  std::unordered_map<const lyd_node*, bool> nodes_;  // whether with all below
};

// Both side by side. Either may be null.
store::Nodes Join(store::Nodes nodes, store::Nodes others);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SELECTION_H_
