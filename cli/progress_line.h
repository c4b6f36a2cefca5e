// One line of a terminal that shows progress and is redrawn.
#ifndef IPAV_CLI_PROGRESS_LINE_H_
#define IPAV_CLI_PROGRESS_LINE_H_

#include <chrono>
#include <functional>
#include <string>

namespace ipav::cli {

class ProgressLine {
 public:
  // On standard error, if that is a terminal and `is_wanted`.
  explicit ProgressLine(bool is_wanted);
  ~ProgressLine() { Clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Draws the text, if the last one was drawn some time ago.
  void Show(const std::function<std::string()>& text);

  // Removes the line, because other output may go to the same terminal.
  void Clear();

 private:
  using Clock = std::chrono::steady_clock;

  const bool is_shown_;
  Clock::time_point drawn_;
  bool is_drawn_ = false;
};

}  // namespace ipav::cli

#endif  // IPAV_CLI_PROGRESS_LINE_H_
