// Reads of a leaf by path text, as MAAPI and CDB share them.
#ifndef IPAV_HOST_CONFD_READ_H_
#define IPAV_HOST_CONFD_READ_H_

#include <confd_lib.h>

#include <cstdarg>

#include "confd/value.h"
#include "datastore/data_tree.h"

namespace ipav::confd {

// The value of the leaf at a path. Throws ConfdError: CONFD_ERR_BADPATH,
// CONFD_ERR_NOEXISTS, and with a type given CONFD_ERR_BADTYPE.
OwnedValue ReadLeaf(const datastore::DataTree& tree, const char* format,
                    va_list args);
OwnedValue ReadLeaf(const datastore::DataTree& tree, confd_vtype type,
                    const char* format, va_list args);

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_READ_H_
