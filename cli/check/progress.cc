#include "cli/check/progress.h"

#include <fmt/core.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace ipav::cli::check {

namespace {

// Moves to the start of the line and erases it.
constexpr char kClearLine[] = "\r\x1b[K";

ExitStatus StatusOf(int wait_status) {
  if (!WIFEXITED(wait_status)) return kPluginFailed;
  const int status = WEXITSTATUS(wait_status);
  return status > kPluginFailed ? kPluginFailed
                                : static_cast<ExitStatus>(status);
}

}  // namespace

Progress::Progress(std::size_t count, const char* what, bool is_wanted)
    : count_(count),
      what_(what),
      is_shown_(is_wanted && isatty(STDERR_FILENO) == 1) {}

std::string Progress::InWords(std::chrono::duration<double> passed) const {
  const std::size_t done = ended_.devices();
  std::string text = fmt::format("{} of {} {}, {} refused", done, count_, what_,
                                 ended_.Of(kRefused));
  const std::size_t failed = ended_.Of(kBadInput) + ended_.Of(kPluginFailed);
  if (failed > 0) text += fmt::format(", {} not judged", failed);
  if (done == 0 || passed.count() <= 0) return text;
  const double rate = static_cast<double>(done) / passed.count();
  const double left = static_cast<double>(count_ - done) / rate;
  return text + fmt::format(", {:.3g} per second, {:.0f} s left", rate,
                            std::ceil(left));
}

void Progress::OnEnd(int wait_status) { ended_.Add(StatusOf(wait_status)); }

void Progress::OnWait() {
  constexpr std::chrono::milliseconds kBetweenDrawings{100};
  const Clock::time_point now = Clock::now();
  if (!is_shown_ || (is_drawn_ && now - drawn_ < kBetweenDrawings)) return;
  fmt::print(stderr, "{}{}", kClearLine, InWords(now - start_));
  static_cast<void>(std::fflush(stderr));
  drawn_ = now;
  is_drawn_ = true;
}

void Progress::Clear() {
  if (!is_drawn_) return;
  fmt::print(stderr, "{}", kClearLine);
  static_cast<void>(std::fflush(stderr));
  is_drawn_ = false;
}

}  // namespace ipav::cli::check
