#include "cli/progress_line.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cstdio>

namespace ipav::cli {

namespace {

// Moves to the start of the line and erases it.
constexpr char kClearLine[] = "\r\x1b[K";

}  // namespace

ProgressLine::ProgressLine(bool is_wanted)
    : is_shown_(is_wanted && isatty(STDERR_FILENO) == 1) {}

void ProgressLine::Show(const std::function<std::string()>& text) {
  constexpr std::chrono::milliseconds kBetweenDrawings{100};
  const Clock::time_point now = Clock::now();
  if (!is_shown_ || (is_drawn_ && now - drawn_ < kBetweenDrawings)) return;
  fmt::print(stderr, "{}{}", kClearLine, text());
  static_cast<void>(std::fflush(stderr));
  drawn_ = now;
  is_drawn_ = true;
}

void ProgressLine::Clear() {
  if (!is_drawn_) return;
  fmt::print(stderr, "{}", kClearLine);
  static_cast<void>(std::fflush(stderr));
  is_drawn_ = false;
}

}  // namespace ipav::cli
