// A client of the NETCONF server in this process: its end of a connection, and
// the replies.
#ifndef IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_
#define IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "host/base/file_descriptor.h"

namespace ipav::fuzz {

class NetconfClient {
 public:
  // Sends its hello.
  NetconfClient();
  // The other end must have been closed.
  ~NetconfClient();
  NetconfClient(const NetconfClient&) = delete;
  NetconfClient& operator=(const NetconfClient&) = delete;

  // The server's end of the connection; call it once.
  base::FileDescriptor TakeServerEnd() { return std::move(server_end_); }

  // Sends a message like the relay does. False if the server has closed the
  // connection.
  bool Send(const std::string& message);

  // Closes the sending direction.
  void Leave();

  // Waits for the end of the connection. It is a finding if the received data
  // is not a hello followed by replies, or if there are more replies than
  // messages.
  void CheckReplies();

  // The number of the library's session.
  std::uint32_t session = 0;

 private:
  void StartReader();
  void WaitForReader();

  base::FileDescriptor end_;
  base::FileDescriptor server_end_;
  base::FileDescriptor received_;  // a file in memory
  std::size_t sent_ = 0;
  // The server waits for a client that does not read, so another process reads.
  // A thread would not do: the server forks, and the allocator of the address
  // sanitizer could be locked for ever in the child.
  pid_t reader_ = -1;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_
