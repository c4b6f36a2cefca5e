// Sample reports that together contain everything that a report can have.
#ifndef IPAV_TESTS_CLI_REPORT_SAMPLE_REPORTS_H_
#define IPAV_TESTS_CLI_REPORT_SAMPLE_REPORTS_H_

#include <string>
#include <vector>

#include "cli/report/device_report.h"
#include "cli/report/report_output.h"
#include "cli/report/run.h"

namespace ipav::testing {

// Bytes that are not UTF-8, and control characters.
inline const std::string kOddBytes(
    "one\ntwo\r\ttab {} [x] <&\"'> \x1b[31mred\x07\0\xff\xc3( \xed\xa0\x80 "
    "\xc3\xa9 \xef\xbf\xbe",
    50);

cli::report::DeviceReport Accepted(const std::string& candidate);
cli::report::DeviceReport BadInput(const std::string& candidate);

// Two prefixes that overlap: one on line 4 that was added, one on line 9 that
// was there before, both in `candidate`.
cli::report::DeviceReport Refused(const std::string& candidate);

// In a point, after one that had warned and one that threw.
cli::report::DeviceReport PluginFailed(const std::string& candidate);

// Such bytes wherever a plug-in, a file or its name may have them.
cli::report::DeviceReport Odd();

// Refused, also after a restart: for a standing fault, the one of the change,
// and a new one. A fourth one is healed.
cli::report::DeviceReport Restarted(const std::string& candidate);

// One of each of the above, a first configuration that is judged after a
// restart, and a finding behind another one, with more that are not listed.
std::vector<cli::report::DeviceReport> SampleReports();

// The report on these devices in a format.
std::string Written(cli::report::Format format,
                    const std::vector<cli::report::DeviceReport>& devices,
                    cli::report::Run run = {});

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CLI_REPORT_SAMPLE_REPORTS_H_
