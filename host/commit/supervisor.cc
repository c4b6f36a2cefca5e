#include "host/commit/supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
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

// Waits until the child or the host has ended, or the time is over. Returns
// whether it is over. Until the child has ended, the host sends nothing.
bool IsTimeOver(pid_t child, int child_signals, int control,
                base::TimeLimit limit) {
  const base::Countdown countdown(limit);
  std::array<pollfd, 2> open = {
      {{child_signals, POLLIN, 0}, {control, POLLIN, 0}}};
  while (!HasEnded(child)) {
    const int ready = poll(open.data(), open.size(), countdown.ForPoll());
    if (ready == 0) return true;
    if (ready < 0 && errno != EINTR) return false;
    if (ready > 0 && open.back().revents != 0) return false;
    Discard(child_signals);
  }
  return false;
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
    const pid_t ended = waitpid(-1, nullptr, WNOHANG);
    if (ended < 0 && errno == ECHILD) return;  // mostly at once
    if (ended != 0) continue;
    const std::vector<pid_t> children = Children();
    if (children.empty()) return;  // there is no /proc
    for (const pid_t child : children) kill(child, SIGKILL);
    static_cast<void>(waitpid(-1, nullptr, 0));
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

// What comes before each request. Sent as it is in memory, without padding.
struct Heading {
  std::int64_t limit;  // in milliseconds
  std::uint64_t size;  // of the request
};

// False if the other end is closed.
bool Receive(int control, void* bytes, std::size_t size) {
  if (size == 0) return true;  // recv(2) would wait
  return recv(control, bytes, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool Send(int control, const void* bytes, std::size_t size) {
  const auto* rest = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t sent = send(control, rest, size, MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) {
      rest += sent;
      size -= static_cast<std::size_t>(sent);
    }
  }
  return true;
}

// The next request, and the time limit of its child; false if there is none.
bool TakeRequest(int control, std::string* request, base::TimeLimit* limit) {
  Heading heading{};
  if (!Receive(control, &heading, sizeof(heading))) return false;
  *limit = base::TimeLimit(heading.limit);
  request->resize(heading.size);
  return Receive(control, request->data(), request->size());
}

// A failure is ignored: the host has ended and needs no answer.
void Report(int control, const ChildEnd& end) {
  static_cast<void>(Send(control, &end, sizeof(end)));
}

}  // namespace

void BecomeSupervisor(int control, const Supervised& supervised) noexcept {
  setsid();  // signals of the terminal go to the host only
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  ReadFromNothing();
  sigset_t mask;
  const int child_signals = OpenChildSignals(&mask);
  const pid_t supervisor = getpid();
  bool is_warm = supervised.warm_up == nullptr;
  std::string request;
  base::TimeLimit limit{};
  while (TakeRequest(control, &request, &limit)) {
    const pid_t child = fork();
    if (child == 0) {
      for (const int fd : {control, child_signals}) close(fd);
      RunChild(supervisor, mask, [&] { supervised.body(request); });
    }
    if (child < 0) {
      Report(control, {errno, 0, 0});
      continue;
    }
    const bool time_over = IsTimeOver(child, child_signals, control, limit);
    const int wait_status = EndAll(child);
    Report(control, {0, wait_status, time_over ? 1 : 0});
    if (!is_warm && wait_status == 0) {
      supervised.warm_up();
      is_warm = true;
    }
  }
  EndOrphans();
  _exit(0);
}

void SendRequest(int control, const std::string& request,
                 base::TimeLimit limit) {
  const Heading heading{limit.count(), request.size()};
  // At once: the supervisor wakes up once.
  std::string bytes(sizeof(heading), '\0');
  std::memcpy(bytes.data(), &heading, sizeof(heading));
  bytes += request;
  static_cast<void>(Send(control, bytes.data(), bytes.size()));
}

}  // namespace ipav::commit
