// Prepares a client's message for the server. The server's NETCONF library does
// not handle input that is not XML: it crashes on a message that is only a
// comment, and copies broken attributes to its reply.
#ifndef IPAV_IPAVD_TRANSPORT_REQUEST_H_
#define IPAV_IPAVD_TRANSPORT_REQUEST_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// In a filter, elements without a namespace get this one. libyang 2.1 would
// dereference a null pointer when it compares two of them.
inline constexpr char kAnyNamespace[] = "urn:ipav:any-namespace";

// Clients often send a line break after "]]>]]>". XML allows no blanks before
// its declaration.
std::string_view WithoutBlanksBefore(std::string_view message);

// Returns what the server is sent in place of the message. A message that is
// not well-formed XML in UTF-8, or has a document type or a large start tag
// (start_tags.h), is replaced by "<", which the server answers as malformed.
//
// If a request has no message-id, an element without a namespace outside of its
// filter, or an attribute that the YANG library would ignore or refuse without
// a name, its operation loses its content and gets the annotation "refuse".
// These attributes are "operation" and "insert" without a namespace or with an
// unknown value, and those of a filter. Otherwise an edit with
// operation="delete" would be a merge. An element of a subtree filter with an
// attribute gets a name that no node has. An action becomes an operation that
// the server does not know.
std::string PrepareRequest(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_REQUEST_H_
