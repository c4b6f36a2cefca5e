// The time that one configuration may take to be read: a pipe may have nobody
// at its other end, and the YANG library takes the square of the input's size
// for some of its parts, such as namespaces.
#ifndef IPAV_CLI_READING_TIME_H_
#define IPAV_CLI_READING_TIME_H_

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "base/time_limit.h"

namespace ipav::cli {

// Runs while it lives. When it is over, the program ends with status 2 and one
// line that names the file: there is no way to call the YANG library back.
class ReadingTime {
 public:
  ReadingTime(std::string file, base::TimeLimit limit);
  ~ReadingTime();
  ReadingTime(const ReadingTime&) = delete;
  ReadingTime& operator=(const ReadingTime&) = delete;

 private:
  void Watch();

  const std::string file_;
  const base::TimeLimit limit_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool has_ended_ = false;
  std::thread watch_;
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_READING_TIME_H_
