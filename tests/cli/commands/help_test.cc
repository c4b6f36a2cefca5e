// What all commands have in common.

#include <sys/stat.h>

#include "tests/cli/commands/fixture.h"

namespace ipav::testing {

namespace {

class CommandsTest : public CommandTest,
                     public ::testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(Commands, CommandsTest,
                         ::testing::Values("check", "commit", "completion",
                                           "convert", "diff", "explain", "new",
                                           "points", "summarize"),
                         [](const auto& command) { return command.param; });

TEST_P(CommandsTest, HasExamplesAndTheReadmeNamesTheCommand) {
  const std::string command = GetParam();
  const std::string help = OutputOf({command, "--help"});
  const std::size_t examples = help.find("\nExamples:\n  ");
  ASSERT_NE(examples, std::string::npos) << help;
  EXPECT_NE(help.find("ipav " + command, examples), std::string::npos) << help;
  EXPECT_NE(
      ReadFile(IPAV_ROOT "/README.md").find("\n| `ipav " + command + "` |"),
      std::string::npos);
  EXPECT_NE(OutputOf({"--help"}).find("\n  " + command + " "),
            std::string::npos);
}

TEST_P(CommandsTest, IsAFileOrATopicBehindAnotherCommand) {
  const std::string name = GetParam();
  Write(name, ReadFile(kBranch + "address-is-network.xml"));
  const std::string there = "cd " + folder_.string() + " && " IPAV_PROGRAM " ";
  const ProcessResult check =
      RunProcess({"/bin/sh", "-c", there + "check " + kRunning + " " + name});
  EXPECT_EQ(check.status, 1) << check.err;
  EXPECT_NE(check.out.find("\n" + name + ": refused"), std::string::npos)
      << check.out;

  const ProcessResult explain = Ipav({"explain", name});
  EXPECT_EQ(explain.status, 2);
  EXPECT_EQ(explain.out, "");
  EXPECT_EQ(
      explain.err.find("ipav: no validation point, rule or text: " + name), 0U)
      << explain.err;
}

TEST_F(CommandTest, ReadingHasTheLimitsOfTheOptions) {
  const std::string large = Write("large.xml", std::string(2 << 20, ' '));
  const std::string pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  const std::vector<std::vector<std::string>> commands = {
      {"check"},
      {"convert"},
      {"diff", kRunning},
      {"commit", "--to", folder_ / "socket"}};
  for (std::vector<std::string> command : commands) {
    const auto error = [&](const std::vector<std::string>& more) {
      std::vector<std::string> arguments = command;
      arguments.insert(arguments.end(), more.begin(), more.end());
      const ProcessResult result = Ipav(arguments);
      EXPECT_EQ(result.status, 2);
      return result.err;
    };
    EXPECT_EQ(
        error({"--max-input-size", "1", large}),
        "ipav: " + large + ": is larger than the limit of 1048576 bytes\n");
    EXPECT_EQ(error({"--timeout", "1", pipe}),
              "ipav: " + pipe + ": not read within 1 second\n");
  }
}

}  // namespace

}  // namespace ipav::testing
