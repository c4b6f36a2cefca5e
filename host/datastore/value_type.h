// The types of the daemon's interface for the types of YANG.
#ifndef IPAV_HOST_DATASTORE_VALUE_TYPE_H_
#define IPAV_HOST_DATASTORE_VALUE_TYPE_H_

#include <confd_lib.h>
#include <libyang/libyang.h>

namespace ipav::datastore {

// C_NOEXISTS for a type that this host does not support.
confd_vtype ValueTypeOf(const lysc_type& type);

// Whether one value of the type has several texts. libyang, to which such a
// value is a string, takes them for different values.
bool HasManyForms(confd_vtype type);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_VALUE_TYPE_H_
