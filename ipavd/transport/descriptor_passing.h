// Passes a new connection from the relay of a client to the server: one message
// on the control socket, with the server's end of the connection as ancillary
// data.
#ifndef IPAV_IPAVD_TRANSPORT_DESCRIPTOR_PASSING_H_
#define IPAV_IPAVD_TRANSPORT_DESCRIPTOR_PASSING_H_

#include <optional>
#include <string>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

struct PassedConnection {
  std::string transport;  // "netconf-ssh" or "unix"
  std::string user;
  std::string host;  // the client's address; empty: this machine
  base::FileDescriptor connection;
};

// `control` is a socket of type SOCK_SEQPACKET. Throws std::runtime_error.
void SendConnection(int control, const PassedConnection& passed);

// Does not wait. No value when there is no message, or the message is wrong.
std::optional<PassedConnection> ReceiveConnection(int control);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_DESCRIPTOR_PASSING_H_
