#include <cstddef>
#include <sstream>

#include "cli/commands/explain.h"
#include "host/base/bytes.h"

namespace ipav::cli {

namespace {

using base::EndsWith;
using base::StartsWith;

// Whether it is the last line of a fleet's report.
bool IsSummary(const std::string& line) {
  return line.find(" accepted, ") != std::string::npos &&
         line.find(" refused, ") != std::string::npos &&
         EndsWith(line, " failed");
}

// Whether it is a line of `ipav check` that is not an operator's text.
bool IsOfReport(const std::string& line) {
  return line.empty() || line[0] == ' ' || line[0] == '(' ||
         EndsWith(line, " validation calls made)") ||
         EndsWith(line, " after a restart)") ||
         StartsWith(line, "after a restart, the device would refuse ") ||
         StartsWith(line, "healed by this change: ") ||
         EndsWith(line, ": not judged, bad input") ||
         StartsWith(line, "the plug-in failed: ") ||
         StartsWith(line, "the plug-in threw an exception: ") ||
         IsSummary(line);
}

// The line without colours, and without the blanks that pasting adds.
std::string Unadorned(const std::string& line) {
  std::string plain;
  std::size_t begin = 0;
  for (std::size_t escape = line.find("\x1b["); escape != std::string::npos;
       escape = line.find("\x1b[", begin)) {
    plain += line.substr(begin, escape - begin);
    begin = line.find_first_not_of("0123456789;", escape + 2);
    if (begin == std::string::npos) return plain;
    if (line[begin] == 'm') ++begin;
  }
  plain += line.substr(begin);
  plain.erase(plain.find_last_not_of(" \t\r") + 1);
  return plain;
}

}  // namespace

std::vector<std::string> TextsOfReport(const std::string& report) {
  std::vector<std::string> texts;
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    const std::string plain = Unadorned(line);
    if (!IsOfReport(plain)) texts.push_back(plain);
  }
  return texts;
}

}  // namespace ipav::cli
