// Limits the time in which a relay reads a message of its client. The libraries
// need quadratic time for some messages: many unknown elements below one
// parent, a list entry many times, a long XPath expression.
#ifndef IPAV_IPAVD_TRANSPORT_READING_LIMIT_H_
#define IPAV_IPAVD_TRANSPORT_READING_LIMIT_H_

#include <csignal>
#include <cstddef>

namespace ipav::transport {

// Sent to a relay when its session has ended. SIGTERM is sent when the acceptor
// has ended.
inline constexpr int kSessionEnded = SIGUSR1;

// From here on, these two signals end the process only while it reads a
// message. Otherwise it ends with its connection to the server, so that the
// client still gets the last reply.
void DeferEnd();

// For this process; there may be one at a time.
class ReadingLimit {
 public:
  // From here on, SIGPROF ends the process if it takes more CPU time than
  // 250 ms and 250 ms more for each MiB.
  explicit ReadingLimit(std::size_t message_size);
  ~ReadingLimit();
  ReadingLimit(const ReadingLimit&) = delete;
  ReadingLimit& operator=(const ReadingLimit&) = delete;

 private:
  sigset_t deferred_{};  // signals that were, before
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_READING_LIMIT_H_
