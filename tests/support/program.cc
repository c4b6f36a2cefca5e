#include "tests/support/program.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "tests/support/temp_dir.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

constexpr int kCannotRun = 127;

void WriteTo(const std::string& file, int number) {
  const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0 || dup2(fd, number) < 0) _exit(kCannotRun);
  close(fd);
}

// Crashes on purpose must not fill the disk with core files.
void LeaveNoCore() {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

void Enter(const Surroundings& surroundings) {
  for (const auto& [name, value] : surroundings.environment) {
    setenv(name.c_str(), value.c_str(), 1);
  }
  if (!surroundings.folder.empty() && chdir(surroundings.folder.c_str()) != 0) {
    _exit(kCannotRun);
  }
  if (!surroundings.obeys_permissions) return;
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}

[[noreturn]] void Execute(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  _exit(kCannotRun);
}

bool IsZombie(const fs::path& process) {
  // "PID (NAME) STATE ...", and a name may hold anything.
  const std::string stat = ReadFile(process / "stat");
  const std::size_t name_end = stat.rfind(") ");
  return name_end == std::string::npos || stat[name_end + 2] == 'Z';
}

bool HasVariable(const fs::path& process, const std::string& variable) {
  const std::string environment =
      std::string(1, '\0') + ReadFile(process / "environ");
  return environment.find(std::string(1, '\0') + variable +
                          std::string(1, '\0')) != std::string::npos;
}

}  // namespace

bool operator==(const ProcessResult& a, const ProcessResult& b) {
  return a.status == b.status && a.out == b.out && a.err == b.err;
}

std::ostream& operator<<(std::ostream& out, const ProcessResult& result) {
  return out << "exit status " << result.status << "\n--- output:\n"
             << result.out << "--- errors:\n"
             << result.err;
}

ProcessResult RunProcess(const std::vector<std::string>& command) {
  const TempDir folder;
  return Program(command, folder.path()).Wait();
}

Program::Program(const std::vector<std::string>& command,
                 const std::string& folder, const Surroundings& surroundings)
    : out_file_(folder + "/program.out"),
      err_file_(folder + "/program.err"),
      process_(fork()) {
  if (process_ < 0) throw std::runtime_error("fork failed");
  if (process_ > 0) return;
  WriteTo(out_file_, STDOUT_FILENO);
  WriteTo(err_file_, STDERR_FILENO);
  LeaveNoCore();
  setpgid(0, 0);
  Enter(surroundings);
  Execute(command);
}

Program::~Program() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void Program::Signal(int number) const { kill(process_, number); }

void Program::SignalGroup(int number) const { kill(-process_, number); }

ProgramResult Program::Wait() {
  int status = 0;
  rusage usage{};
  while (wait4(process_, &status, 0, &usage) < 0) {
    if (errno != EINTR) throw std::runtime_error("wait4 failed");
  }
  process_ = -1;
  const int exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (exit_status == kCannotRun) throw std::runtime_error("cannot run");
  return {{exit_status, ReadFile(out_file_), ReadFile(err_file_)},
          WIFSIGNALED(status) ? WTERMSIG(status) : 0,
          static_cast<std::size_t>(usage.ru_maxrss) * 1024};
}

std::vector<pid_t> ProcessesWith(const std::string& name,
                                 const std::string& value) {
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string number = entry.path().filename();
    if (!std::all_of(number.begin(), number.end(),
                     [](unsigned char c) { return std::isdigit(c) != 0; })) {
      continue;
    }
    if (HasVariable(entry.path(), name + "=" + value) &&
        !IsZombie(entry.path())) {
      found.push_back(std::stoi(number));
    }
  }
  return found;
}

}  // namespace ipav::testing
