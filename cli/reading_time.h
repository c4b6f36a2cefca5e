// The time that one configuration may take to be read: a pipe may have nobody
// at its other end, and the YANG library takes the square of the input's size
// for some of its parts, such as namespaces.
#ifndef IPAV_CLI_READING_TIME_H_
#define IPAV_CLI_READING_TIME_H_

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "base/time_limit.h"

namespace ipav::cli {

// Runs while it lives. When it is over, the process ends with status 2: there
// is no way to call the YANG library back.
class ReadingTime {
 public:
  // Hears before that, in a thread of its own, one line that names the file.
  using Over = std::function<void(const std::string& line)>;

  ReadingTime(std::string file, base::TimeLimit limit, Over over);
  ~ReadingTime();
  ReadingTime(const ReadingTime&) = delete;
  ReadingTime& operator=(const ReadingTime&) = delete;

 private:
  void Watch();

  const std::string file_;
  const base::TimeLimit limit_;
  const Over over_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool has_ended_ = false;
  std::thread watch_;
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_READING_TIME_H_
