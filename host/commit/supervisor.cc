#include "host/commit/supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace ipav::commit {

namespace {

// Returns a file that becomes readable when a child ends. `before` receives the
// old signal mask.
int OpenChildSignals(sigset_t* before) {
  // If SIGCHLD were ignored, the system would keep no status.
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  sigset_t child_signal;
  sigemptyset(&child_signal);
  sigaddset(&child_signal, SIGCHLD);
  sigprocmask(SIG_BLOCK, &child_signal, before);
  return signalfd(-1, &child_signal, SFD_CLOEXEC | SFD_NONBLOCK);
}

// Standard input is empty for the plug-in, so that it does not read the input
// of the host.
void ReadFromNothing() {
  const int nothing = open("/dev/null", O_RDONLY);
  if (nothing == STDIN_FILENO) return;
  dup2(nothing, STDIN_FILENO);
  close(nothing);
}

// noexcept: an exception of `body` must not continue as a second host.
[[noreturn]] void RunChild(pid_t supervisor, const sigset_t& mask,
                           const std::function<void()>& body) noexcept {
  // A process group of the child and its own children only.
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != supervisor) _exit(1);  // it ended before the line above
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  ReadFromNothing();
  body();
  _exit(0);
}

// Whether the child has ended. It remains a zombie, so that its process and
// group numbers are not reused.
bool HasEnded(pid_t child) {
  siginfo_t info{};
  const int options = WEXITED | WNOHANG | WNOWAIT;
  return waitid(P_PID, static_cast<id_t>(child), &info, options) == 0 &&
         info.si_pid == child;
}

void Discard(int child_signals) {
  signalfd_siginfo signal{};
  while (read(child_signals, &signal, sizeof(signal)) > 0) {
  }
}

enum class Awaited { kEnd, kLifeline, kTimeOver };

Awaited Await(pid_t child, int child_signals, int lifeline,
              base::TimeLimit limit) {
  const base::Countdown countdown(limit);
  std::array<pollfd, 2> open = {
      {{child_signals, POLLIN, 0}, {lifeline, POLLIN, 0}}};
  while (!HasEnded(child)) {
    const int ready = poll(open.data(), open.size(), countdown.ForPoll());
    if (ready == 0) return Awaited::kTimeOver;
    if (ready < 0 && errno != EINTR) return Awaited::kLifeline;
    if (ready > 0 && open.back().revents != 0) return Awaited::kLifeline;
    Discard(child_signals);
  }
  return Awaited::kEnd;
}

// Processes whose parent is this one.
std::vector<pid_t> Children() {
  std::ifstream file("/proc/thread-self/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; file >> child;) children.push_back(child);
  return children;
}

// Kills processes that left the child's group and became children of this
// process when their parent ended. Each one may leave further orphans.
void EndOrphans() {
  for (;;) {
    const std::vector<pid_t> children = Children();
    for (const pid_t child : children) kill(child, SIGKILL);
    // Without running children, only those that have ended are waited for.
    const int options = children.empty() ? WNOHANG : 0;
    const pid_t ended = waitpid(-1, nullptr, options);
    if (ended == 0 || (ended < 0 && errno != EINTR)) return;
  }
}

// Kills the child and all its processes. Returns its status.
int EndAll(pid_t child) {
  kill(child, SIGKILL);  // it may not be in its own group yet
  kill(-child, SIGKILL);
  int wait_status = 0;
  while (waitpid(child, &wait_status, 0) < 0 && errno == EINTR) {
  }
  EndOrphans();
  return wait_status;
}

// A failure to write is ignored: the host has ended and needs no answer.
[[noreturn]] void Report(int end, const ChildEnd& message) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  static_cast<void>(write(end, &message, sizeof(message)) == 0);
  _exit(0);
}

}  // namespace

void BecomeSupervisor(int lifeline, int end, base::TimeLimit limit,
                      const std::function<void()>& body) noexcept {
  setsid();  // signals of the terminal go to the host only
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  sigset_t mask;
  const int child_signals = OpenChildSignals(&mask);
  const pid_t supervisor = getpid();
  const pid_t child = fork();
  if (child < 0) Report(end, {errno, 0, 0});
  if (child == 0) {
    for (const int fd : {lifeline, end, child_signals}) close(fd);
    RunChild(supervisor, mask, body);
  }
  const bool timed_out =
      Await(child, child_signals, lifeline, limit) == Awaited::kTimeOver;
  Report(end, {0, EndAll(child), timed_out ? 1 : 0});
}

}  // namespace ipav::commit
