// The supervisor is a process between the host and the child that runs foreign
// code. It kills the child and every process that the child made when the child
// ends, when its time is over, and when the host ends or is killed. Then the
// supervisor itself ends.
//
// A thread or a signal handler of the host could not do this: they do not run
// when the host is killed. The host holds the write end of a pipe, the
// lifeline, which the system closes when the host ends.
#ifndef IPAV_HOST_COMMIT_SUPERVISOR_H_
#define IPAV_HOST_COMMIT_SUPERVISOR_H_

#include <functional>

#include "host/base/time_limit.h"

namespace ipav::commit {

// How the child ended. Sent over a pipe as it is in memory: both ends are the
// same program. Members of one size leave no padding.
struct ChildEnd {
  int error;        // errno if fork(2) failed, else 0
  int wait_status;  // as of waitpid(2)
  int timed_out;    // 1: killed because its time was over
};

// Makes a process that was just forked the supervisor. `body` runs in a child
// of it, which ends when `body` returns. `lifeline` is the read end of a pipe
// that nobody writes to: the child is killed when the other end is closed. When
// no process but the supervisor is left, it writes a ChildEnd to `end`.
[[noreturn]] void BecomeSupervisor(int lifeline, int end, base::TimeLimit limit,
                                   const std::function<void()>& body) noexcept;

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_SUPERVISOR_H_
