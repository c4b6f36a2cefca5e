// Owners of libyang's allocations.
#ifndef IPAV_HOST_DATASTORE_LIBYANG_PTR_H_
#define IPAV_HOST_DATASTORE_LIBYANG_PTR_H_

#include <libyang/libyang.h>

#include "host/base/c_ptr.h"

namespace ipav::datastore {

// A whole data tree, by its first top-level node. Null: no nodes.
using Nodes = base::CPtr<lyd_node, lyd_free_all>;

// The set only, not the nodes in it.
inline void FreeNodeSet(ly_set* set) { ly_set_free(set, nullptr); }
using NodeSet = base::CPtr<ly_set, FreeNodeSet>;

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_LIBYANG_PTR_H_
