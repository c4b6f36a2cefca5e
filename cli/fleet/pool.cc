#include "cli/fleet/pool.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>

extern "C" {
#include <sys/pidfd.h>  // glibc 2.36 has no extern "C" in it
}

namespace ipav::cli::fleet {

namespace {

using base::FileDescriptor;

// How many results, and bytes of them, may wait for a slower job.
constexpr std::size_t kMaxResults = 1024;
constexpr std::size_t kMaxHeld = std::size_t{64} << 20;

constexpr int kTick = 100;  // milliseconds between two calls of OnWait()

std::system_error SystemError(const char* call) {
  return {errno, std::generic_category(), call};
}

}  // namespace

void Sender::Send(const std::string& text) const {
  static_cast<void>(base::WriteAll(fd_, text));  // the pool may be gone
}

Pool::Pool(std::size_t count, const PoolOptions& options, Job job,
           Listener* listener)
    : count_(count),
      options_(options),
      job_(std::move(job)),
      listener_(listener) {
  // If the parent process ignored SIGCHLD, waitpid() would have no status.
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
}

Pool::~Pool() {
  for (const Worker& worker : workers_) kill(worker.process, SIGKILL);
  for (const Worker& worker : workers_) {
    while (waitpid(worker.process, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
}

Pool::Result Pool::Next() {
  while (results_.count(next_) == 0) {
    StartMore();
    Wait();
  }
  auto entry = results_.extract(next_++);
  held_ -= entry.mapped().text.size();
  Result result = std::move(entry.mapped());
  return result;
}

// There is always room for the result that Next() waits for.
bool Pool::HasRoom() const {
  return started_ == next_ ||
         (started_ - next_ < kMaxResults && held_ < kMaxHeld);
}

void Pool::StartMore() {
  while (started_ < count_ && workers_.size() < options_.jobs && HasRoom()) {
    if (!Start(started_)) return;
    ++started_;
  }
}

// False when there are no resources for a pipe or process until a job ends.
bool Pool::Start(std::size_t number) {
  std::array<int, 2> ends{};
  const bool has_pipe = pipe2(ends.data(), O_CLOEXEC) == 0;
  if (!has_pipe && !workers_.empty()) return false;
  if (!has_pipe) throw SystemError("pipe");
  FileDescriptor read_end(ends[0]);
  FileDescriptor write_end(ends[1]);
  fcntl(read_end.get(), F_SETFL, O_NONBLOCK);
  // The child would print the content of unflushed buffers a second time.
  static_cast<void>(std::fflush(nullptr));
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0 && !workers_.empty()) return false;
  if (process < 0) throw SystemError("fork");
  if (process == 0) RunJob(number, write_end.get(), parent);

  write_end.Close();  // frees a descriptor for pidfd_open()
  FileDescriptor end(pidfd_open(process, 0));
  const int error = errno;
  workers_.push_back({number,
                      process,
                      std::move(read_end),
                      std::move(end),
                      base::Countdown(options_.limit),
                      {}});
  if (workers_.back().end.get() < 0) {
    throw std::system_error(error, std::generic_category(), "pidfd_open");
  }
  return true;
}

void Pool::RunJob(std::size_t number, int write_end, pid_t parent) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // the parent ended before prctl()
  workers_.clear();                   // closes the pipes of other jobs
  _exit(job_(number, Sender(write_end)));
}

std::vector<pollfd> Pool::PollFds() const {
  std::vector<pollfd> fds;
  for (const Worker& worker : workers_) {
    const int pipe = worker.is_pipe_open ? worker.pipe.get() : -1;
    fds.push_back({pipe, POLLIN, 0});
    fds.push_back({worker.end.get(), POLLIN, 0});
  }
  return fds;
}

// Milliseconds until the next time limit or tick.
int Pool::PollTimeout() const {
  int timeout = kTick;
  for (const Worker& worker : workers_) {
    const int left = worker.countdown.ForPoll();
    if (left >= 0 && !worker.result.timed_out) {
      timeout = std::min(timeout, left);
    }
  }
  return timeout;
}

void Pool::Wait() {
  std::vector<pollfd> fds = PollFds();
  const int ready = poll(fds.data(), fds.size(), PollTimeout());
  if (ready < 0 && errno != EINTR) throw SystemError("poll");
  auto entry = fds.begin();
  for (auto worker = workers_.begin(); worker != workers_.end();) {
    const bool has_sent = ready > 0 && (entry++)->revents != 0;
    const bool has_ended = ready > 0 && (entry++)->revents != 0;
    if (has_sent || has_ended) Receive(&*worker);
    KillIfLate(&*worker);
    if (has_ended) Finish(&*worker);
    worker = has_ended ? workers_.erase(worker) : std::next(worker);
  }
  listener_->OnWait();
}

// Reads all that is in the pipe now.
void Pool::Receive(Worker* worker) {
  std::array<char, 65536> buffer{};
  ssize_t count = 0;
  do {
    count = read(worker->pipe.get(), buffer.data(), buffer.size());
    if (count > 0) {
      worker->result.text.append(buffer.data(),
                                 static_cast<std::size_t>(count));
    }
  } while (count > 0 || (count < 0 && errno == EINTR));
  if (count == 0) worker->is_pipe_open = false;
}

void Pool::KillIfLate(Worker* worker) const {
  if (worker->result.timed_out || worker->countdown.ForPoll() != 0) return;
  worker->result.timed_out = true;
  kill(worker->process, SIGKILL);
}

void Pool::Finish(Worker* worker) {
  Result& result = worker->result;
  while (waitpid(worker->process, &result.wait_status, 0) < 0 &&
         errno == EINTR) {
  }
  held_ += result.text.size();
  listener_->OnEnd(result.wait_status);
  results_.emplace(worker->number, std::move(result));
}

}  // namespace ipav::cli::fleet
