#include "ipavd/transport/acceptor.h"

#include <poll.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "ipavd/transport/authorized_keys.h"
#include "ipavd/transport/descriptor_passing.h"
#include "ipavd/transport/host_key.h"
#include "ipavd/transport/listeners.h"
#include "ipavd/transport/log.h"
#include "ipavd/transport/signals.h"
#include "ipavd/transport/socket_stream.h"
#include "ipavd/transport/ssh_stream.h"
#include "netconf/framing.h"
#include "netconf/hello.h"

namespace ipav::transport {

namespace {

using netconf::ClientHello;
using netconf::Frame;
using netconf::Framing;

using base::FileDescriptor;

// The two ends of a connection within this machine.
struct Ends {
  FileDescriptor mine;
  FileDescriptor theirs;
};

Ends Connect(int kind) {
  std::array<int, 2> fds{};
  if (socketpair(AF_UNIX, kind | SOCK_CLOEXEC, 0, fds.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  return {FileDescriptor(fds[0]), FileDescriptor(fds[1])};
}

// Makes this process end when its parent ends, even when that is killed.
void EndWith(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(EXIT_FAILURE);
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

// A client may log in under any name, which all other sessions are shown.
std::string ToName(const std::string& user) {
  constexpr std::size_t kMaxUser = 128;
  return base::ToXmlText(user.substr(0, kMaxUser));
}

// Serves one client, in the relay's process.
class Client {
 public:
  Client(int control, const AcceptorOptions& options)
      : control_(control), options_(options) {}

  // Both throw std::runtime_error for a client that does something wrong.
  void ServeUnix(FileDescriptor socket) {
    name_ = "client on the UNIX socket";
    const std::string user = UserOf(socket.get());
    SocketStream stream(std::move(socket));
    Carry(&stream, PassToServer("unix", user, ""));
  }

  void ServeSsh(FileDescriptor socket, const AuthorizedKeys& keys) {
    const std::string host = HostOfPeer(socket.get());
    name_ = "SSH client " + NameOfPeer(socket.get());
    // The library blocks during the login: a timeout has to end the process.
    const auto seconds =
        std::chrono::ceil<std::chrono::seconds>(options_.limits.hello);
    alarm(static_cast<unsigned>(seconds.count()));
    SshStream stream(std::move(socket), options_.ssh->host_key, keys);
    alarm(0);
    Carry(&stream, PassToServer("netconf-ssh", ToName(stream.user()), host));
  }

  const std::string& name() const { return name_; }

 private:
  // Returns our end of a new connection to the server. A hello of ours waits in
  // it already when the server reads it.
  FileDescriptor PassToServer(const std::string& transport,
                              const std::string& user,
                              const std::string& host) {
    name_ += " (" + user + ")";
    Ends ends = Connect(SOCK_STREAM);
    const std::string hello = Frame(Framing::kEndOfMessage, ClientHello());
    if (write(ends.mine.get(), hello.data(), hello.size()) < 0) {
      throw std::runtime_error("the server does not answer");
    }
    SendConnection(control_, {transport, user, host, std::move(ends.theirs)});
    // From here on it ends with its connection to the server, so that the last
    // reply still gets through.
    prctl(PR_SET_PDEATHSIG, 0);
    return std::move(ends.mine);
  }

  void Carry(ByteStream* client, FileDescriptor connection) {
    SocketStream server(std::move(connection));
    const std::string reason = Relay(client, &server, options_.limits).Run();
    if (!reason.empty()) throw std::runtime_error(reason);
  }

  const int control_;
  const AcceptorOptions& options_;
  std::string name_ = "client";
};

// The loop of the acceptor's process.
class AcceptLoop {
 public:
  AcceptLoop(const AcceptorOptions& options, FileDescriptor unix_socket,
             FileDescriptor ssh_socket, FileDescriptor control,
             AuthorizedKeys keys)
      : options_(options),
        unix_(std::move(unix_socket)),
        ssh_(std::move(ssh_socket)),
        control_(std::move(control)),
        keys_(std::move(keys)) {}

  [[noreturn]] void Run() {
    // The reader of the log may have gone.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    while (true) {
      std::array<pollfd, 3> fds{{{signals_.fd(), POLLIN, 0},
                                 {unix_.get(), POLLIN, 0},
                                 {ssh_.get(), POLLIN, 0}}};
      if (poll(fds.data(), fds.size(), -1) < 0) continue;
      for (const int number : signals_.Take()) {
        if (number == SIGHUP) Reload();
      }
      Reap();
      if ((fds[1].revents & POLLIN) != 0) Accept(unix_.get(), false);
      if ((fds[2].revents & POLLIN) != 0) Accept(ssh_.get(), true);
    }
  }

 private:
  void Reload() {
    if (!options_.ssh.has_value()) return;
    try {
      keys_ = AuthorizedKeys::FromFile(options_.ssh->authorized_keys);
      Log(Severity::kNotice,
          "authorized keys read again: " + std::to_string(keys_.size()));
    } catch (const std::exception& error) {
      Log(Severity::kError,
          std::string("the authorized keys stay as they were: ") +
              error.what());
    }
  }

  void Reap() {
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
      relays_.erase(pid);
      if (!WIFSIGNALED(status)) continue;
      const bool is_late = WTERMSIG(status) == SIGALRM;
      Log(Severity::kWarning, is_late ? "SSH client dropped: no login in time"
                                      : "a client's process ended by signal " +
                                            std::to_string(WTERMSIG(status)));
    }
  }

  void Accept(int listener, bool is_ssh) {
    FileDescriptor socket(
        accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.get() < 0) return;
    const auto others = std::count_if(
        relays_.begin(), relays_.end(),
        [is_ssh](const auto& relay) { return relay.second == is_ssh; });
    if (static_cast<std::size_t>(others) >= options_.max_clients) {
      Log(Severity::kWarning, "client refused: too many are connected");
      return;
    }
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) Serve(std::move(socket), is_ssh, parent);
    if (pid < 0) {
      Log(Severity::kError, "client refused: no process can be made");
    } else {
      relays_.emplace(pid, is_ssh);
    }
  }

  // What a relay process does from its start to its end.
  [[noreturn]] void Serve(FileDescriptor socket, bool is_ssh, pid_t parent) {
    for (const int number : {SIGHUP, SIGTERM, SIGCHLD}) {
      static_cast<void>(std::signal(number, SIG_DFL));
    }
    EndWith(parent);
    unix_.Close();
    ssh_.Close();
    Client client(control_.get(), options_);
    try {
      if (is_ssh) {
        client.ServeSsh(std::move(socket), keys_);
      } else {
        client.ServeUnix(std::move(socket));
      }
    } catch (const std::exception& error) {
      Log(Severity::kWarning, client.name() + " dropped: " + error.what());
      _exit(EXIT_FAILURE);
    }
    _exit(EXIT_SUCCESS);
  }

  const AcceptorOptions& options_;
  const Signals signals_{{SIGHUP, SIGCHLD}};
  FileDescriptor unix_;
  FileDescriptor ssh_;
  FileDescriptor control_;
  AuthorizedKeys keys_;
  std::map<pid_t, bool> relays_;  // whether the client uses SSH
};

}  // namespace

Acceptor::Acceptor(const AcceptorOptions& options) {
  // 1. Everything that may fail, while the caller can still get the error.
  AuthorizedKeys keys;
  FileDescriptor ssh;
  if (options.ssh.has_value()) {
    keys = AuthorizedKeys::FromFile(options.ssh->authorized_keys);
    EnsureHostKey(options.ssh->host_key);
    ssh = ListenTcp(options.ssh->address, options.ssh->port);
    ssh_name_ = NameOfSocket(ssh.get());
  }
  FileDescriptor unix_socket = ListenUnix(options.unix_socket);
  Ends control = Connect(SOCK_SEQPACKET);
  control_ = std::move(control.mine);

  // 2. The process.
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("no process can be made");
  if (pid_ > 0) return;
  EndWith(parent);
  control_.Close();
  AcceptLoop(options, std::move(unix_socket), std::move(ssh),
             std::move(control.theirs), std::move(keys))
      .Run();
}

Acceptor::~Acceptor() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
}

void Acceptor::Reload() const {
  if (pid_ > 0) kill(pid_, SIGHUP);
}

bool Acceptor::is_alive() {
  if (pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = -1;
  return pid_ > 0;
}

}  // namespace ipav::transport
