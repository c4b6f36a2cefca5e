// What ipav says of one device, before it is written in any format.
#ifndef IPAV_CLI_REPORT_DEVICE_REPORT_H_
#define IPAV_CLI_REPORT_DEVICE_REPORT_H_

#include <cstddef>
#include <string>
#include <vector>

#include "commit/commit.h"
#include "exit_status.h"
#include "findings/finding.h"

namespace ipav::cli::report {

struct DeviceReport {
  std::size_t number = 0;  // in the list of all devices, from 1; 0: in none
  std::string running;     // file; empty: nothing was configured
  std::string candidate;   // file
  ExitStatus status = kAccepted;
  std::string input_error;  // of kBadInput: one line, FILE:LINE: reason
  commit::Outcome outcome;  // of all others
  std::vector<findings::Finding> findings;  // refusals, in their order
  // Of the page to look at, made where both configurations are at hand; empty
  // where nobody asked for one, or there was no commit.
  std::string page_section;
  double seconds = 0;  // from reading to verdict
};

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_DEVICE_REPORT_H_
