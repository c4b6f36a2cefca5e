#include "cli/check/trace.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <ratio>
#include <system_error>

#include "host/base/stopwatch.h"
#include "host/base/utf8.h"

namespace ipav::cli::check {

namespace {

// Blocks SIGPIPE while it lives: a closed pipe would kill the process, which
// would look like a crash of the plug-in. Restores the signal mask.
class BrokenPipeIgnored {
 public:
  BrokenPipeIgnored() {
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signal_, &before_);
  }
  ~BrokenPipeIgnored() {
    const timespec at_once{};
    if (broken_) sigtimedwait(&signal_, nullptr, &at_once);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  BrokenPipeIgnored(const BrokenPipeIgnored&) = delete;
  BrokenPipeIgnored& operator=(const BrokenPipeIgnored&) = delete;

  void set_broken() { broken_ = true; }

 private:
  sigset_t signal_{};
  sigset_t before_{};
  bool broken_ = false;
};

}  // namespace

TraceWriter::TraceWriter()
    : output_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  if (output_.get() < 0) {
    throw std::system_error(errno, std::generic_category(), "standard error");
  }
}

void TraceWriter::BeginFile(const std::string& file) {
  depth_ = 1;
  is_open_ = false;
  Write("trace of " + base::Printable(file));
}

void TraceWriter::EndFile() { Write("\n"); }

void TraceWriter::Begin(const std::string& what) {
  Write(NewLine() + what);
  ++depth_;
  is_open_ = true;
}

void TraceWriter::End(const std::string& answer,
                      std::chrono::nanoseconds time) {
  std::string text = is_open_ ? " " : NewLine();
  --depth_;
  is_open_ = false;
  if (!answer.empty()) text += "= " + answer + " ";
  Write(text + fmt::format("<{:.1f} us>", base::In<std::micro>(time)));
}

void TraceWriter::Note(const std::string& what) {
  Write(NewLine() + what);
  is_open_ = false;
}

std::string TraceWriter::NewLine() const {
  return "\n" + std::string(2 * depth_, ' ');
}

void TraceWriter::Write(const std::string& text) const {
  BrokenPipeIgnored ignored;
  if (!base::WriteAll(output_.get(), text) && errno == EPIPE) {
    ignored.set_broken();
  }
}

}  // namespace ipav::cli::check
