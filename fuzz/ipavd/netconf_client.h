// A client of the NETCONF server in this process: its end of a connection, and
// what it is told.
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
  // Whoever has the other end must have closed it.
  ~NetconfClient();
  NetconfClient(const NetconfClient&) = delete;
  NetconfClient& operator=(const NetconfClient&) = delete;

  // The server's end, once.
  base::FileDescriptor TakeServerEnd() { return std::move(server_end_); }

  // A message as the process sends it that meets clients. False where nobody
  // reads any more.
  bool Send(const std::string& message);

  // The server is to hear no more of it.
  void Leave();

  // Waits for the end of the connection. What came that is no hello and then
  // replies is a finding; so are more replies than messages.
  void CheckReplies();

  // Of the library's session.
  std::uint32_t session = 0;

 private:
  void ReadAll();

  base::FileDescriptor end_;
  base::FileDescriptor server_end_;
  std::size_t sent_ = 0;
  std::string received_;  // the thread's until that has ended
  // The server waits for nobody who does not read.
  std::thread reader_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_CLIENT_H_
