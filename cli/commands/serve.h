// ipav serve: a NETCONF server over the embedded host.
#ifndef IPAV_CLI_COMMANDS_SERVE_H_
#define IPAV_CLI_COMMANDS_SERVE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "cli/exit_status.h"
#include "cli/locations.h"
#include "host/base/time_limit.h"
#include "ipavd/transport/guard.h"

namespace ipav::cli {

struct ServeOptions {
  std::string state;                      // folder
  std::optional<std::uint16_t> ssh_port;  // none: no SSH; 0: any free port
  std::string address = "127.0.0.1";      // to listen on for SSH
  std::string authorized_keys;  // file; empty: the one in the state folder
  bool once = false;            // ends with the first session
  std::size_t max_sessions = 16;
  base::TimeLimit time_limit = std::chrono::seconds(60);  // of the plug-in
  transport::Limits limits;                               // of each client
};

// Serves until SIGTERM or SIGINT. Logs to standard error. Throws
// std::runtime_error for what keeps it from serving.
ExitStatus Serve(const Locations& locations, const ServeOptions& options);

}  // namespace ipav::cli

#endif  // IPAV_CLI_COMMANDS_SERVE_H_
