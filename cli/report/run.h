// What a report says of the run behind it, beside its devices.
#ifndef IPAV_CLI_REPORT_RUN_H_
#define IPAV_CLI_REPORT_RUN_H_

#include <cstddef>
#include <optional>
#include <string>

#include "cli/report/summary.h"

namespace ipav::cli::report {

// A part of a list of devices: every `of`-th, from the `number`-th on.
struct Shard {
  std::size_t number = 1;  // from 1
  std::size_t of = 1;
};

struct Run {
  Summary summary;  // of all devices, also those that nobody wants to see
  std::optional<Shard> shard;
  std::size_t list_size = 0;  // devices of all shards together
};

// Its summary, and whose it is.
std::string InWords(const Run& run);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_RUN_H_
