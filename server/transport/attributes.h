// Attributes without a namespace, which the YANG library passes over in what it
// has no model of: an operation="delete" in an edit would be taken for none.
#ifndef IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_
#define IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// A prefix that nobody declares, so that the library refuses an attribute with
// it, by its name.
inline constexpr std::string_view kNoNamespace = "no-namespace:";

// A message with that prefix before each attribute that has none, but those of
// its root and of elements "filter", and declarations of namespaces. What is no
// XML stays as wrong as it is.
std::string MarkAttributes(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_ATTRIBUTES_H_
