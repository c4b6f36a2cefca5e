// What ipav says of one device, before it is written in any format.
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

namespace ipav::cli::report {

// Where the time in front of the commit went; of the commit, its outcome tells.
struct Times {
  datastore::ReadingTimes candidate;
  // Of one that devices share, this is its one reading.
  std::optional<datastore::ReadingTimes> running;
  base::Duration diff{};
};

struct DeviceReport {
  std::size_t number = 0;  // in the list of all devices, from 1; 0: in none
  std::string running;     // file; empty: nothing was configured
  std::string candidate;   // file
  ExitStatus status = kAccepted;
  std::string input_error;  // of kBadInput: one line, FILE:LINE: reason
  commit::Outcome outcome;  // of all others
  std::vector<messages::Finding> findings;  // refusals, in their order
  // Of the page to look at, made where both configurations are at hand; empty
  // where nobody asked for one, or there was no commit.
  std::string page_section;
  // Where somebody asked: from reading to verdict, and in parts where there was
  // a commit.
  double seconds = 0;
  std::optional<Times> times;
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_DEVICE_REPORT_H_
