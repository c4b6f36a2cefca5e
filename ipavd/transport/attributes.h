// Attributes "operation" and "insert" without a namespace. The YANG library
// passes over what has none: an edit with operation="delete" would be a merge.
#ifndef IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_
#define IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// A message in which these have a prefix that nobody declares, so that the
// library refuses them: "no-namespace-of-NAME:NAME". Not those of its root,
// whose attributes are the client's. What is no XML stays as wrong as it is.
std::string MarkAttributes(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_
