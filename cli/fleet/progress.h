// Shows the progress of a fleet in one line of the terminal, which is redrawn.
#ifndef IPAV_CLI_FLEET_PROGRESS_H_
#define IPAV_CLI_FLEET_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "cli/fleet/pool.h"
#include "cli/progress_line.h"
#include "cli/report/run.h"

namespace ipav::cli::fleet {

class Progress : public Pool::Listener {
 public:
  // On standard error, if that is a terminal and `is_wanted`. `what` is the
  // plural of what the jobs make: "devices". It is borrowed.
  Progress(std::size_t count, const char* what, bool is_wanted);

  void OnEnd(int wait_status) override;
  void OnWait() override;

  // Removes the line, because the report may go to the same terminal.
  void Clear() { line_.Clear(); }

 private:
  using Clock = std::chrono::steady_clock;

  // "312 of 1000 devices, 4 refused, 52 per second, 13 s left"
  std::string InWords(std::chrono::duration<double> passed) const;

  const std::size_t count_;
  const char* const what_;
  const Clock::time_point start_ = Clock::now();
  ProgressLine line_;
  report::Summary ended_;
};

}  // namespace ipav::cli::fleet

#endif  // IPAV_CLI_FLEET_PROGRESS_H_
