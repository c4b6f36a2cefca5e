// Passes a new connection from the relay of a client to the server: one message
// on the control socket, with the server's end of the connection as ancillary
// data.
#ifndef IPAV_IPAVD_TRANSPORT_DESCRIPTOR_PASSING_H_
#define IPAV_IPAVD_TRANSPORT_DESCRIPTOR_PASSING_H_

#include <sys/types.h>

#include <optional>
#include <string>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

// The two ends of a connection within this machine.
struct SocketPair {
  base::FileDescriptor mine;
  base::FileDescriptor theirs;
};

// `type` as of socket(2). Throws std::system_error.
SocketPair MakeSocketPair(int type);

// From here on, the kernel tells which process sends to this control socket.
void AskForSenders(int control);

// In the other direction, the server passes the open file of authorized keys;
// then all texts but the first are empty.
struct PassedConnection {
  std::string transport;  // "netconf-ssh" or "unix"
  std::string user;
  std::string host;  // the client's address; empty: this machine
  std::string key;   // fingerprint; empty: it did not log in with a key
  base::FileDescriptor connection;
  pid_t relay = 0;  // who sent it, as the kernel says; 0: it was not asked
};

// For the log: "netconf-ssh user@address SHA256:...".
std::string NameOf(const PassedConnection& client);

// `control` is a socket of type SOCK_SEQPACKET. Throws std::runtime_error.
void SendConnection(int control, const PassedConnection& passed);

// Does not wait. No value when there is no message, or the message is wrong.
std::optional<PassedConnection> ReceiveConnection(int control);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_DESCRIPTOR_PASSING_H_
