// Attributes without a namespace, which the YANG library passes over in what it
// has no model of: an operation="delete" in an edit would be taken for none.
#ifndef IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_
#define IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// A message in which these have a prefix that nobody declares, so that the
// library refuses them: "no-namespace-of-NAME:NAME". Not those of its root and
// of elements "filter", and no declarations of namespaces. What is no XML stays
// as wrong as it is.
std::string MarkAttributes(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_
