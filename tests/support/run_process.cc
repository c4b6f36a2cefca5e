#include "tests/support/run_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace ipav::testing {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using TemporaryFile = std::unique_ptr<std::FILE, FileCloser>;

// A file, not a pipe: nobody has to read while the program runs.
TemporaryFile MakeTemporaryFile() {
  TemporaryFile file(std::tmpfile());
  if (file == nullptr) throw std::runtime_error("no temporary file");
  return file;
}

std::string Contents(std::FILE* file) {
  std::string text;
  std::rewind(file);
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
    text += static_cast<char>(c);
  }
  return text;
}

[[noreturn]] void Execute(const std::vector<std::string>& command,
                          std::FILE* out, std::FILE* err) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  dup2(fileno(out), STDOUT_FILENO);
  dup2(fileno(err), STDERR_FILENO);
  execv(arguments[0], arguments.data());
  _exit(127);
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& command) {
  const TemporaryFile out = MakeTemporaryFile();
  const TemporaryFile err = MakeTemporaryFile();
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) Execute(command, out.get(), err.get());

  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    throw std::runtime_error("waitpid failed");
  }
  const int exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (exit_status == 127) throw std::runtime_error("cannot run " + command[0]);
  return {exit_status, Contents(out.get()), Contents(err.get())};
}

}  // namespace ipav::testing
