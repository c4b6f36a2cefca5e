// A client of the NETCONF server in this process: its end of a connection, and
// the replies.
#ifndef IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_
#define IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_

#include <cstddef>
#include <string>
#include <thread>
#include <vector>

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
  void ReadAll();

  base::FileDescriptor end_;
  base::FileDescriptor server_end_;
  std::size_t sent_ = 0;
  std::string received_;  // used by the thread until it has ended
  // The server does not wait for a client that does not read.
  std::thread reader_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_
