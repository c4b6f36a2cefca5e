// Subtree filtering (RFC 6241, section 6).
#ifndef IPAV_IPAVD_NETCONF_SUBTREE_FILTER_H_
#define IPAV_IPAVD_NETCONF_SUBTREE_FILTER_H_

#include <libyang/libyang.h>

#include "ipavd/netconf/selection.h"

namespace ipav::netconf {

// Adds what the elements `filter`, the first of siblings, select among `tree`
// and its siblings. Either may be null.
void SelectSubtrees(const lyd_node* tree, const lyd_node* filter,
                    Selection* selection);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SUBTREE_FILTER_H_
