// What a terminal is sent: colours, and texts that it cannot take for commands.
#ifndef IPAV_CLI_REPORT_TEXT_TERMINAL_H_
#define IPAV_CLI_REPORT_TEXT_TERMINAL_H_

#include <cstdio>
#include <string>
#include <string_view>

namespace ipav::cli::report {

// Whether the output has colours. `when` is always, never or auto: if `out` is
// a terminal that has colours, and NO_COLOR is not set (no-color.org). `out` is
// null if it is not standard output.
bool WantsColor(const std::string& when, std::FILE* out);

// base::Printable() of each line; the line ends stay.
std::string PrintableLines(std::string_view text);

// The text of a validation point: byte for byte in files and pipes, which other
// programs read, PrintableLines() on a terminal.
std::string OperatorText(const std::string& text, std::FILE* out);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_TERMINAL_H_
