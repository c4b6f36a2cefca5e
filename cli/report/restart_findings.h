// What a report says about the judgement after a restart, for all formats that
// have no members of their own for it.
#ifndef IPAV_CLI_REPORT_RESTART_FINDINGS_H_
#define IPAV_CLI_REPORT_RESTART_FINDINGS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "cli/report/device_report.h"
#include "messages/finding.h"

namespace ipav::cli::report {

enum class RestartState : std::uint8_t { kNew, kStands, kHealed };

struct RestartFinding {
  // A copy that is not marked as standing: its state says so.
  messages::Finding finding;
  RestartState state;
  bool is_of_change;  // the change is refused for it, too
};

// New, standing, healed findings; none without that judgement.
std::vector<RestartFinding> RestartFindings(const DeviceReport& device);

// The heading of the findings of one state, without a colon.
const char* HeadingOf(RestartState state);

// After the number of validation calls of the change: ", 28 of 28 after a
// restart". Empty without that judgement.
std::string RestartCalls(const DeviceReport& device);

// For the address plan: the data paths that each finding names in the
// candidate, first those of the change, then RestartFindings().
std::vector<std::vector<std::string>> PathsOfFindings(
    const DeviceReport& device);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_RESTART_FINDINGS_H_
