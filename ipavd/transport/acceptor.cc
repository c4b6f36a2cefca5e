#include "ipavd/transport/acceptor.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <random>
#include <stdexcept>
#include <utility>

#include "ipavd/transport/authorized_keys.h"
#include "ipavd/transport/client.h"
#include "ipavd/transport/confinement.h"
#include "ipavd/transport/descriptor_passing.h"
#include "ipavd/transport/host_key.h"
#include "ipavd/transport/listeners.h"
#include "ipavd/transport/log.h"
#include "ipavd/transport/logins.h"
#include "ipavd/transport/reading_limit.h"
#include "ipavd/transport/signals.h"

namespace ipav::transport {

namespace {

using base::FileDescriptor;

// Relays whose session was refused or has just ended, and one session on the
// UNIX socket above the limit.
constexpr std::size_t kMoreRelays = 8;

// Makes this process end when its parent ends, even when that is killed.
void EndWith(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(EXIT_FAILURE);
}

void LogOldKeys(const std::exception& error) {
  Log(Severity::kError,
      std::string("the authorized keys stay as they were: ") + error.what());
}

std::string WordsFor(int signal) {
  switch (signal) {
    case SIGALRM:
      return "dropped: no login in time";
    case SIGPROF:
      return "dropped: its request takes too long to read";
    case kSessionEnded:
      return "dropped: its session ended while its request was read";
    case SIGTERM:
      return "dropped: its address has too many newer logins";
    default:
      return "dropped: its process ended by signal " + std::to_string(signal);
  }
}

unsigned RandomPercent() {
  static std::random_device device;
  return std::uniform_int_distribution<unsigned>(0, 99)(device);
}

// The loop of the acceptor's process.
class AcceptLoop {
 public:
  AcceptLoop(const AcceptorOptions& options, FileDescriptor unix_socket,
             FileDescriptor ssh_socket, FileDescriptor control, Key host_key,
             AuthorizedKeys keys)
      : options_(options),
        logins_(options.logins),
        unix_(std::move(unix_socket)),
        ssh_(std::move(ssh_socket)),
        control_(std::move(control)),
        host_key_(std::move(host_key)),
        keys_(std::move(keys)) {}

  [[noreturn]] void Run() {
    // SIGPIPE: the reader of the log may have gone. SIGHUP is for the server.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGHUP, SIG_IGN));
    while (true) {
      std::array<pollfd, 5> fds{{{signals_.fd(), POLLIN, 0},
                                 {logged_in_.mine.get(), POLLIN, 0},
                                 {control_.get(), POLLIN, 0},
                                 {unix_.get(), POLLIN, 0},
                                 {ssh_.get(), POLLIN, 0}}};
      if (poll(fds.data(), fds.size(), -1) < 0) continue;
      static_cast<void>(signals_.Take());
      ReadKeys();
      NoteLogins();
      Reap();
      if ((fds[3].revents & POLLIN) != 0) AcceptUnix();
      if ((fds[4].revents & POLLIN) != 0) AcceptSsh();
    }
  }

 private:
  struct RelayProcess {
    bool is_ssh;
    std::string client;  // for the log
  };

  // The server has opened the file, because this process may not.
  void ReadKeys() {
    const auto passed = ReceiveConnection(control_.get());
    if (!passed.has_value()) return;
    try {
      keys_ = AuthorizedKeys(passed->connection, options_.ssh->authorized_keys);
      Log(Severity::kNotice,
          "authorized keys read again: " + std::to_string(keys_.size()));
    } catch (const std::exception& error) {
      LogOldKeys(error);
    }
  }

  void NoteLogins() {
    pid_t process = 0;
    while (recv(logged_in_.mine.get(), &process, sizeof(process),
                MSG_DONTWAIT) == sizeof(process)) {
      logins_.End(process);
    }
  }

  void Reap() {
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
      logins_.End(pid);
      const auto relay = relays_.extract(pid);
      if (!WIFSIGNALED(status) || relay.empty()) continue;
      Log(Severity::kWarning,
          relay.mapped().client + " " + WordsFor(WTERMSIG(status)));
    }
  }

  static FileDescriptor Accept(const FileDescriptor& listener) {
    return FileDescriptor(accept4(listener.get(), nullptr, nullptr,
                                  SOCK_CLOEXEC | SOCK_NONBLOCK));
  }

  void AcceptUnix() {
    FileDescriptor socket = Accept(unix_);
    if (socket.get() < 0) return;
    const std::string client = "client on the UNIX socket";
    if (Count(false) >= options_.max_sessions + kMoreRelays) {
      return Refuse(client, "too many are connected");
    }
    StartRelay(std::move(socket), {false, client});
  }

  void AcceptSsh() {
    FileDescriptor socket = Accept(ssh_);
    if (socket.get() < 0) return;
    const std::string client = "SSH client " + NameOfPeer(socket.get());
    const std::string source = SourceOfPeer(socket.get());
    // 1. Room for one more login.
    if (const auto oldest = logins_.OldestOfFull(source)) {
      kill(*oldest, SIGTERM);
      logins_.End(*oldest);
    } else if (logins_.Refuses(RandomPercent())) {
      return Refuse(client, "too many are logging in");
    }
    if (Count(true) >=
        options_.max_sessions + options_.logins.full + kMoreRelays) {
      return Refuse(client, "too many are connected");
    }
    // 2. The login, in a process of its own.
    const pid_t pid = StartRelay(std::move(socket), {true, client});
    if (pid > 0) logins_.Begin(pid, source);
  }

  std::size_t Count(bool is_ssh) const {
    return static_cast<std::size_t>(std::count_if(
        relays_.begin(), relays_.end(),
        [is_ssh](const auto& relay) { return relay.second.is_ssh == is_ssh; }));
  }

  static void Refuse(const std::string& client, const std::string& reason) {
    Log(Severity::kWarning, client + " refused: " + reason);
  }

  // Returns the number of the process; -1: it could not be made.
  pid_t StartRelay(FileDescriptor socket, RelayProcess relay) {
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) Serve(std::move(socket), relay.is_ssh, parent);
    if (pid < 0) {
      Refuse(relay.client, "no process can be made");
    } else {
      relays_.emplace(pid, std::move(relay));
    }
    return pid;
  }

  // What a relay process does from its start to its end.
  [[noreturn]] void Serve(FileDescriptor socket, bool is_ssh, pid_t parent) {
    for (const int number : {SIGTERM, SIGCHLD, SIGPROF}) {
      static_cast<void>(std::signal(number, SIG_DFL));
    }
    EndWith(parent);
    unix_.Close();
    ssh_.Close();
    Client client({control_.get(), logged_in_.theirs.get()}, options_);
    try {
      if (is_ssh) {
        client.ServeSsh(std::move(socket), host_key_, keys_);
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
  const Signals signals_{{SIGCHLD}};
  // Relays send their process number when their clients have logged in.
  const SocketPair logged_in_ = MakeSocketPair(SOCK_DGRAM);
  Logins logins_;
  FileDescriptor unix_;
  FileDescriptor ssh_;
  FileDescriptor control_;
  const Key host_key_;
  AuthorizedKeys keys_;
  std::map<pid_t, RelayProcess> relays_;
};

}  // namespace

Acceptor::Acceptor(const AcceptorOptions& options) {
  // 1. Everything that may fail, while the caller can still get the error.
  Key host_key;
  AuthorizedKeys keys;
  FileDescriptor ssh;
  if (options.ssh.has_value()) {
    authorized_keys_ = options.ssh->authorized_keys;
    keys =
        AuthorizedKeys(OpenAuthorizedKeys(authorized_keys_), authorized_keys_);
    host_key = HostKey(options.ssh->host_key);
    ssh = ListenTcp(options.ssh->address, options.ssh->port);
    ssh_name_ = NameOfSocket(ssh.get());
  }
  FileDescriptor unix_socket = ListenUnix(options.unix_socket);
  SocketPair control = MakeSocketPair(SOCK_SEQPACKET);
  control_ = std::move(control.mine);
  AskForSenders(control_.get());

  // 2. The process.
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("no process can be made");
  if (pid_ > 0) return;
  DropPrivileges();
  EndWith(parent);
  control_.Close();
  AcceptLoop(options, std::move(unix_socket), std::move(ssh),
             std::move(control.theirs), std::move(host_key), std::move(keys))
      .Run();
}

Acceptor::~Acceptor() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
}

void Acceptor::Reload() const {
  if (authorized_keys_.empty()) return;
  try {
    SendConnection(control_.get(), {"authorized keys", "", "", "",
                                    OpenAuthorizedKeys(authorized_keys_)});
  } catch (const std::exception& error) {
    LogOldKeys(error);
  }
}

bool Acceptor::is_alive() {
  if (pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = -1;
  return pid_ > 0;
}

}  // namespace ipav::transport
