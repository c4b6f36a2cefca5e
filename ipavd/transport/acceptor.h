// The process that accepts clients. It listens, and forks a relay process for
// each client, which passes one end of a new connection to the server when the
// client has logged in. It holds the data model, but none of the server's data,
// and few rights (confinement.h). Only the relay of a client ever waits for
// that client.
#ifndef IPAV_IPAVD_TRANSPORT_ACCEPTOR_H_
#define IPAV_IPAVD_TRANSPORT_ACCEPTOR_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/logins.h"
#include "ipavd/transport/relay.h"

namespace ipav::transport {

struct SshOptions {
  std::string address = "127.0.0.1";
  std::uint16_t port = 830;     // 0: any free port
  std::string host_key;         // file, created if missing
  std::string authorized_keys;  // file
};

struct AcceptorOptions {
  std::string unix_socket;  // path
  std::optional<SshOptions> ssh;
  std::size_t max_sessions = 0;
  LoginLimits logins;
  Limits limits;
  RequestReader reader;
};

class Acceptor {
 public:
  // Listens, and forks. Throws std::runtime_error.
  explicit Acceptor(const AcceptorOptions& options);
  // Ends the acceptor, and each relay that reads a message or whose client has
  // not logged in. The others end when the server closes their connections.
  ~Acceptor();
  Acceptor(const Acceptor&) = delete;
  Acceptor& operator=(const Acceptor&) = delete;

  // The socket that ReceiveConnection() reads.
  int control() const { return control_.get(); }

  // Address and port of the SSH socket, "127.0.0.1:830"; empty without SSH.
  const std::string& ssh_name() const { return ssh_name_; }

  // Reads the authorized keys again. Relays that are running keep the old ones.
  void Reload() const;

  // False when the process has died, which is an error.
  bool is_alive();

 private:
  std::string ssh_name_;
  std::string authorized_keys_;  // file; empty without SSH
  base::FileDescriptor control_;
  pid_t pid_ = -1;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_ACCEPTOR_H_
