#include "cli/reading.h"

#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <utility>

#include "cli/exit_status.h"
#include "host/base/utf8.h"

namespace ipav::cli {

namespace {

// Set before the timer starts: a signal handler may neither allocate nor print.
FinalOutput& Output() {
  static auto& output = *new FinalOutput;
  return output;
}
const FinalOutput* g_output = nullptr;

extern "C" void EndReading(int /*signal*/) {
  // A failed write changes nothing. Not exit(): its destructors would free what
  // the interrupted reader still uses.
  static_cast<void>(
      write(g_output->fd, g_output->bytes.data(), g_output->bytes.size()) == 0);
  _exit(kBadInput);
}

void SetTimer(base::TimeLimit limit) {
  using std::chrono::microseconds;
  using std::chrono::seconds;
  const auto whole = std::chrono::duration_cast<seconds>(limit);
  itimerval timer{};
  timer.it_value.tv_sec = whole.count();
  timer.it_value.tv_usec = microseconds(limit - whole).count();
  setitimer(ITIMER_REAL, &timer, nullptr);
}

// The parent process may have blocked the signal.
void Unblock(int signal) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, signal);
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

std::string NotReadWithin(const std::string& file, base::TimeLimit limit) {
  return file + ": not read within " + base::InWords(limit);
}

ReadingTime::ReadingTime(const std::string& file, base::TimeLimit limit)
    : ReadingTime(
          limit,
          {STDERR_FILENO,
           "ipav: " + base::Printable(NotReadWithin(file, limit)) + "\n"}) {}

ReadingTime::ReadingTime(base::TimeLimit limit, FinalOutput output)
    : is_limited_(limit != base::kNoTimeLimit) {
  if (!is_limited_) return;
  Output() = std::move(output);
  g_output = &Output();
  struct sigaction action {};
  action.sa_handler = EndReading;
  sigaction(SIGALRM, &action, &before_);
  Unblock(SIGALRM);
  SetTimer(limit);
}

ReadingTime::~ReadingTime() {
  if (!is_limited_) return;
  SetTimer(base::kNoTimeLimit);
  sigaction(SIGALRM, &before_, nullptr);
}

datastore::DataTree ReadTree(const datastore::Model& model,
                             const std::string& file,
                             const ReadingLimits& limits) {
  const ReadingTime time(file, limits.time);
  return datastore::DataTree::FromFile(model, file, limits.size);
}

}  // namespace ipav::cli
