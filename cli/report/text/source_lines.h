// Lines of a configuration as a report shows them: short, and without control
// characters for a terminal.
#ifndef IPAV_CLI_REPORT_TEXT_SOURCE_LINES_H_
#define IPAV_CLI_REPORT_TEXT_SOURCE_LINES_H_

#include <cstddef>
#include <string>

#include "messages/finding.h"

namespace ipav::cli::report {

struct ShownLine {
  std::string text;
  std::size_t indent = 0;  // characters before the mark
  std::size_t length = 1;  // marked characters
};

// Omitted parts of a long line are shown as "...".
ShownLine ShowLine(const messages::Place& place);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_SOURCE_LINES_H_
