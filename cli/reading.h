// Reads the configurations that a command line names, within limits of time and
// size.
#ifndef IPAV_CLI_READING_H_
#define IPAV_CLI_READING_H_

#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>

#include "host/base/time_limit.h"
#include "host/datastore/data_tree.h"

namespace ipav::cli {

struct ReadingLimits {
  base::TimeLimit time = std::chrono::seconds(60);
  std::size_t size = datastore::kMaxInputSize;  // bytes
};

// What the process writes before it ends because its time is over.
struct FinalOutput {
  int fd;
  std::string bytes;
};

// "FILE: not read within 60 seconds"
std::string NotReadWithin(const std::string& file, base::TimeLimit limit);

// A time limit that runs while the object lives; one object at a time. When the
// time is over, the process writes its final output and exits with status 2: a
// pipe may have no writer, the YANG library takes quadratic time for some
// inputs, and neither can be interrupted.
//
// It uses a signal and not a thread: a second thread, even an idle one, makes
// every lock in malloc and in the YANG library's dictionary slower.
class ReadingTime {
 public:
  // The final output is one line on standard error that names the file.
  ReadingTime(const std::string& file, base::TimeLimit limit);
  ReadingTime(base::TimeLimit limit, FinalOutput output);
  ~ReadingTime();
  ReadingTime(const ReadingTime&) = delete;
  ReadingTime& operator=(const ReadingTime&) = delete;

 private:
  const bool is_limited_;
  struct sigaction before_ {};
};

// Throws datastore::InputError. Ends the process when the time is over.
datastore::DataTree ReadTree(const datastore::Model& model,
                             const std::string& file,
                             const ReadingLimits& limits);

}  // namespace ipav::cli

#endif  // IPAV_CLI_READING_H_
