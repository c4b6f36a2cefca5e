// Runs foreign code in a child process, so that a crash there is reported and
// does not end the host.
#ifndef IPAV_HOST_COMMIT_CHILD_H_
#define IPAV_HOST_COMMIT_CHILD_H_

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "host/base/file_descriptor.h"
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

  // The message has reached the parent when this returns, even if the child
  // crashes afterwards.
  void Send(const Message& message) const;
  // The same with several messages, at once.
  void SendAll(const std::vector<Message>& messages) const;

 private:
  int fd_;
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

// A process that forks a child for each request. The child begins with all that
// the host had at the first request, so that nothing need be sent but the
// request. It writes no core file and reads nothing from standard input. The
// processes that it makes are killed when it ends, and all of them when the
// host ends. It keeps the host's files open.
class ForkServer {
 public:
  // Runs in a child for each request, which exits with status 0 when it
  // returns.
  using Body =
      std::function<void(const std::string& request, const Reporter& reporter)>;

  // `warm_up`, if given, runs once in the server, after a child that has ended
  // with status 0: what was harmless there is done once for all later children.
  explicit ForkServer(Body body, std::function<void()> warm_up = nullptr);
  ~ForkServer();
  ForkServer(const ForkServer&) = delete;
  ForkServer& operator=(const ForkServer&) = delete;

  // Waits until the child ends. It is killed after `limit`. If the server has
  // ended, the next call starts another one. One call at a time in a process,
  // whatever its threads. Throws std::system_error if fork(2) fails.
  ChildReport Run(const std::string& request,
                  base::TimeLimit limit = base::kNoTimeLimit);

 private:
  struct Received;

  void Start();
  int Stop();
  Received Receive(base::TimeLimit limit);

  const Body body_;
  const std::function<void()> warm_up_;
  pid_t server_ = -1;              // -1: none runs
  base::FileDescriptor control_;   // requests, and how their children ended
  base::FileDescriptor messages_;  // read ends of pipes
  base::FileDescriptor output_;
};

// Runs `body` in a child of its own, with a server of its own.
ChildReport RunInChild(const std::function<void(const Reporter&)>& body,
                       base::TimeLimit limit = base::kNoTimeLimit);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_CHILD_H_
