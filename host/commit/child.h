// Runs foreign code in a child process, so that a crash there is reported and
// does not end the host.
#ifndef IPAV_HOST_COMMIT_CHILD_H_
#define IPAV_HOST_COMMIT_CHILD_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "host/base/time_limit.h"

namespace ipav::commit {

// One message of the child: what it is about, and texts of any bytes.
struct Message {
  char kind;
  std::vector<std::string> texts;
};

// The child's end of the pipe for messages.
class Reporter {
 public:
  explicit Reporter(int fd) : fd_(fd) {}

  // Sends the held messages and then this one. They have reached the parent
  // when this returns, even if the child crashes afterwards.
  void Send(const Message& message) const;

  // Keeps the message for the next Send(), because every write wakes the
  // parent. No foreign code may run before that Send().
  void Hold(const Message& message) const;

 private:
  int fd_;
  mutable std::string held_;
};

// The limits on one child's output and messages, so that a child that writes
// without end does not use all memory.
constexpr std::size_t kMaxOutput = std::size_t{64} << 20;
constexpr std::size_t kMaxMessages = std::size_t{256} << 20;

// Why the child was killed.
enum class Stopped {
  kNot,
  kTimeLimit,
  kOutputLimit,  // its output or messages exceeded the limit
};

struct ChildReport {
  std::vector<Message> messages;  // whole ones, in order
  std::string output;             // standard output and standard error
  int wait_status;                // as of waitpid(2)
  Stopped stopped;
};

// Forks, runs `body` in the child and waits until the child ends. It is killed
// after `limit`. It exits with status 0 when `body` returns. It writes no core
// file and reads nothing from standard input. The processes that it makes are
// killed when it ends, and all of them when the host ends. One call at a time
// in a process, whatever its threads. Throws std::system_error if fork(2)
// fails.
ChildReport RunInChild(const std::function<void(const Reporter&)>& body,
                       base::TimeLimit limit = base::kNoTimeLimit);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_CHILD_H_
