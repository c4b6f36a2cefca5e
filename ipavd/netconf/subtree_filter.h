// Subtree filtering (RFC 6241, section 6).
#ifndef IPAV_IPAVD_NETCONF_SUBTREE_FILTER_H_
#define IPAV_IPAVD_NETCONF_SUBTREE_FILTER_H_

#include <libyang/libyang.h>

#include "ipavd/netconf/selection.h"

namespace ipav::netconf {

// Adds the nodes of `tree` and its siblings that the elements `filter` and its
// siblings select. Either may be null.
void SelectSubtrees(const lyd_node* tree, const lyd_node* filter,
                    Selection* selection);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SUBTREE_FILTER_H_
