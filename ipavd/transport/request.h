// Prepares a client's message for the server. The server's NETCONF library does
// not handle input that is not XML: it crashes on a message that is only a
// comment, and copies broken attributes to its reply.
#ifndef IPAV_IPAVD_TRANSPORT_REQUEST_H_
#define IPAV_IPAVD_TRANSPORT_REQUEST_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// Returns the message as one chunk. A message that is not well-formed XML in
// UTF-8, or has a document type, is replaced by "<", which the server answers
// as malformed.
//
// Below the root element, attributes "operation" and "insert" without a
// namespace get a prefix that is not declared
// ("no-namespace-of-insert:insert"), so that the YANG library refuses them. It
// would ignore them otherwise: an edit with operation="delete" would be a
// merge.
std::string FrameRequest(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_REQUEST_H_
