// What the tests of the commands share: the program, and a folder of each
// test's own.
#ifndef IPAV_TESTS_CLI_COMMANDS_FIXTURE_H_
#define IPAV_TESTS_CLI_COMMANDS_FIXTURE_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/run_process.h"

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

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class CommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name =
        (std::filesystem::temp_directory_path() / "ipav-command-XXXXXX");
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Write(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = folder_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  std::filesystem::path folder_;
};

// Configurations of one list `l3`, with these entries.
inline std::string L3Json(const std::string& entries) {
  return R"({"vorplex-config:config": {"interface": {"ipapp:l3": [)" + entries +
         "]}}}";
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_CLI_COMMANDS_FIXTURE_H_
