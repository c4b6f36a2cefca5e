#include "ipavd/transport/descriptor_passing.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace ipav::transport {

namespace {

constexpr std::size_t kMaxName = 512;  // of each text
constexpr std::size_t kTexts = 4;

// Room for one file descriptor beside a message, and for its sender.
using Ancillary =
    std::array<char, CMSG_SPACE(sizeof(ucred)) + CMSG_SPACE(sizeof(int))>;

// Texts that end in a null character each.
std::optional<std::array<std::string, kTexts>> Split(const std::string& bytes) {
  std::array<std::string, kTexts> texts;
  std::size_t start = 0;
  for (std::string& text : texts) {
    const std::size_t end = bytes.find('\0', start);
    if (end == std::string::npos) return std::nullopt;
    text = bytes.substr(start, end - start);
    start = end + 1;
  }
  return texts;
}

// All descriptors of a message, and its sender. Descriptors that are not used
// must be closed as well.
std::vector<base::FileDescriptor> DescriptorsOf(msghdr* message,
                                                pid_t* sender) {
  std::vector<base::FileDescriptor> descriptors;
  for (cmsghdr* header = CMSG_FIRSTHDR(message); header != nullptr;
       header = CMSG_NXTHDR(message, header)) {
    if (header->cmsg_level != SOL_SOCKET) continue;
    if (header->cmsg_type == SCM_CREDENTIALS) {
      ucred credentials{};
      std::memcpy(&credentials, CMSG_DATA(header), sizeof(credentials));
      *sender = credentials.pid;
    }
    if (header->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t size = header->cmsg_len - CMSG_LEN(0);
    for (std::size_t at = 0; at + sizeof(int) <= size; at += sizeof(int)) {
      int fd = -1;
      std::memcpy(&fd, CMSG_DATA(header) + at, sizeof(fd));
      descriptors.emplace_back(fd);
    }
  }
  return descriptors;
}

}  // namespace

void AskForSenders(int control) {
  const int on = 1;
  setsockopt(control, SOL_SOCKET, SO_PASSCRED, &on, sizeof(on));
}

SocketPair MakeSocketPair(int type) {
  std::array<int, 2> fds{};
  if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, fds.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  return {base::FileDescriptor(fds[0]), base::FileDescriptor(fds[1])};
}

std::string NameOf(const PassedConnection& client) {
  std::string name = client.transport + " " + client.user;
  if (!client.host.empty()) name += "@" + client.host;
  if (!client.key.empty()) name += " " + client.key;
  return name;
}

void SendConnection(int control, const PassedConnection& passed) {
  std::string bytes;
  for (const std::string* text :
       {&passed.transport, &passed.user, &passed.host, &passed.key}) {
    bytes += text->substr(0, kMaxName);
    bytes += '\0';
  }
  iovec part{bytes.data(), bytes.size()};
  alignas(cmsghdr) Ancillary ancillary{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = ancillary.data();
  message.msg_controllen = CMSG_SPACE(sizeof(int));
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  const int fd = passed.connection.get();
  std::memcpy(CMSG_DATA(header), &fd, sizeof(fd));
  if (sendmsg(control, &message, MSG_NOSIGNAL) < 0) {
    throw std::runtime_error("the server does not answer: " +
                             std::generic_category().message(errno));
  }
}

std::optional<PassedConnection> ReceiveConnection(int control) {
  std::string bytes(kTexts * (kMaxName + 1), '\0');
  iovec part{bytes.data(), bytes.size()};
  alignas(cmsghdr) Ancillary ancillary{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = ancillary.data();
  message.msg_controllen = ancillary.size();
  const ssize_t got =
      recvmsg(control, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  if (got < 0) return std::nullopt;
  pid_t sender = 0;
  std::vector<base::FileDescriptor> connections =
      DescriptorsOf(&message, &sender);
  bytes.resize(static_cast<std::size_t>(got));
  auto texts = Split(bytes);
  if (connections.empty() || !texts.has_value()) return std::nullopt;
  auto& [transport, user, host, key] = *texts;
  return PassedConnection{std::move(transport),
                          std::move(user),
                          std::move(host),
                          std::move(key),
                          std::move(connections.front()),
                          sender};
}

}  // namespace ipav::transport
