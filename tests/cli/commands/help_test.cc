// What README.md says of the commands.

#include "tests/cli/commands/fixture.h"

namespace ipav::testing {

namespace {

class HelpTest : public ::testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Commands, HelpTest,
                         ::testing::Values("check", "commit", "completion",
                                           "convert", "diff", "explain", "new",
                                           "points", "summarize"),
                         [](const auto& command) { return command.param; });

TEST_P(HelpTest, HasExamplesAndTheReadmeNamesTheCommand) {
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

class CommandNameTest : public CommandTest,
                        public ::testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(Commands, CommandNameTest,
                         ::testing::Values("check", "commit", "completion",
                                           "convert", "diff", "explain", "new",
                                           "points", "summarize"),
                         [](const auto& command) { return command.param; });

TEST_P(CommandNameTest, IsAFileOrATopicBehindAnotherCommand) {
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

}  // namespace

}  // namespace ipav::testing
