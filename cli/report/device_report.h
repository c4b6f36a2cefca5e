// The report on one device, before it is written in any format.
#ifndef IPAV_CLI_REPORT_DEVICE_REPORT_H_
#define IPAV_CLI_REPORT_DEVICE_REPORT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "host/base/stopwatch.h"
#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "messages/finding.h"
#include "messages/restart_faults.h"

namespace ipav::cli::report {

// The times before the commit; those of the commit are in its outcome.
struct Times {
  datastore::ReadingTimes candidate;
  // If several devices share it, this is its only reading.
  std::optional<datastore::ReadingTimes> running;
  base::Duration diff{};
};

// How the device judges the candidate when it loads it after a restart.
struct Restart {
  // Without a running configuration, the change is the restart: the rest is
  // empty.
  bool is_change = false;
  std::size_t planned = 0;  // calls
  std::size_t made = 0;
  messages::RestartFaults faults;
  base::Duration time{};  // of both lives of the plug-in and the comparison
};

struct DeviceReport {
  std::size_t number = 0;  // in the list of all devices, from 1; 0: in none
  std::string running;     // file; empty: no running configuration
  std::string candidate;   // file
  ExitStatus status = kAccepted;
  // At least one if the status is kBadInput. Each is FILE:LINE:COLUMN: reason.
  std::vector<std::string> input_errors;
  commit::Outcome outcome;  // of all others
  // Refusals, in their order. Those that hide behind one follow it.
  std::vector<messages::Finding> findings;
  std::string more_findings;       // why there are more, or may be; else empty
  std::optional<Restart> restart;  // if it is judged, and judged whole
  // What the program, not the plug-in, advises. One line each.
  std::vector<std::string> advice;
  // For the HTML page, made while both configurations are in memory. Empty if
  // no page is wanted, or if there was no commit.
  std::string page_section;
  // If times are wanted: from reading to verdict, and its parts if there was a
  // commit.
  double seconds = 0;
  std::optional<Times> times;
};

// The status of a device by what its validation points answered.
inline ExitStatus StatusOf(commit::Verdict verdict) {
  if (verdict == commit::Verdict::kAccepted) return kAccepted;
  return verdict == commit::Verdict::kRefused ? kRefused : kPluginFailed;
}

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_DEVICE_REPORT_H_
