#include "cli/report/run.h"

#include <fmt/core.h>

namespace ipav::cli::report {

std::string DevicesInWords(const Run& run, std::size_t devices) {
  std::string text;
  if (run.shard) {
    text = fmt::format("shard {} of {} of {} devices, ", run.shard->number,
                       run.shard->of, run.list_size);
  }
  return text + fmt::format("{} device{}: ", devices, devices == 1 ? "" : "s");
}

std::string InWords(const Run& run) {
  const Summary& summary = run.summary;
  return DevicesInWords(run, summary.devices()) +
         fmt::format("{} accepted, {} refused, {} bad input, {} failed",
                     summary.Of(kAccepted), summary.Of(kRefused),
                     summary.Of(kBadInput), summary.Of(kPluginFailed));
}

}  // namespace ipav::cli::report
