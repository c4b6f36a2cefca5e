// How a client's guard brings its client to the server: one message on the
// server's control socket, with the server's end of a new connection.
#ifndef IPAV_SERVER_TRANSPORT_INTRODUCTION_H_
#define IPAV_SERVER_TRANSPORT_INTRODUCTION_H_

#include <optional>
#include <string>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

struct Introduction {
  std::string transport;  // "netconf-ssh" or "unix"
  std::string user;
  std::string host;  // the client's address; empty: this machine
  base::FileDescriptor connection;
};

// A socket of kind SOCK_SEQPACKET. Sending throws std::runtime_error.
void SendIntroduction(int control, const Introduction& introduction);

// Does not wait: no value where none is there, or is no introduction.
std::optional<Introduction> ReceiveIntroduction(int control);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_INTRODUCTION_H_
