// Prepares a client's message for the server. The server's NETCONF library does
// not handle input that is not XML: it crashes on a message that is only a
// comment, and copies broken attributes to its reply.
#ifndef IPAV_IPAVD_TRANSPORT_REQUEST_H_
#define IPAV_IPAVD_TRANSPORT_REQUEST_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// Returns what the server is sent in place of the message. A message that is
// not well-formed XML in UTF-8, or has a document type, is replaced by "<",
// which the server answers as malformed.
//
// A request gets an annotation "refuse", and loses what is in its operation, if
// it has no message-id, or an attribute that the YANG library would ignore or
// refuse without a name: "operation" and "insert" without a namespace or with
// an unknown value, and those of a filter. An edit with operation="delete"
// would be a merge otherwise. An element of a subtree filter with an attribute
// gets a name that no node has.
std::string PrepareRequest(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_REQUEST_H_
