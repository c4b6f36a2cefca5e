// A NETCONF server: sessions of clients over datastores. It has one thread,
// which never waits for a client, only for the plug-in during a commit. Child
// processes answer get and get-config.
#ifndef IPAV_IPAVD_NETCONF_SERVER_H_
#define IPAV_IPAVD_NETCONF_SERVER_H_

#include <string>

#include "ipavd/netconf/library.h"
#include "ipavd/netconf/service.h"
#include "ipavd/store/datastores.h"
#include "ipavd/transport/acceptor.h"
#include "ipavd/transport/signals.h"

namespace ipav::netconf {

struct ServerOptions {
  SessionLimits sessions;
  bool once = false;  // ends with its first session
};

class Server {
 public:
  // A process has at most one, since the NETCONF library has global state. All
  // arguments are borrowed; the context is that of messages. Throws
  // std::runtime_error.
  Server(ly_ctx* context, const ServerOptions& options,
         store::Datastores* datastores, transport::Acceptor* acceptor);
  ~Server() = default;
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Serves until SIGTERM or SIGINT, or, with `once`, the end of a session.
  // `signals` catches these, SIGHUP, SIGCHLD and SIGPIPE. Throws
  // std::runtime_error when the acceptor has died.
  void Run(const transport::Signals& signals);

 private:
  // One step of Run(): waits, then handles what has happened.
  void Wait(const transport::Signals& signals);
  int TimeToWait() const;
  void HandleSignals(const transport::Signals& signals);
  void AcceptClient();
  void LogNotices();

  const bool once_;
  const Library library_;
  store::Datastores& datastores_;
  transport::Acceptor& acceptor_;
  Service service_;
  bool is_over_ = false;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_SERVER_H_
