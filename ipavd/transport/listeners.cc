#include "ipavd/transport/listeners.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/base/c_ptr.h"

namespace ipav::transport {

namespace {

constexpr int kBacklog = 128;

std::runtime_error ListenError(const std::string& where,
                               const std::string& reason) {
  return std::runtime_error("cannot listen on " + where + ": " + reason);
}

std::runtime_error ListenError(const std::string& where) {
  return ListenError(where, std::generic_category().message(errno));
}

using Addresses = base::CPtr<addrinfo, freeaddrinfo>;

// One end of a TCP connection, as numbers.
struct End {
  std::string host = "?";
  std::string port = "?";
};

using NameFunction = int (*)(int, sockaddr*, socklen_t*);

End EndOf(int fd, NameFunction get_name) {
  sockaddr_storage address{};
  socklen_t size = sizeof(address);
  auto* name = reinterpret_cast<sockaddr*>(&address);
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  if (get_name(fd, name, &size) != 0 ||
      getnameinfo(name, size, host.data(), host.size(), port.data(),
                  port.size(), NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return {};
  }
  return {host.data(), port.data()};
}

std::string HostAndPort(const End& end) {
  const bool is_ipv6 = end.host.find(':') != std::string::npos;
  return (is_ipv6 ? "[" + end.host + "]" : end.host) + ":" + end.port;
}

}  // namespace

base::FileDescriptor ListenUnix(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    throw ListenError(path, "the path is too long");
  }
  path.copy(static_cast<char*>(address.sun_path), path.size());

  base::FileDescriptor fd(
      socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (unlink(path.c_str()) != 0 && errno != ENOENT) throw ListenError(path);
  // It must not be open to others at any time, not even before a chmod().
  const mode_t mask = umask(0177);
  const int bound = bind(fd.get(), reinterpret_cast<const sockaddr*>(&address),
                         sizeof(address));
  umask(mask);
  if (bound != 0 || listen(fd.get(), kBacklog) != 0) throw ListenError(path);
  return fd;
}

base::FileDescriptor ListenTcp(const std::string& address, std::uint16_t port) {
  // 1. The address.
  const std::string where = address + " port " + std::to_string(port);
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int error =
      getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &list);
  if (error != 0) throw ListenError(where, "not an IP address");
  const Addresses found(list);

  // 2. The socket. SO_REUSEADDR: a restarted server need not wait until old
  // connections have timed out.
  base::FileDescriptor fd(
      socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int on = 1;
  if (setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0 ||
      bind(fd.get(), found->ai_addr, found->ai_addrlen) != 0 ||
      listen(fd.get(), kBacklog) != 0) {
    throw ListenError(where);
  }
  return fd;
}

std::string NameOfSocket(int fd) { return HostAndPort(EndOf(fd, getsockname)); }

std::string NameOfPeer(int fd) { return HostAndPort(EndOf(fd, getpeername)); }

std::string HostOfPeer(int fd) { return EndOf(fd, getpeername).host; }

std::string SourceOfPeer(int fd) {
  constexpr std::size_t kIpv4Size = 4;
  constexpr std::size_t kNetworkSize = 8;
  sockaddr_storage address{};
  socklen_t size = sizeof(address);
  auto* name = reinterpret_cast<sockaddr*>(&address);
  if (getpeername(fd, name, &size) != 0) return "";
  if (address.ss_family == AF_INET) {
    const auto& ipv4 = reinterpret_cast<const sockaddr_in&>(address);
    return {reinterpret_cast<const char*>(&ipv4.sin_addr), kIpv4Size};
  }
  const in6_addr& ipv6 =
      reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
  const std::string bytes(reinterpret_cast<const char*>(&ipv6), sizeof(ipv6));
  // A socket that listens on "::" has clients with IPv4 as well.
  return IN6_IS_ADDR_V4MAPPED(&ipv6) ? bytes.substr(bytes.size() - kIpv4Size)
                                     : bytes.substr(0, kNetworkSize);
}

}  // namespace ipav::transport
