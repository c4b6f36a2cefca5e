// A child process that runs foreign code, so that whatever happens to it is a
// report and not the end of the host.
#ifndef IPAV_HOST_COMMIT_CHILD_H_
#define IPAV_HOST_COMMIT_CHILD_H_

#include <functional>
#include <string>
#include <vector>

namespace ipav::commit {

// One message of the child: what it is about, and texts of any bytes.
struct Message {
  char kind;
  std::vector<std::string> texts;
};

// The child's end of the line. Each message is with the parent when Send()
// returns, whatever becomes of the child afterwards.
class Reporter {
 public:
  explicit Reporter(int fd) : fd_(fd) {}
  void Send(const Message& message) const;

 private:
  int fd_;
};

struct ChildReport {
  std::vector<Message> messages;  // whole ones, in order
  std::string output;             // standard output and standard error
  int wait_status;                // as of waitpid(2)
};

// Forks, runs `body` in the child and waits for its end. The child exits with
// status 0 when `body` returns; it leaves no core file, and dies with its
// parent. Throws std::system_error when no child can be made.
ChildReport RunInChild(const std::function<void(const Reporter&)>& body);

}  // namespace ipav::commit

#endif  // IPAV_HOST_COMMIT_CHILD_H_
