#include "ipavd/transport/confinement.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <vector>

namespace ipav::transport {
namespace {

// The exit status of a process that runs a body.
int StatusOf(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

// What a client that has taken over its relay would try.
const std::vector<std::function<long()>>& Attempts() {
  static const std::vector<std::function<long()>> kAttempts = {
      [] { return open("/dev/null", O_RDONLY); },
      [] { return unlink("/nothing"); },
      [] { return chmod("/dev/null", 0666); },
      [] { return socket(AF_INET, SOCK_STREAM, 0); },
      [] { return fork(); },
      [] { return execl("/bin/true", "true", nullptr); },
      [] { return kill(getppid(), 0); },
      [] { return ptrace(PTRACE_SEIZE, getppid(), nullptr, nullptr); },
      [] { return prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); },
      [] { return prctl(PR_SET_PDEATHSIG, 0, 0, 0, 0); }};
  return kAttempts;
}

TEST(ConfinementTest, LeavesARelayItsFilesAndMemoryAlone) {
  EXPECT_EQ(StatusOf([] {
              AllowOnlyRelaying();
              int number = 1;
              for (const auto& attempt : Attempts()) {
                if (attempt() != -1 || errno != EPERM) return number;
                ++number;
              }
              std::array<int, 2> ends{};
              char byte = 'x';
              const bool works =
                  socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0 &&
                  write(ends[0], &byte, 1) == 1 && read(ends[1], &byte, 1) == 1;
              return works ? 0 : number;
            }),
            0);
}

TEST(ConfinementTest, DropsWhatTheAcceptorDoesNotNeed) {
  EXPECT_EQ(StatusOf([] {
              const bool is_root = geteuid() == 0;
              DropPrivileges();
              if (is_root && (geteuid() != 65534 || getegid() != 65534 ||
                              getgroups(0, nullptr) != 0)) {
                return 1;
              }
              if (is_root && setuid(0) == 0) return 2;
              if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1) return 3;
              rlimit core{};
              if (getrlimit(RLIMIT_CORE, &core) != 0) return 4;
              return core.rlim_max == 0 ? 0 : 5;
            }),
            0);
}

}  // namespace
}  // namespace ipav::transport
