// Runs the NETCONF server from its start to its end.
#ifndef IPAV_IPAVD_SERVE_H_
#define IPAV_IPAVD_SERVE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "host/base/time_limit.h"
#include "ipavd/transport/relay.h"

namespace ipav::server {

struct ServeOptions {
  std::string state;                      // folder
  std::optional<std::uint16_t> ssh_port;  // none: no SSH; 0: any free port
  std::string address = "127.0.0.1";      // to listen on for SSH
  std::string authorized_keys;  // file; empty: the one in the state folder
  bool once = false;            // end with the first session
  std::size_t max_sessions = 16;
  std::size_t max_sessions_per_user = 8;
  std::size_t max_configuration = std::size_t{64} << 20;  // bytes
  base::TimeLimit time_limit = std::chrono::seconds(60);  // of the plug-in
  transport::Limits limits;                               // of each client

  std::string plugin;            // libip_app_validation.so
  std::string yang_dir;          // the data model
  std::string yang_extension;    // plug-in of the YANG library
  std::string netconf_yang_dir;  // the modules of NETCONF itself
};

// Serves until SIGTERM or SIGINT, or, with `once`, until a session ends. Logs
// to standard error. Throws std::exception when it cannot serve.
void Serve(const ServeOptions& options);

}  // namespace ipav::server

#endif  // IPAV_IPAVD_SERVE_H_
