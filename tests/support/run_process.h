// Runs a program and keeps what it wrote.
#ifndef IPAV_TESTS_SUPPORT_RUN_PROCESS_H_
#define IPAV_TESTS_SUPPORT_RUN_PROCESS_H_

#include <string>
#include <vector>

namespace ipav::testing {

struct ProcessResult {
  int status;  // exit status, or -1 when it did not exit
  std::string out;
  std::string err;
};

// `command` is the program's path and its arguments. Throws
// std::runtime_error when it cannot be run at all.
ProcessResult RunProcess(const std::vector<std::string>& command);

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_RUN_PROCESS_H_
