#include "ipavd/serve.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/file_descriptor.h"
#include "host/datastore/model.h"
#include "ipavd/netconf/library.h"
#include "ipavd/netconf/message_context.h"
#include "ipavd/netconf/service.h"
#include "ipavd/store/commit_gate.h"
#include "ipavd/store/datastores.h"
#include "ipavd/store/state_folder.h"
#include "ipavd/transport/acceptor.h"
#include "ipavd/transport/log.h"
#include "ipavd/transport/signals.h"

namespace ipav::server {

namespace {

using transport::Log;
using transport::Severity;
using transport::Signals;

transport::AcceptorOptions AcceptorOptionsFrom(const ServeOptions& options) {
  transport::AcceptorOptions acceptor;
  acceptor.unix_socket = options.state + "/netconf.sock";
  acceptor.max_sessions = options.max_sessions;
  acceptor.limits = options.limits;
  if (!options.ssh_port.has_value()) return acceptor;
  acceptor.ssh.emplace();
  acceptor.ssh->address = options.address;
  acceptor.ssh->port = *options.ssh_port;
  acceptor.ssh->host_key = options.state + "/ssh_host_ecdsa_key";
  acceptor.ssh->authorized_keys = options.authorized_keys.empty()
                                      ? options.state + "/authorized_keys"
                                      : options.authorized_keys;
  return acceptor;
}

// Opens standard files that are closed. Other files would take their numbers,
// and the log would be written into one of them.
void FillStandardFiles() {
  int file = open("/dev/null", O_RDWR);
  while (file >= 0 && file <= STDERR_FILENO) file = dup(file);
  if (file >= 0) close(file);
}

// Reports a state such as "READY=1" to the service manager, as sd_notify(3)
// does: to the socket that NOTIFY_SOCKET names.
void Notify(const std::string& state) {
  const char* name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr || *name == '\0') return;
  const std::string_view path = name;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) return;
  char* place = static_cast<char*>(address.sun_path);
  path.copy(place, path.size());
  // An abstract socket address begins with a null byte.
  if (path.front() == '@') *place = '\0';
  const auto size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());

  const base::FileDescriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (sendto(fd.get(), state.data(), state.size(), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address), size) < 0) {
    Log(Severity::kWarning, "the service manager cannot be told " + state);
  }
}

// The loop of the server. It has one thread, which never waits for a client,
// only for the plug-in during a commit. Child processes answer get and
// get-config.
class Server {
 public:
  Server(ly_ctx* context, const ServeOptions& options,
         store::Datastores* datastores, transport::Acceptor* acceptor)
      : once_(options.once),
        library_(context),
        datastores_(*datastores),
        acceptor_(*acceptor),
        service_(context, datastores,
                 {options.max_sessions, options.max_sessions_per_user}) {}

  // Serves until SIGTERM or SIGINT, or, with `once`, the end of a session.
  // Throws std::runtime_error when the acceptor has died.
  void Run(const Signals& signals) {
    LogNotices();
    while (!is_over_) {
      Wait(signals);
      HandleSignals(signals);
      if (is_over_) break;
      datastores_.CheckTime();
      AcceptClient();
      service_.Poll();
      if (once_ && service_.has_ended()) is_over_ = true;
      LogNotices();
    }
    service_.EndAll();
    LogNotices();
  }

 private:
  void Wait(const Signals& signals) {
    std::vector<pollfd> fds{{signals.fd(), POLLIN, 0},
                            {acceptor_.control(), POLLIN, 0}};
    for (const auto& session : service_.sessions().all()) {
      const int events = session->has_child() ? 0 : POLLIN;
      fds.push_back({session->fd(), static_cast<short>(events), 0});
    }
    poll(fds.data(), fds.size(), service_.has_more() ? 0 : TimeToWait());
  }

  // Milliseconds until the next confirmed commit is rolled back; -1: none
  // waits.
  int TimeToWait() const {
    using std::chrono::milliseconds;
    const auto deadline = datastores_.Deadline();
    if (!deadline.has_value()) return -1;
    const auto left = std::chrono::ceil<milliseconds>(
        *deadline - std::chrono::steady_clock::now());
    return static_cast<int>(
        std::clamp(left, milliseconds(0), milliseconds(INT_MAX)).count());
  }

  void HandleSignals(const Signals& signals) {
    for (const int number : signals.Take()) {
      if (number == SIGTERM || number == SIGINT) is_over_ = true;
      if (number == SIGHUP) acceptor_.Reload();
    }
    if (!is_over_ && !acceptor_.is_alive()) {
      throw std::runtime_error("the process that lets clients in has ended");
    }
  }

  void AcceptClient() {
    auto client = transport::ReceiveConnection(acceptor_.control());
    if (client.has_value()) service_.AddSession(*std::move(client));
  }

  void LogNotices() {
    for (const std::string& notice : datastores_.TakeNotices()) {
      Log(Severity::kNotice, notice);
    }
  }

  const bool once_;
  const netconf::Library library_;
  store::Datastores& datastores_;
  transport::Acceptor& acceptor_;
  netconf::Service service_;
  bool is_over_ = false;
};

}  // namespace

void Serve(const ServeOptions& options) {
  FillStandardFiles();
  // 1. The acceptor, before there is any data that its process could inherit
  // but the data model.
  store::StateFolder folder(options.state);
  const datastore::Model model(options.yang_dir, options.yang_extension);
  const netconf::MessageContext context =
      netconf::MakeMessageContext(model, options.netconf_yang_dir);
  transport::AcceptorOptions acceptor_options = AcceptorOptionsFrom(options);
  acceptor_options.reader = [&context](const std::string& request) {
    netconf::ReadRequest(context.get(), request);
  };
  transport::Acceptor acceptor(acceptor_options);
  // SIGPIPE is caught so that it does not end the server: a client may have
  // gone before the server greets it, and so may the reader of the log.
  const Signals signals({SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGPIPE});

  // 2. The datastores. Clients that connect meanwhile wait.
  const store::CommitGate gate(model, {options.plugin, options.time_limit});
  store::Datastores datastores(gate, &folder);
  datastores.set_max_size(options.max_configuration);

  // 3. The sessions, until the end.
  Server server(context.get(), options, &datastores, &acceptor);
  Log(Severity::kNotice, "listening on " + options.state + "/netconf.sock");
  if (!acceptor.ssh_name().empty()) {
    Log(Severity::kNotice, "listening for SSH on " + acceptor.ssh_name());
  }
  Notify("READY=1");
  server.Run(signals);
  Notify("STOPPING=1");
  Log(Severity::kNotice, "ended");
}

}  // namespace ipav::server
