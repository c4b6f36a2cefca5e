// Reads a leaf, for MAAPI and CDB.
#ifndef IPAV_HOST_CONFD_READ_H_
#define IPAV_HOST_CONFD_READ_H_

#include <confd_lib.h>

#include "host/confd/path.h"
#include "host/confd/value.h"

namespace ipav::confd {

// The value of the leaf that a path named. Throws ConfdError: CONFD_ERR_BADPATH
// for another node, CONFD_ERR_NOEXISTS, and with a type given
// CONFD_ERR_BADTYPE.
OwnedValue ReadLeaf(const Target& target);
OwnedValue ReadLeaf(const Target& target, confd_vtype type);

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_READ_H_
