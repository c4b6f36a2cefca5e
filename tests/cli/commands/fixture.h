// What the tests of the commands share: the program, and a folder of each
// test's own.
#ifndef IPAV_TESTS_CLI_COMMANDS_FIXTURE_H_
#define IPAV_TESTS_CLI_COMMANDS_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/run_process.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

inline const std::string kBranch = IPAV_ROOT "/examples/branch-router/";
inline const std::string kRunning = kBranch + "running.xml";

inline ProcessResult Ipav(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), IPAV_PROGRAM);
  return RunProcess(arguments);
}

// What it prints on success.
inline std::string OutputOf(std::vector<std::string> arguments) {
  const ProcessResult result = Ipav(std::move(arguments));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  return result.out;
}

using CommandTest = FolderTest;

// Configurations of one list `l3`, with these entries.
inline std::string L3Json(const std::string& entries) {
  return R"({"vorplex-config:config": {"interface": {"ipapp:l3": [)" + entries +
         "]}}}";
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CLI_COMMANDS_FIXTURE_H_
