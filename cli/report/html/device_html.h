// The part of the page for one device.
#ifndef IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_
#define IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_

#include <array>
#include <string>
#include <vector>

#include "cli/report/device_report.h"
#include "cli/report/html/html_text.h"
#include "host/view/address_plan.h"
#include "host/view/change_list.h"

namespace ipav::cli::report {

// The content of the section besides the findings. It is made from both
// configurations, but keeps neither.
struct DeviceView {
  std::vector<view::ChangeLine> changes;
  view::AddressPlan plan;
};

// A section with the identifier "d" + the device's number, the prefix of all
// identifiers in it. `view` is null if the configurations could not be read.
Html DeviceSection(const DeviceReport& device, const DeviceView* view);

// Why it is refused, could not be read, or why the plug-in failed. The
// identifiers begin with `id`; `view` may be null.
void AddRefusal(const DeviceReport& device, const DeviceView* view,
                const std::string& id, Html* html);

// Words for each ExitStatus.
using PageVerdicts = std::array<const char*, 4>;
inline constexpr PageVerdicts kPageVerdicts = {"accepted", "refused",
                                               "not read", "not judged"};

// "<span>refused</span>", coloured.
void AddVerdict(ExitStatus status, const PageVerdicts& words, Html* html);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_
