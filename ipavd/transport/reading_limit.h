// Limits the time in which a relay reads a message of its client. The libraries
// need quadratic time for some messages: many unknown elements below one
// parent, a list entry many times, a long XPath expression.
#ifndef IPAV_IPAVD_TRANSPORT_READING_LIMIT_H_
#define IPAV_IPAVD_TRANSPORT_READING_LIMIT_H_

#include <cstddef>

namespace ipav::transport {

// For this process; there may be one at a time.
class ReadingLimit {
 public:
  // From here on, SIGPROF ends the process if it takes more CPU time than
  // 250 ms and 250 ms more for each MiB.
  explicit ReadingLimit(std::size_t message_size);
  ~ReadingLimit();
  ReadingLimit(const ReadingLimit&) = delete;
  ReadingLimit& operator=(const ReadingLimit&) = delete;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_READING_LIMIT_H_
