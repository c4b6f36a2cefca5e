// A program that a test starts, watches and ends: in surroundings of the test's
// making, and with what it cost.
#ifndef IPAV_TESTS_SUPPORT_PROGRAM_H_
#define IPAV_TESTS_SUPPORT_PROGRAM_H_

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace ipav::testing {

struct Surroundings {
  std::map<std::string, std::string> environment;  // besides the test's own
  std::string folder;                              // to work in
  // Privileges of the superuser to read any file are given away.
  bool obeys_permissions = false;
};

struct ProgramResult {
  int status;  // exit status, or -1 when it did not exit
  int signal;  // that killed it, or 0
  std::string out;
  std::string err;
  std::size_t peak_memory;  // bytes, of it or of the largest of its children
};

class Program {
 public:
  // `command` is the program's path and its arguments; `folder` takes the files
  // of its output. Throws std::runtime_error when it cannot be started.
  Program(const std::vector<std::string>& command, const std::string& folder,
          const Surroundings& surroundings = {});
  ~Program();  // kills it when nobody waited for it
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Signal(int number) const;
  // To its whole job, as a terminal does.
  void SignalGroup(int number) const;
  ProgramResult Wait();

 private:
  std::string out_file_;
  std::string err_file_;
  pid_t process_;
};

// Numbers of the living processes that have NAME=VALUE in the environment that
// they were started with.
std::vector<pid_t> ProcessesWith(const std::string& name,
                                 const std::string& value);

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_PROGRAM_H_
