#include "report/summary.h"

#include <fmt/core.h>

namespace ipav::cli::report {

std::string InWords(const Summary& summary) {
  return fmt::format(
      "{} device{}: {} accepted, {} refused, {} bad input, {} failed",
      summary.devices(), summary.devices() == 1 ? "" : "s",
      summary.Of(kAccepted), summary.Of(kRefused), summary.Of(kBadInput),
      summary.Of(kPluginFailed));
}

}  // namespace ipav::cli::report
