#include "cli/netconf_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>
#include <system_error>

#include "netconf/hello.h"
#include "netconf/xml.h"

namespace ipav::cli {

namespace {

using netconf::Frame;
using netconf::Framing;

constexpr char kNamespace[] = "urn:ietf:params:xml:ns:netconf:base:1.0";

// The answers to the requests of this client are short.
constexpr std::size_t kMaxReply = std::size_t{1} << 20;

// The child element of that name, or null.
const xmlNode* Child(const xmlNode* parent, std::string_view name) {
  const xmlNode* child = netconf::FirstElement(parent);
  while (child != nullptr && netconf::ToView(child->name) != name) {
    child = netconf::NextElement(child);
  }
  return child;
}

std::string TextOfChild(const xmlNode& parent, std::string_view name) {
  const xmlNode* child = Child(&parent, name);
  return child == nullptr ? "" : netconf::ContentOf(child);
}

base::FileDescriptor Connect(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    throw ConnectionError(path + ": the path is too long for a socket");
  }
  path.copy(static_cast<char*>(address.sun_path), path.size());
  base::FileDescriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address),
              sizeof(address)) != 0) {
    throw ConnectionError(path + ": " + std::generic_category().message(errno));
  }
  return fd;
}

}  // namespace

NetconfClient::NetconfClient(const std::string& socket, base::TimeLimit limit)
    : socket_(socket),
      limit_(limit),
      connection_(Connect(socket)),
      deframer_(kMaxReply) {
  Send(Frame(Framing::kEndOfMessage, netconf::ClientHello()));
  if (Receive().find(":base:1.1<") == std::string::npos) {
    throw Error("no NETCONF 1.1 server");
  }
  deframer_.set_framing(Framing::kChunked);
}

ConnectionError NetconfClient::Error(const std::string& reason) const {
  return ConnectionError(socket_ + ": " + reason);
}

// False when the time is over.
bool NetconfClient::WaitFor(short events, const base::Countdown& countdown) {
  pollfd wait{connection_.get(), events, 0};
  int ready = 0;
  do {
    ready = poll(&wait, 1, countdown.ForPoll());
  } while (ready < 0 && errno == EINTR);
  if (ready < 0) throw Error(std::generic_category().message(errno));
  return ready > 0;
}

void NetconfClient::Send(const std::string& bytes) {
  const base::Countdown countdown(limit_);
  std::string_view rest = bytes;
  while (!rest.empty()) {
    if (!WaitFor(POLLOUT, countdown)) {
      throw Error("takes nothing within " + base::InWords(limit_));
    }
    const ssize_t sent = send(connection_.get(), rest.data(), rest.size(),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (sent <= 0) throw Error("the server ended the session");
    rest.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::string NetconfClient::Receive() {
  const base::Countdown countdown(limit_);
  while (true) {
    if (auto message = deframer_.Next()) return *message;
    if (!WaitFor(POLLIN, countdown)) {
      throw Error("no answer within " + base::InWords(limit_));
    }
    std::array<char, 4096> bytes{};
    const ssize_t got = recv(connection_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) throw Error("the server ended the session");
    deframer_.Add({bytes.data(), static_cast<std::size_t>(got)});
  }
}

std::optional<OperationError> NetconfClient::Call(
    const std::string& operation) {
  // 1. Send it. There is one request at a time, so all have the same number.
  Send(Frame(Framing::kChunked, std::string(R"(<rpc message-id="1" xmlns=")") +
                                    kNamespace + "\">" + operation + "</rpc>"));
  const std::string reply = Receive();
  // 2. Read the answer.
  const netconf::XmlDocument document = netconf::ParseXml(reply);
  const xmlNode* root = netconf::RootOf(document);
  if (root == nullptr || netconf::ToView(root->name) != "rpc-reply") {
    throw Error("no answer of a NETCONF server");
  }
  const xmlNode* error = Child(root, "rpc-error");
  if (error == nullptr) return std::nullopt;
  return OperationError{
      TextOfChild(*error, "error-tag"), TextOfChild(*error, "error-app-tag"),
      TextOfChild(*error, "error-path"), TextOfChild(*error, "error-message")};
}

}  // namespace ipav::cli
