// A NETCONF session with ipavd over its UNIX socket.
#ifndef IPAV_CLI_NETCONF_CLIENT_H_
#define IPAV_CLI_NETCONF_CLIENT_H_

#include <optional>
#include <stdexcept>
#include <string>

#include "host/base/file_descriptor.h"
#include "host/base/time_limit.h"
#include "netconf/framing.h"

namespace ipav::cli {

// The server is not there, does not answer in time, or is not a NETCONF server.
class ConnectionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An rpc-error. A text is empty if its element is missing.
struct OperationError {
  std::string tag;
  std::string app_tag;
  std::string path;
  std::string message;
};

class NetconfClient {
 public:
  // Connects to the server and exchanges hellos. `limit` is the time for each
  // request, and again for each answer. All functions throw ConnectionError.
  NetconfClient(const std::string& socket, base::TimeLimit limit);

  // Sends the element of an operation. Returns the first error of the answer.
  std::optional<OperationError> Call(const std::string& operation);

 private:
  bool WaitFor(short events, const base::Countdown& countdown);
  void Send(const std::string& bytes);
  std::string Receive();
  ConnectionError Error(const std::string& reason) const;

  const std::string socket_;
  const base::TimeLimit limit_;
  base::FileDescriptor connection_;
  netconf::Deframer deframer_;
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_NETCONF_CLIENT_H_
