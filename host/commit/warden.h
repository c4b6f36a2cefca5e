// The process between the host and the child that runs foreign code. Whatever
// becomes of the host or of the child, it ends the child and every process that
// the child made, and then itself.
//
// It is no thread and no signal handler of the host, since a host that is
// killed runs neither: the host holds it on a leash, a pipe that the system
// lets go of when the host is gone.
#ifndef IPAV_HOST_COMMIT_WARDEN_H_
#define IPAV_HOST_COMMIT_WARDEN_H_

#include <functional>

#include "host/base/time_limit.h"

namespace ipav::commit {

// How the child ended, in one piece over a pipe: both ends are one program.
// Numbers of one size leave no gaps, whose bytes would be anything.
struct ChildEnd {
  int error;        // errno where no child could be made, else 0
  int wait_status;  // as of waitpid(2)
  int timed_out;    // 1: it was killed since its time was over
};

// The rest of a process just forked. `body` runs in a child of its own, which
// ends with it. `leash` is the end to read from of a pipe that nobody writes
// to; the child is killed when its other end is closed, and when its time is
// over. A ChildEnd goes to `end` when no process is left but this one.
[[noreturn]] void BecomeWarden(int leash, int end, base::TimeLimit limit,
                               const std::function<void()>& body) noexcept;

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_WARDEN_H_
