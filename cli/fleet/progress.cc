#include "cli/fleet/progress.h"

#include <fmt/core.h>
#include <sys/wait.h>

#include <cmath>

namespace ipav::cli::fleet {

namespace {

ExitStatus StatusOf(int wait_status) {
  if (!WIFEXITED(wait_status)) return kPluginFailed;
  const int status = WEXITSTATUS(wait_status);
  return status > kPluginFailed ? kPluginFailed
                                : static_cast<ExitStatus>(status);
}

}  // namespace

Progress::Progress(std::size_t count, const char* what, bool is_wanted)
    : count_(count), what_(what), line_(is_wanted) {}

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
  line_.Show([&] { return InWords(Clock::now() - start_); });
}

}  // namespace ipav::cli::fleet
