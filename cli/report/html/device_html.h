// The part of the page for one device.
#ifndef IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_
#define IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_

#include <cstddef>

#include "cli/report/device_report.h"
#include "cli/report/html/device_view.h"
#include "cli/report/html/html_text.h"

namespace ipav::cli::report {

// A section with the identifier "d" + `number`, the prefix of all identifiers
// in it. `view` is null if the configurations could not be read.
Html DeviceSection(const DeviceReport& device, const DeviceView* view,
                   std::size_t number);

// "<span>refused</span>", coloured.
void AddVerdict(ExitStatus status, Html* html);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_
