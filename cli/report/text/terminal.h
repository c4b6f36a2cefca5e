// Output for a terminal: colours, and texts without control characters.
#ifndef IPAV_CLI_REPORT_TEXT_TERMINAL_H_
#define IPAV_CLI_REPORT_TEXT_TERMINAL_H_

#include <cstdio>
#include <string>
#include <string_view>

namespace ipav::cli::report {

// Whether the output has colours. `when` is always, never or auto. With auto,
// it has colours if `out` is a terminal with colours, and NO_COLOR is not set
// (no-color.org). `out` is null if it is not standard output.
bool WantsColor(const std::string& when, std::FILE* out);

// Applies base::Printable() to each line; keeps the line ends.
std::string PrintableLines(std::string_view text);

// The text of a validation point: unchanged in files and pipes, for other
// programs; PrintableLines() on a terminal.
std::string OperatorText(const std::string& text, std::FILE* out);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_TERMINAL_H_
