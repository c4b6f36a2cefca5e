#include "cli/report/run.h"

#include <fmt/core.h>

namespace ipav::cli::report {

std::string InWords(const Run& run) {
  const Summary& summary = run.summary;
  std::string text = fmt::format(
      "{} device{}: {} accepted, {} refused, {} bad input, {} failed",
      summary.devices(), summary.devices() == 1 ? "" : "s",
      summary.Of(kAccepted), summary.Of(kRefused), summary.Of(kBadInput),
      summary.Of(kPluginFailed));
  if (!run.shard) return text;
  return fmt::format("shard {} of {} of {} devices, {}", run.shard->number,
                     run.shard->of, run.list_size, text);
}

}  // namespace ipav::cli::report
