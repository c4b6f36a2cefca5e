// Lines of a configuration as a report shows them: short, and with nothing in
// them that a terminal would obey.
#ifndef IPAV_CLI_REPORT_TEXT_SOURCE_LINES_H_
#define IPAV_CLI_REPORT_TEXT_SOURCE_LINES_H_

#include <cstddef>
#include <string>

#include "messages/finding.h"

namespace ipav::cli::report {

struct ShownLine {
  std::string text;
  std::size_t indent = 0;  // characters of it in front of the mark
  std::size_t length = 1;  // characters of it that are marked
};

// What is left out of a long line is shown as "...".
ShownLine ShowLine(const messages::Place& place);

}  // namespace ipav::cli::report

#endif  // IPAV_CLI_REPORT_TEXT_SOURCE_LINES_H_
