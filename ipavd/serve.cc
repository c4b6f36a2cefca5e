#include "ipavd/serve.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "host/datastore/model.h"
#include "ipavd/netconf/server.h"
#include "ipavd/store/commit_gate.h"
#include "ipavd/store/datastores.h"
#include "ipavd/store/state_folder.h"
#include "ipavd/transport/doorman.h"
#include "ipavd/transport/log.h"
#include "ipavd/transport/notify.h"
#include "ipavd/transport/signals.h"

namespace ipav::server {

namespace {

using transport::Log;
using transport::Severity;

// Strangers, who have not logged in, beside the sessions that there may be.
constexpr std::size_t kMaxStrangers = 8;

transport::DoormanOptions DoorOf(const ServeOptions& options) {
  transport::DoormanOptions door;
  door.unix_socket = options.state + "/netconf.sock";
  door.max_clients = options.max_sessions + kMaxStrangers;
  door.limits = options.limits;
  if (!options.ssh_port.has_value()) return door;
  door.ssh.emplace();
  door.ssh->address = options.address;
  door.ssh->port = *options.ssh_port;
  door.ssh->host_key = options.state + "/ssh_host_ecdsa_key";
  door.ssh->authorized_keys = options.authorized_keys.empty()
                                  ? options.state + "/authorized_keys"
                                  : options.authorized_keys;
  return door;
}

// Where standard files are closed, files of the server's would take their
// places, and a log would be written into them.
void FillStandardFiles() {
  int file = open("/dev/null", O_RDWR);
  while (file >= 0 && file <= STDERR_FILENO) file = dup(file);
  if (file >= 0) close(file);
}

}  // namespace

void Serve(const ServeOptions& options) {
  FillStandardFiles();
  // 1. The doors, before there is anything that their process could inherit.
  store::StateFolder folder(options.state);
  transport::Doorman doorman(DoorOf(options));
  // SIGPIPE to hear of it, which is no end: a client may be gone before it is
  // greeted, and so may be whoever reads the log.
  const transport::Signals signals({SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGPIPE});

  // 2. The datastores: who connects meanwhile, waits.
  const datastore::Model model(options.yang_dir, options.yang_extension);
  const store::CommitGate gate(model, {options.plugin, options.time_limit});
  store::Datastores datastores(gate, &folder);

  // 3. Sessions, to the end.
  netconf::Server server(
      model, {options.netconf_yang_dir, options.max_sessions, options.once},
      &datastores, &doorman);
  Log(Severity::kNotice, "listening on " + options.state + "/netconf.sock");
  if (!doorman.ssh_name().empty()) {
    Log(Severity::kNotice, "listening for SSH on " + doorman.ssh_name());
  }
  transport::Notify("READY=1");
  server.Run(signals);
  transport::Notify("STOPPING=1");
  Log(Severity::kNotice, "ended");
}

}  // namespace ipav::server
