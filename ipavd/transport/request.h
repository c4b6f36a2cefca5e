// A client's message on its way to the server.
#ifndef IPAV_SERVER_TRANSPORT_REQUEST_H_
#define IPAV_SERVER_TRANSPORT_REQUEST_H_

#include <string>
#include <string_view>

namespace ipav::transport {

// The message in a chunk; in the place of what is no well-formed XML, something
// short that is answered as malformed. The server's NETCONF library takes more
// for XML: a comment alone, which it does not survive, and attributes that make
// its reply unreadable.
std::string FrameRequest(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_REQUEST_H_
