// Whether what is printed has colours.
#ifndef IPAV_CLI_REPORT_TEXT_COLOR_H_
#define IPAV_CLI_REPORT_TEXT_COLOR_H_

#include <cstdio>
#include <string>

namespace ipav::cli::report {

// `when` is always, never or auto: on a terminal that knows colours, and unless
// NO_COLOR is set to anything (no-color.org). No terminal is null.
bool WantsColor(const std::string& when, std::FILE* out);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_COLOR_H_
