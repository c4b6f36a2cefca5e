// The sockets that clients connect to.
#ifndef IPAV_IPAVD_TRANSPORT_LISTENERS_H_
#define IPAV_IPAVD_TRANSPORT_LISTENERS_H_

#include <cstdint>
#include <string>

#include "host/base/file_descriptor.h"

namespace ipav::transport {

// Makes a UNIX socket that only its owner may connect to. Replaces one that an
// earlier server left. Throws std::runtime_error.
base::FileDescriptor ListenUnix(const std::string& path);

// `address` is an IPv4 or IPv6 address, not a name. Throws std::runtime_error.
base::FileDescriptor ListenTcp(const std::string& address, std::uint16_t port);

// Address and port, "127.0.0.1:830" or "[::1]:830".
std::string NameOfSocket(int fd);
std::string NameOfPeer(int fd);

// The address alone: "127.0.0.1", "::1".
std::string HostOfPeer(int fd);

// Bytes that are the same for all addresses that one client can easily have:
// the IPv4 address, or the first 64 bits of the IPv6 address.
std::string SourceOfPeer(int fd);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_LISTENERS_H_
