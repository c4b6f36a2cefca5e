// Runs a program, keeps its output, and measures its memory.
#ifndef IPAV_TESTS_SUPPORT_PROGRAM_H_
#define IPAV_TESTS_SUPPORT_PROGRAM_H_

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace ipav::testing {

struct ProcessResult {
  int status = 0;  // exit status, or -1 when it did not exit
  std::string out;
  std::string err;
};

bool operator==(const ProcessResult& a, const ProcessResult& b);
std::ostream& operator<<(std::ostream& out, const ProcessResult& result);

// Runs a program to its end. `command` is the program's path and its
// arguments. Throws std::runtime_error when it cannot be run.
ProcessResult RunProcess(const std::vector<std::string>& command);

struct Surroundings {
  std::map<std::string, std::string> environment;  // besides the test's own
  std::string folder;                              // to work in
  // Drops the superuser's privilege to read any file.
  bool obeys_permissions = false;
};

struct ProgramResult : ProcessResult {
  int signal = 0;  // that killed it, or 0
  // In bytes, of the program or of the largest of its children.
  std::size_t peak_memory = 0;
};

class Program {
 public:
  // `command` is the program's path and its arguments; `folder` takes the files
  // of its output. Throws std::runtime_error when it cannot be started.
  Program(const std::vector<std::string>& command, const std::string& folder,
          const Surroundings& surroundings = {});
  ~Program();  // kills it unless Wait() was called
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Signal(int number) const;
  // To its process group, as a terminal does.
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
