// How many devices ended how, and what the program's end tells of them all.
#ifndef IPAV_CLI_REPORT_SUMMARY_H_
#define IPAV_CLI_REPORT_SUMMARY_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <string>

#include "cli/exit_status.h"

namespace ipav::cli::report {

class Summary {
 public:
  void Add(ExitStatus status, std::size_t devices = 1) {
    devices_.at(static_cast<std::size_t>(status)) += devices;
    if (devices > 0) Raise(status);
  }
  // For what is wrong beside the devices.
  void Raise(ExitStatus status) { gravest_ = std::max(gravest_, status); }

  std::size_t Of(ExitStatus status) const {
    return devices_.at(static_cast<std::size_t>(status));
  }
  std::size_t devices() const {
    return std::accumulate(devices_.begin(), devices_.end(), std::size_t{0});
  }
  ExitStatus gravest() const { return gravest_; }

 private:
  std::array<std::size_t, kPluginFailed + 1> devices_{};
  ExitStatus gravest_ = kAccepted;
};

// "4 devices: 1 accepted, 2 refused, 0 bad input, 1 failed"
std::string InWords(const Summary& summary);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_SUMMARY_H_
