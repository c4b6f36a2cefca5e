// The sockets that clients connect to.
#ifndef IPAV_SERVER_TRANSPORT_LISTENERS_H_
#define IPAV_SERVER_TRANSPORT_LISTENERS_H_

#include <cstdint>
#include <string>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

// A UNIX socket that only its owner may connect to. One that an ended server
// left there is replaced. Throws std::runtime_error.
base::FileDescriptor ListenUnix(const std::string& path);

// `address` is an IPv4 or IPv6 address, no name. Throws std::runtime_error.
base::FileDescriptor ListenTcp(const std::string& address, std::uint16_t port);

// "127.0.0.1:830", "[::1]:830": who listens, or who is connected.
std::string NameOfSocket(int fd);
std::string NameOfPeer(int fd);

// "127.0.0.1", "::1".
std::string HostOfPeer(int fd);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_LISTENERS_H_
