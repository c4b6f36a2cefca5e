// Selects nodes of a tree, and copies them.
#ifndef IPAV_IPAVD_NETCONF_SELECTION_H_
#define IPAV_IPAVD_NETCONF_SELECTION_H_

#include <libyang/libyang.h>

#include <unordered_map>

#include "host/base/time_limit.h"
#include "ipavd/store/nodes.h"

namespace ipav::netconf {

class Selection {
 public:
  // Selects a node, everything below it, and its ancestors.
  void Add(const lyd_node* node);

  // Copies the selected nodes of `tree` and its siblings to `context`, which
  // has the same modules. List entries keep their keys. Throws
  // std::runtime_error.
  store::Nodes Copy(const lyd_node* tree, const ly_ctx* context) const;

 private:
  void CopyChildren(const lyd_node* from, const ly_ctx* context,
                    lyd_node* to) const;

  // The nodes, and whether everything below is selected as well.
  std::unordered_map<const lyd_node*, bool> nodes_;
};

// Adds the nodes of `tree` and its siblings that the elements `filter` and its
// siblings select (RFC 6241, section 6). Either may be null. Throws Refusal
// when the time is over.
void SelectSubtrees(const lyd_node* tree, const lyd_node* filter,
                    const base::Countdown& countdown, Selection* selection);

// A copy of all these nodes in a context that has the same modules. Throws
// std::runtime_error.
store::Nodes CopyTo(const ly_ctx* context, const lyd_node* tree);

// Makes both siblings. Either may be null.
store::Nodes Join(store::Nodes nodes, store::Nodes others);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SELECTION_H_
