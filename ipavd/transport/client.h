// One client, from its connection to its end. Runs in the relay's process.
#ifndef IPAV_IPAVD_TRANSPORT_CLIENT_H_
#define IPAV_IPAVD_TRANSPORT_CLIENT_H_

#include <string>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/acceptor.h"
#include "ipavd/transport/authorized_keys.h"
#include "ipavd/transport/byte_stream.h"
#include "ipavd/transport/descriptor_passing.h"

namespace ipav::transport {

// What a relay's process reports to.
struct RelayEnds {
  int server;    // for SendConnection()
  int acceptor;  // receives the number of the process when its client has
                 // logged in
};

class Client {
 public:
  // The options are borrowed.
  Client(const RelayEnds& ends, const AcceptorOptions& options)
      : ends_(ends), options_(options) {}

  // Return when the client or the server ends the session. Both throw
  // std::runtime_error for a client that does something wrong.
  void ServeUnix(base::FileDescriptor socket);
  void ServeSsh(base::FileDescriptor socket, const Key& host_key,
                const AuthorizedKeys& keys);

  // For the log; may be called after an error.
  const std::string& name() const { return name_; }

 private:
  base::FileDescriptor PassToServer(PassedConnection client);
  void Carry(ByteStream* client, base::FileDescriptor connection);

  const RelayEnds ends_;
  const AcceptorOptions& options_;
  std::string name_ = "client";
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_CLIENT_H_
