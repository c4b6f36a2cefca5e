// What tools write around a configuration: the reply to a NETCONF or RESTCONF
// request, or the root element of a daemon's export.
#ifndef IPAV_HOST_DATASTORE_WRAPPER_H_
#define IPAV_HOST_DATASTORE_WRAPPER_H_

#include <string_view>

#include "host/datastore/input_text.h"

namespace ipav::datastore {

// Removes the wrappers around the data of a text:
//
//   XML   <rpc-reply>, <data>, <config> of NETCONF, <data> of RESTCONF,
//         <config> of a daemon's export
//   JSON  a single member "data" or "ietf-restconf:data"
//
// What is before the data becomes blanks and what is behind it is cut off, so
// that the positions in the rest stay those of the file. A prefix that only a
// wrapper declares is unknown in the data. Other texts stay as they are. Throws
// InputError for a wrapped text that is not well-formed or holds anything but
// data.
void RemoveWrappers(InputText* text);

// Whether an element of that namespace and name is one of those of XML.
bool IsWrapper(std::string_view space, std::string_view name);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_WRAPPER_H_
