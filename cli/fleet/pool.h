// Runs numbered jobs, each in its own process, several at a time, and returns
// their results in order.
#ifndef IPAV_CLI_FLEET_POOL_H_
#define IPAV_CLI_FLEET_POOL_H_

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/base/file_descriptor.h"
#include "host/base/time_limit.h"

namespace ipav::cli::fleet {

// The write end of a process's pipe to the pool. When Send() returns, the pool
// can read the text even if the process dies.
class Sender {
 public:
  explicit Sender(int fd) : fd_(fd) {}
  void Send(const std::string& text) const;
  int fd() const { return fd_; }

 private:
  int fd_;
};

struct PoolOptions {
  std::size_t jobs = 1;  // at a time
  // For each job. A job that takes longer is killed.
  base::TimeLimit limit = base::kNoTimeLimit;
};

class Pool {
 public:
  // Runs in the process; what it returns is the process's exit status.
  using Job = std::function<int(std::size_t number, const Sender& sender)>;

  struct Result {
    std::string text;     // all that was sent
    int wait_status = 0;  // as of waitpid(2)
    bool timed_out = false;
  };

  // Receives the progress of the jobs.
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual void OnEnd(int wait_status) = 0;  // of a job, in any order
    virtual void OnWait() = 0;                // at least ten times a second
  };

  // Numbers run from 0 to below `count`. The listener is borrowed.
  Pool(std::size_t count, const PoolOptions& options, Job job,
       Listener* listener);
  ~Pool();  // kills the processes that still run
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  // Returns the result of job 0, then of job 1, and so on; later jobs run
  // meanwhile, as far as there is room for their results. To be called `count`
  // times. The jobs' processes are killed when this process ends. Throws
  // std::system_error when no process can be created.
  Result Next();

 private:
  struct Worker {
    std::size_t number;
    pid_t process;
    base::FileDescriptor pipe;
    base::FileDescriptor end;  // readable when the process has ended
    base::Countdown countdown;
    Result result;
    bool is_pipe_open = true;
  };

  bool HasRoom() const;
  void StartMore();
  bool Start(std::size_t number);
  [[noreturn]] void RunJob(std::size_t number, int write_end,
                           pid_t parent) noexcept;
  std::vector<pollfd> PollFds() const;
  int PollTimeout() const;
  void Wait();
  void Receive(Worker* worker);
  void KillIfLate(Worker* worker) const;
  void Finish(Worker* worker);

  const std::size_t count_;
  const PoolOptions options_;
  const Job job_;
  Listener* const listener_;
  std::list<Worker> workers_;
  std::size_t next_ = 0;                   // number of the next result
  std::size_t started_ = 0;                // number of the next job to start
  std::map<std::size_t, Result> results_;  // not yet returned
  std::size_t held_ = 0;                   // bytes in results_
};

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_POOL_H_
