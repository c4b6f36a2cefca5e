#include "ipavd/transport/confinement.h"

#include <grp.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <system_error>

#include "ipavd/transport/log.h"

namespace ipav::transport {

namespace {

// The user and the group "nobody" of Debian.
constexpr uid_t kNobody = 65534;

constexpr rlim_t kMaxFiles = 64;

// The system calls of a relay. Those that one machine does not have are
// ignored.
constexpr const char* kCalls[] = {
    // Its connections
    "read", "readv", "recv", "recvfrom", "recvmsg", "write", "writev", "send",
    "sendto", "sendmsg", "poll", "ppoll", "ppoll_time64", "close", "shutdown",
    "fcntl", "fcntl64", "getsockopt", "setsockopt", "getsockname",
    "getpeername", "socketpair",
    // Memory
    "brk", "mmap", "mmap2", "munmap", "mprotect", "mremap", "madvise", "futex",
    "futex_time64",
    // Time, randomness, signals to itself, its end
    "clock_gettime", "clock_gettime64", "gettimeofday", "time", "alarm",
    "setitimer", "getrandom", "getpid", "getppid", "gettid", "rt_sigaction",
    "rt_sigprocmask", "rt_sigreturn", "sigaltstack", "restart_syscall",
    "sched_yield", "exit", "exit_group"};

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

int Allow(const Filter& filter, const char* name) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number == __NR_SCMP_ERROR) return 0;
  return seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, number, 0);
}

void Warn(const std::string& what, int error) {
  Log(Severity::kWarning, what + ": " + std::generic_category().message(error));
}

void Limit(__rlimit_resource resource, rlim_t most) {
  const rlimit limit{most, most};
  if (setrlimit(resource, &limit) != 0) Warn("no resource limit", errno);
}

}  // namespace

void DropPrivileges() {
  if (geteuid() == 0 && (setgroups(0, nullptr) != 0 ||
                         setresgid(kNobody, kNobody, kNobody) != 0 ||
                         setresuid(kNobody, kNobody, kNobody) != 0)) {
    Warn("the processes of clients stay those of root", errno);
  }
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
    Warn("new privileges cannot be ruled out", errno);
  }
  Limit(RLIMIT_CORE, 0);
  Limit(RLIMIT_NOFILE, kMaxFiles);
}

void AllowOnlyRelaying() {
  const Filter filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release);
  int error = filter == nullptr ? -ENOMEM : 0;
  for (const char* name : kCalls) {
    if (error == 0) error = Allow(filter, name);
  }
#ifdef IPAV_SANITIZED
  // The sanitizers write to a pipe to find out whether memory can be read.
  for (const char* name : {"pipe", "pipe2"}) {
    if (error == 0) error = Allow(filter, name);
  }
#endif
  if (error == 0) error = seccomp_load(filter.get());
  if (error != 0) Warn("a client's process is not confined", -error);
}

}  // namespace ipav::transport
