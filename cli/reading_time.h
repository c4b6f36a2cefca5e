// The time that one configuration may take to be read: a pipe may have nobody
// at its other end, and the YANG library takes the square of the input's size
// for some of its parts, such as namespaces.
#ifndef IPAV_CLI_READING_TIME_H_
#define IPAV_CLI_READING_TIME_H_

#include <csignal>
#include <string>

#include "host/base/time_limit.h"

namespace ipav::cli {

// What a process leaves behind when its time is over.
struct LastWords {
  int fd;
  std::string bytes;
};

// The reason of an input error.
std::string NotReadWithin(const std::string& file, base::TimeLimit limit);

// Runs while it lives, one at a time. When it is over, the process ends with
// status 2 and its last words: there is no way to call the YANG library back.
//
// A signal and no thread: with a second thread, be it asleep, every lock of
// every allocation and of the YANG library's dictionary takes its full price.
class ReadingTime {
 public:
  // One line on standard error, which names the file.
  ReadingTime(const std::string& file, base::TimeLimit limit);
  ReadingTime(base::TimeLimit limit, LastWords words);
  ~ReadingTime();
  ReadingTime(const ReadingTime&) = delete;
  ReadingTime& operator=(const ReadingTime&) = delete;

 private:
  const bool is_limited_;
  struct sigaction before_ {};
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_READING_TIME_H_
