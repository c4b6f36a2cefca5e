#include "ipavd/transport/client.h"

#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <utility>

#include "host/base/utf8.h"
#include "ipavd/transport/byte_stream.h"
#include "ipavd/transport/confinement.h"
#include "ipavd/transport/listeners.h"
#include "ipavd/transport/reading_limit.h"
#include "ipavd/transport/ssh_stream.h"
#include "netconf/framing.h"
#include "netconf/hello.h"

namespace ipav::transport {

namespace {

using base::FileDescriptor;
using netconf::ClientHello;
using netconf::Frame;
using netconf::Framing;

// What the server gets in place of a hello that is wrong or missing.
constexpr char kNoHello[] =
    "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" message-id=\"0\">"
    "<close-session xmlns:ipav-netconf=\"urn:ipav:netconf\" "
    "ipav-netconf:no-hello=\"true\"/></rpc>";

// Ends the session of a client without a hello, and waits for its end.
void EndWithoutHello(ByteStream* server) {
  static_cast<void>(server->Write(Frame(Framing::kChunked, kNoHello)));
  pollfd gone{server->fd(), 0, 0};
  poll(&gone, 1, -1);
}

// The user at the other end of a UNIX socket.
std::string UserOf(int socket) {
  ucred peer{};
  socklen_t size = sizeof(peer);
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    return "?";
  }
  const passwd* entry = getpwuid(peer.uid);
  return entry == nullptr ? std::to_string(peer.uid) : entry->pw_name;
}

// A client may log in under any name, which all other sessions are shown, on
// their terminals. In the log, blanks and "@" separate it from what follows.
std::string ToName(const std::string& user) {
  constexpr std::size_t kMaxUser = 128;
  std::string name;
  for (const char c :
       base::Printable(base::ToXmlText(user.substr(0, kMaxUser)))) {
    name += c == ' ' || c == '@' || c == '(' || c == ')' ? '_' : c;
  }
  return name;
}

}  // namespace

void Client::ServeUnix(FileDescriptor socket) {
  name_ = "client on the UNIX socket";
  const std::string user = UserOf(socket.get());
  AllowOnlyRelaying();
  SocketStream stream(std::move(socket));
  Carry(&stream, PassToServer({"unix", user, "", "", FileDescriptor()}));
}

void Client::ServeSsh(FileDescriptor socket, const Key& host_key,
                      const AuthorizedKeys& keys) {
  const std::string host = HostOfPeer(socket.get());
  name_ = "SSH client " + NameOfPeer(socket.get());
  AllowOnlyRelaying();
  // The library blocks during the login: a timeout has to end the process.
  const auto seconds =
      std::chrono::ceil<std::chrono::seconds>(options_.limits.login);
  alarm(static_cast<unsigned>(seconds.count()));
  SshStream stream(std::move(socket), host_key, keys);
  alarm(0);
  Carry(&stream, PassToServer({"netconf-ssh", ToName(stream.user()), host,
                               stream.key(), FileDescriptor()}));
  stream.SendExitStatus();
}

// Returns our end of a new connection to the server. A hello of ours waits in
// it already when the server reads it.
FileDescriptor Client::PassToServer(PassedConnection client) {
  name_ += " (" + client.user + ")";
  SocketPair pair = MakeSocketPair(SOCK_STREAM);
  const std::string hello = Frame(Framing::kEndOfMessage, ClientHello());
  const pid_t process = getpid();
  if (write(pair.mine.get(), hello.data(), hello.size()) < 0 ||
      write(ends_.acceptor, &process, sizeof(process)) < 0) {
    throw std::runtime_error("the server does not answer");
  }
  client.connection = std::move(pair.theirs);
  // The server may end the session at once.
  DeferEnd();
  SendConnection(ends_.server, client);
  // Otherwise this process would not notice that the server closes it.
  client.connection.Close();
  return std::move(pair.mine);
}

void Client::Carry(ByteStream* client, FileDescriptor connection) {
  SocketStream server(std::move(connection));
  Relay relay(client, &server, options_.limits, options_.reader);
  const std::string reason = relay.Run();
  if (!relay.has_hello()) EndWithoutHello(&server);
  if (!reason.empty()) throw std::runtime_error(reason);
}

}  // namespace ipav::transport
