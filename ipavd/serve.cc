#include "ipavd/serve.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "host/datastore/model.h"
#include "ipavd/netconf/message_context.h"
#include "ipavd/netconf/server.h"
#include "ipavd/store/commit_gate.h"
#include "ipavd/store/datastores.h"
#include "ipavd/store/state_folder.h"
#include "ipavd/transport/acceptor.h"
#include "ipavd/transport/log.h"
#include "ipavd/transport/notify.h"
#include "ipavd/transport/signals.h"

namespace ipav::server {

namespace {

using transport::Log;
using transport::Severity;

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
  const transport::Signals signals({SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGPIPE});

  // 2. The datastores. Clients that connect meanwhile wait.
  const store::CommitGate gate(model, {options.plugin, options.time_limit});
  store::Datastores datastores(gate, &folder);
  datastores.set_max_size(options.max_configuration);

  // 3. The sessions, until the end.
  netconf::Server server(
      context.get(),
      {{options.max_sessions, options.max_sessions_per_user}, options.once},
      &datastores, &acceptor);
  Log(Severity::kNotice, "listening on " + options.state + "/netconf.sock");
  if (!acceptor.ssh_name().empty()) {
    Log(Severity::kNotice, "listening for SSH on " + acceptor.ssh_name());
  }
  transport::Notify("READY=1");
  server.Run(signals);
  transport::Notify("STOPPING=1");
  Log(Severity::kNotice, "ended");
}

}  // namespace ipav::server
