// What all commands have in common.

#include <sys/stat.h>

#include <csignal>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

class CommandsTest : public FolderTest,
                     public ::testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(Commands, CommandsTest,
                         ::testing::Values("check", "commit", "compare",
                                           "completion", "convert", "diff",
                                           "explain", "fix", "lsp", "new",
                                           "points", "session", "summarize"),
                         [](const auto& command) { return command.param; });

TEST_P(CommandsTest, HasExamplesAndTheReadmeNamesTheCommand) {
  const std::string command = GetParam();
  const std::string help = OutputOf({command, "--help"});
  EXPECT_EQ(OutputOf({command, "-h"}), help);
  const std::size_t examples = help.find("\nExamples:\n  ");
  ASSERT_NE(examples, std::string::npos) << help;
  EXPECT_THAT(help.substr(examples), HasSubstr("ipav " + command));
  // A command without notes of its own would have those of the program.
  EXPECT_THAT(OutputOf({"--help"}), Not(HasSubstr(help.substr(examples))));
  EXPECT_THAT(ReadFile(IPAV_ROOT "/README.md"),
              HasSubstr("\n| `ipav " + command + "` |"));
  EXPECT_THAT(OutputOf({"--help"}), HasSubstr("\n  " + command + " "));
}

TEST(HelpTest, OfTheProgramHasExamples) {
  const std::string help = OutputOf({"--help"});
  EXPECT_EQ(OutputOf({"-h"}), help);
  EXPECT_THAT(help.substr(help.find("\nExamples:\n")),
              HasSubstr("ipav check --running running.xml candidate.xml"));
}

TEST_P(CommandsTest, IsAFileOrATopicBehindAnotherCommand) {
  const std::string name = GetParam();
  Write(name, ReadFile(kBranch + "address-is-network.xml"));
  const ProcessResult check =
      Shell("cd " + folder_.string() + " && " IPAV_PROGRAM " check " +
            kRunning + " " + name);
  EXPECT_EQ(check.status, 1) << check.err;
  EXPECT_THAT(check.out, HasSubstr("\n" + name + ": refused"));
  EXPECT_THAT(Ipav({"explain", name}),
              IsBadInput("no validation point, rule or text: " + name));
}

using ReadingTest = FolderTest;

TEST_F(ReadingTest, ReadingHasTheLimitsOfTheOptions) {
  // Also if the parent process blocks the signal of the timer.
  sigset_t alarm{};
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
  const std::string large = Write("large.xml", std::string(2 << 20, ' '));
  const std::string pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  for (const Words& command : {Words{"check"}, Words{"convert"},
                               Words{"commit", "--to", folder_ / "socket"}}) {
    EXPECT_THAT(
        Ipav(Joined(command, {"--max-input-size", "1", large})),
        IsBadInput(large + ": is larger than the limit of 1048576 bytes\n"));
    EXPECT_THAT(Ipav(Joined(command, {"--timeout", "1", pipe})),
                IsBadInput(pipe + ": not read within 1 second\n"));
  }
  const std::string diff = IPAV_PROGRAM " diff " + kRunning + " - ";
  EXPECT_THAT(
      Shell(diff + "--max-input-size 1 < " + large),
      IsBadInput("<stdin>: is larger than the limit of 1048576 bytes\n"));
  EXPECT_THAT(Shell(diff + "--timeout 1 <> " + pipe),
              IsBadInput("<stdin>: not read within 1 second\n"));
  pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
}

}  // namespace

}  // namespace ipav::testing
