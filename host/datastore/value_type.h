// Maps YANG types to the types of the daemon's interface.
#ifndef IPAV_HOST_DATASTORE_VALUE_TYPE_H_
#define IPAV_HOST_DATASTORE_VALUE_TYPE_H_

#include <confd_lib.h>
#include <libyang/libyang.h>

#include <string>

namespace ipav::datastore {

// C_NOEXISTS for a type that this host does not support.
confd_vtype ValueTypeOf(const lysc_type& type);

// Whether one value of the type may have several texts. For libyang such a
// value is a string, and the texts are different values.
bool HasManyForms(confd_vtype type);

// What an integer or the length of a string may be: "range 68..9216", "length
// 1..16 | 32". Empty if the model does not restrict it.
std::string RangeText(const lysc_type& type);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_VALUE_TYPE_H_
