// The report of a failed assertion, for EXPECT_EXIT.
#ifndef IPAV_TESTS_SUPPORT_DEATH_TEXT_H_
#define IPAV_TESTS_SUPPORT_DEATH_TEXT_H_

#include <string>

namespace ipav::testing {

// What an assertion names. No line: any line.
struct Assertion {
  std::string file;
  std::string line;
  std::string function;
  std::string expression;
};

// A text as the regular expression (POSIX, extended) that matches just it.
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

// The whole report as the C library prints it, after the program's name. What
// follows it is not ours: an emulator may add a line of its own.
inline std::string ReportOf(const Assertion& failed) {
  const std::string line = failed.line.empty() ? "[0-9]+" : failed.line;
  return "^[^ ]+: " + Escaped(failed.file) + ":" + line + ": " +
         Escaped(failed.function + ": Assertion `" + failed.expression +
                 "' failed.\n");
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_DEATH_TEXT_H_
