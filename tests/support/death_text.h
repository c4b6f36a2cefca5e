// The report of a failed assertion, for EXPECT_EXIT.
#ifndef IPAV_TESTS_SUPPORT_DEATH_TEXT_H_
#define IPAV_TESTS_SUPPORT_DEATH_TEXT_H_

#include <string>

namespace ipav::testing {

// The parts of the report of a failed assertion. An empty line matches any
// line.
struct Assertion {
  std::string file;
  std::string line;
  std::string function;
  std::string expression;
};

// A regular expression (POSIX, extended) that matches exactly this text.
inline std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (std::string("\\^$.[]|()*+?{}").find(c) != std::string::npos) {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

// Matches the whole report as the C library prints it, after the program's
// name. The end is not anchored: an emulator may add a line.
inline std::string ReportOf(const Assertion& failed) {
  const std::string line = failed.line.empty() ? "[0-9]+" : failed.line;
  return "^[^ ]+: " + Escaped(failed.file) + ":" + line + ": " +
         Escaped(failed.function + ": Assertion `" + failed.expression +
                 "' failed.\n");
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_DEATH_TEXT_H_
