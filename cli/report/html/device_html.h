// The part of the page that is one device's.
#ifndef IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_
#define IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_

#include <cstddef>

#include "cli/report/device_report.h"
#include "cli/report/html/device_view.h"
#include "cli/report/html/html_text.h"

namespace ipav::cli::report {

// A section with the identifier "d" + `number`, which begins all others in it.
// `view` is null where the configurations could not be read.
Html DeviceSection(const DeviceReport& device, const DeviceView* view,
                   std::size_t number);

// "<span>refused</span>", coloured.
void AddVerdict(ExitStatus status, Html* html);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_HTML_DEVICE_HTML_H_
