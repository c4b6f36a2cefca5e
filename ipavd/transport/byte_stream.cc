#include "ipavd/transport/byte_stream.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace ipav::transport {

namespace {

bool HasToWait() { return errno == EAGAIN || errno == EINTR; }

}  // namespace

short SocketStream::Events(bool reads, bool writes) const {
  return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
}

std::optional<std::string> SocketStream::Read() {
  std::string bytes(kReadSize, '\0');
  const ssize_t got = recv(fd(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  if (got < 0 && HasToWait()) return "";
  if (got <= 0) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(got));
  return bytes;
}

std::optional<std::size_t> SocketStream::Write(std::string_view bytes) {
  const ssize_t sent =
      send(fd(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent < 0 && !HasToWait()) return std::nullopt;
  return sent < 0 ? 0 : static_cast<std::size_t>(sent);
}

}  // namespace ipav::transport
