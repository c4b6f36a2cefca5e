#include "cli/session/worker.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include "cli/program.h"
#include "cli/shared_model.h"

extern "C" {
#include <sys/pidfd.h>  // glibc 2.36 has no extern "C" in it
}

namespace ipav::cli::session {

namespace {

using base::FileDescriptor;

std::system_error SystemError(const char* call) {
  return {errno, std::generic_category(), call};
}

// A file in memory. Unlike a pipe it need not be read while the command writes.
FileDescriptor MakeFile() {
  FileDescriptor file(memfd_create("ipav", MFD_CLOEXEC));
  if (file.get() < 0) throw SystemError("memfd_create");
  return file;
}

std::string ReadFile(const FileDescriptor& file) {
  return datastore::ReadInput("/proc/self/fd/" + std::to_string(file.get()),
                              kMaxOutput);
}

// The command's files instead of those of this process.
void SetStandardFiles(const FileDescriptor& output,
                      const FileDescriptor& errors) {
  dup2(output.get(), STDOUT_FILENO);
  dup2(errors.get(), STDERR_FILENO);
  const FileDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
  dup2(nothing.get(), STDIN_FILENO);
}

// A write beyond the limit fails.
void LimitFiles() {
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
  const rlimit limit{kMaxOutput, kMaxOutput};
  setrlimit(RLIMIT_FSIZE, &limit);
}

// In the child.
[[noreturn]] void RunCommand(const Request& request, const Locations& locations,
                             const FileDescriptor& output,
                             const FileDescriptor& errors,
                             pid_t parent) noexcept {
  setpgid(0, 0);  // with the processes that the command starts
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(kBadInput);  // it ended before prctl()
  SetStandardFiles(output, errors);
  LimitFiles();
  datastore::ReadTextsInstead(request.texts);
  const ExitStatus status = RunProgram(request.arguments, &locations);
  static_cast<void>(std::fflush(nullptr));
  // Not exit(): nothing of the parent is to be ended.
  _exit(status);
}

}  // namespace

Job::Job(pid_t process, FileDescriptor output, FileDescriptor errors)
    : process_(process),
      end_(pidfd_open(process, 0)),
      output_(std::move(output)),
      errors_(std::move(errors)) {}

Job::~Job() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);  // it may not be in its own group yet
  kill(-process_, SIGKILL);
  static_cast<void>(Wait());
}

int Job::Wait() {
  int wait_status = 0;
  while (waitpid(process_, &wait_status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  return wait_status;
}

Answer Job::Collect() {
  const int wait_status = Wait();
  Answer answer{WEXITSTATUS(wait_status), ReadFile(output_), ReadFile(errors_)};
  if (WIFSIGNALED(wait_status)) {
    answer.status = kPluginFailed;
    answer.errors += "ipav: the command was killed by signal: ";
    answer.errors += strsignal(WTERMSIG(wait_status));
    answer.errors += "\n";
  }
  return answer;
}

Worker::Worker(Locations locations) : locations_(std::move(locations)) {
  // If SIGCHLD were ignored, waitpid() would have no status.
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  static_cast<void>(SharedModel(locations_));
}

std::unique_ptr<Job> Worker::Start(const Request& request) const {
  FileDescriptor output = MakeFile();
  FileDescriptor errors = MakeFile();
  // The child would print the content of unflushed buffers a second time.
  static_cast<void>(std::fflush(nullptr));
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0) throw SystemError("fork");
  if (process == 0) RunCommand(request, locations_, output, errors, parent);
  auto job =
      std::make_unique<Job>(process, std::move(output), std::move(errors));
  if (job->end() < 0) throw SystemError("pidfd_open");
  return job;
}

}  // namespace ipav::cli::session
