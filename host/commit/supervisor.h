// The supervisor is a process between the host and the children that run
// foreign code, one at a time. It kills a child and every process that the
// child made when the child ends, when its time is over, and when the host ends
// or is killed. Then the supervisor itself ends.
//
// A thread or a signal handler of the host could not do this: they do not run
// when the host is killed. The system closes the host's end of the connection
// when the host ends.
#ifndef IPAV_HOST_COMMIT_SUPERVISOR_H_
#define IPAV_HOST_COMMIT_SUPERVISOR_H_

#include <functional>
#include <string>

#include "host/base/time_limit.h"

namespace ipav::commit {

// How the child ended. Sent over a socket as it is in memory: both ends are the
// same program. Members of one size leave no padding.
struct ChildEnd {
  int error;        // errno if fork(2) failed, else 0
  int wait_status;  // as of waitpid(2)
  int timed_out;    // 1: killed because its time was over
};

// What the supervisor runs.
struct Supervised {
  // In a child for each request, which ends when it returns.
  std::function<void(const std::string& request)> body;
  // Once, in the supervisor, after a child that ended with status 0. What it
  // makes is there for the children after that. May be null.
  std::function<void()> warm_up;
};

// Makes a process that was just forked the supervisor. It takes requests from
// `control`, a connected stream socket, until the other end is closed, which
// also kills the child. When no process of a child is left, it answers with a
// ChildEnd.
[[noreturn]] void BecomeSupervisor(int control,
                                   const Supervised& supervised) noexcept;

// The host's part: sends a request to the supervisor. The child is killed after
// `limit`. If the supervisor has ended, nothing is sent.
void SendRequest(int control, const std::string& request,
                 base::TimeLimit limit);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_SUPERVISOR_H_
