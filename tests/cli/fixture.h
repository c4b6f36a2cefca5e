// Fixtures of the tests of ipav: run it, and check what it prints.
#ifndef IPAV_TESTS_CLI_FIXTURE_H_
#define IPAV_TESTS_CLI_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/program.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using Words = std::vector<std::string>;

inline const std::string kBranch = IPAV_ROOT "/examples/branch-router/";
inline const std::string kRunning = kBranch + "running.xml";
inline const std::string kCampus = IPAV_ROOT "/examples/campus-core/";

// All formats of a report.
inline constexpr const char* kFormats[] = {"text", "json", "sarif", "junit"};

inline Words Joined(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

inline ProcessResult Ipav(const Words& arguments) {
  return RunProcess(Joined({IPAV_PROGRAM}, arguments));
}

inline ProcessResult Shell(const std::string& command) {
  return RunProcess({"/bin/bash", "-c", command});
}

// What a command prints to a terminal.
inline std::string OnTerminal(const std::string& command) {
  return RunProcess({"/usr/bin/script", "-qec", command, "/dev/null"}).out;
}

// What the program prints on success.
inline std::string OutputOf(const Words& arguments) {
  const ProcessResult result = Ipav(arguments);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  return result.out;
}

// Exit status 2, nothing on standard output, and one line on standard error
// that begins with "ipav: " and `error`.
MATCHER_P(IsBadInput, error, "") {
  const std::string begin = std::string("ipav: ") + error;
  return arg.status == 2 && arg.out.empty() &&
         arg.err.compare(0, begin.size(), begin) == 0 &&
         arg.err.find('\n') + 1 == arg.err.size();
}

inline std::size_t CountOf(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// A configuration of one list `l3`, with these entries.
inline std::string L3Json(const std::string& entries) {
  return R"({"vorplex-config:config": {"interface": {"ipapp:l3": [)" + entries +
         "]}}}";
}

// A configuration of these interfaces.
inline std::string InterfacesXml(const std::string& interfaces) {
  return "<config xmlns=\"urn:vorplex:config\"><interface>\n" + interfaces +
         "</interface></config>\n";
}

// The interface `a` with this inside of it, on a line of its own.
inline std::string L3Xml(const std::string& inner) {
  return InterfacesXml("<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>\n" +
                       inner + "\n</l3>");
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CLI_FIXTURE_H_
