// What README.md says of the commands.

#include "fixture.h"

namespace ipav::testing {

namespace {

class HelpTest : public ::testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Commands, HelpTest,
                         ::testing::Values("check", "commit", "completion",
                                           "convert", "diff", "explain", "new",
                                           "points", "serve", "summarize"),
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

}  // namespace

}  // namespace ipav::testing
