#include "cli/report/restart_findings.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>
#include <tuple>
#include <utility>

namespace ipav::cli::report {

namespace {

using messages::Finding;

// Indexed by RestartState.
constexpr std::array<const char*, 3> kHeadings = {
    "after a restart, the device would refuse this configuration",
    "after a restart, the device would refuse this configuration, and the "
    "running one (stands already)",
    "healed by this change: after a restart, the device would refuse the "
    "running configuration"};

using Texts = std::tuple<std::string, std::string, std::string>;
Texts TextsOf(const Finding& finding) {
  return {finding.point, finding.path, finding.text};
}

}  // namespace

std::vector<RestartFinding> RestartFindings(const DeviceReport& device) {
  if (!device.restart) return {};
  std::set<Texts> of_change;
  for (const Finding& finding : device.findings) {
    of_change.insert(TextsOf(finding));
  }
  std::vector<RestartFinding> all;
  for (Finding finding : device.restart->faults.findings) {
    const RestartState state =
        finding.is_standing ? RestartState::kStands : RestartState::kNew;
    finding.is_standing = false;
    const bool is_of_change = of_change.count(TextsOf(finding)) > 0;
    all.push_back({std::move(finding), state, is_of_change});
  }
  std::stable_partition(all.begin(), all.end(), [](const RestartFinding& each) {
    return each.state == RestartState::kNew;
  });
  for (const Finding& finding : device.restart->faults.healed) {
    all.push_back({finding, RestartState::kHealed, false});
  }
  return all;
}

const char* HeadingOf(RestartState state) {
  return kHeadings.at(static_cast<std::size_t>(state));
}

std::string RestartCalls(const DeviceReport& device) {
  if (!device.restart) return "";
  if (device.restart->is_change) return ", the same after a restart";
  return fmt::format(", {} of {} after a restart", device.restart->made,
                     device.restart->planned);
}

std::vector<std::vector<std::string>> PathsOfFindings(
    const DeviceReport& device) {
  std::vector<Finding> findings = device.findings;
  for (RestartFinding& each : RestartFindings(device)) {
    // Not of the candidate, or in the plan already.
    const bool is_left_out =
        each.state == RestartState::kHealed || each.is_of_change;
    findings.push_back(is_left_out ? Finding() : std::move(each.finding));
  }
  return messages::CulpritPaths(findings);
}

}  // namespace ipav::cli::report
