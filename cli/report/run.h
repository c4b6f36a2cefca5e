// The parts of a report about its run, besides the devices.
#ifndef IPAV_CLI_REPORT_RUN_H_
#define IPAV_CLI_REPORT_RUN_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <optional>
#include <string>

#include "cli/exit_status.h"

namespace ipav::cli::report {

// How many devices ended with each status, and the exit status for all.
class Summary {
 public:
  void Add(ExitStatus status, std::size_t devices = 1) {
    devices_.at(static_cast<std::size_t>(status)) += devices;
    if (devices > 0) Raise(status);
  }
  // For errors that do not belong to a device.
  void Raise(ExitStatus status) { worst_ = std::max(worst_, status); }

  std::size_t Of(ExitStatus status) const {
    return devices_.at(static_cast<std::size_t>(status));
  }
  std::size_t devices() const {
    return std::accumulate(devices_.begin(), devices_.end(), std::size_t{0});
  }
  ExitStatus worst_status() const { return worst_; }

 private:
  std::array<std::size_t, kPluginFailed + 1> devices_{};
  ExitStatus worst_ = kAccepted;
};

// A part of a list of devices: every `of`-th, starting with the `number`-th.
struct Shard {
  std::size_t number = 1;  // from 1
  std::size_t of = 1;
};

struct Run {
  Summary summary;  // of all devices, also those not listed
  std::optional<Shard> shard;
  std::size_t list_size = 0;  // number of devices of all shards
};

// "4 devices: ", after "shard 1 of 4 of 12 devices, " if the run is a shard.
std::string DevicesInWords(const Run& run, std::size_t devices);

// "4 devices: 1 accepted, 2 refused, 0 bad input, 1 failed", after the
// shard if the run is one.
std::string InWords(const Run& run);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_RUN_H_
