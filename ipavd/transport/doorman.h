// The process that lets clients in. It listens, and makes a guard for each
// client, a process of its own; the server hears of a client when its guard
// introduces it. It holds none of the server's data, and no client is ever
// waited for by anybody but its guard.
#ifndef IPAV_SERVER_TRANSPORT_DOORMAN_H_
#define IPAV_SERVER_TRANSPORT_DOORMAN_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/guard.h"

namespace ipav::transport {

struct SshOptions {
  std::string address = "127.0.0.1";
  std::uint16_t port = 830;     // 0: any that is free
  std::string host_key;         // file, made where there is none
  std::string authorized_keys;  // file
};

struct DoormanOptions {
  std::string unix_socket;  // path
  std::optional<SshOptions> ssh;
  std::size_t max_clients = 0;  // of each transport, before the login as well
  Limits limits;
};

class Doorman {
 public:
  // Listens, and forks. Throws std::runtime_error, with nothing left behind.
  explicit Doorman(const DoormanOptions& options);
  // Ends the doorman with every guard that has introduced nobody; the others
  // end with the server's end of their connections.
  ~Doorman();
  Doorman(const Doorman&) = delete;
  Doorman& operator=(const Doorman&) = delete;

  // Where guards introduce clients: ReceiveIntroduction().
  int control() const { return control_.get(); }

  // Where clients of SSH find it: "127.0.0.1:830".
  const std::string& ssh_name() const { return ssh_name_; }

  // Reads the authorized keys again; guards that are there keep theirs.
  void Reload() const;

  // False when the process is gone, which it never should be.
  bool is_alive();

 private:
  std::string ssh_name_;
  base::FileDescriptor control_;
  pid_t pid_ = -1;
};

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_DOORMAN_H_
