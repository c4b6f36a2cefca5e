// `-` as a file to read, which is standard input, and as a file to write.

#include <algorithm>
#include <filesystem>
#include <utility>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

const std::string kCandidate = kBranch + "address-is-network.xml";
const Words kSameTwice = {"--yang", IPAV_ROOT "/yang", "--yang",
                          IPAV_ROOT "/yang"};

// With the file as standard input.
ProcessResult IpavFrom(const std::string& file, const Words& arguments) {
  std::string command = IPAV_PROGRAM;
  for (const std::string& argument : arguments) command += " " + argument;
  return Shell(command + " <" + file);
}

std::string Replaced(std::string text, const std::string& part,
                     const std::string& by) {
  for (std::size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + by.size())) {
    text.replace(at, part.size(), by);
  }
  return text;
}

// That of a command that reads the file, with another name for it.
ProcessResult Expected(const std::string& file, Words arguments) {
  std::replace(arguments.begin(), arguments.end(), std::string("-"), file);
  const ProcessResult result = Ipav(arguments);
  return {result.status, Replaced(result.out, file, "<stdin>"),
          Replaced(result.err, file, "<stdin>")};
}

using StandardInputTest = FolderTest;

TEST_F(StandardInputTest, IsReadLikeAFileByEveryCommand) {
  const std::string report =
      Write("report.json", Ipav({"check", "--format", "json", kCandidate}).out);
  const std::string bad = Write("bad.xml", "<config>\n <x/></config>");
  const std::vector<std::pair<std::string, Words>> rows = {
      {kCandidate, {"check", "--running", kRunning, "-"}},
      {kCandidate, {"check", "--format", "json", kRunning, "-"}},
      {kRunning, {"check", "--running", "-", kCandidate}},
      {kRunning, {"check", "--running", "-", kBranch + "ra-timers-tuned.xml"}},
      {bad, {"check", "-"}},
      {kCandidate, {"diff", kRunning, "-"}},
      {kRunning, {"diff", "-", kCandidate}},
      {kCandidate, {"fix", "--suggested", "--running", kRunning, "-"}},
      {kRunning, {"fix", "--suggested", "--running", "-", kCandidate}},
      {kCandidate, {"plan", "--running", kRunning, "-"}},
      {kRunning, {"plan", "--running", "-", kCandidate}},
      {kCandidate, {"convert", "-"}},
      {kCandidate, Joined({"compare", "-"}, kSameTwice)},
      {kRunning, Joined({"compare", "--running", "-", kCandidate}, kSameTwice)},
      {report, {"summarize", "-"}},
  };
  for (const auto& [file, arguments] : rows) {
    const ProcessResult result = IpavFrom(file, arguments);
    EXPECT_EQ(result, Expected(file, arguments)) << arguments.front();
    EXPECT_NE(result.out + result.err, "");
  }
}

TEST_F(StandardInputTest, IsSharedByTheDevicesOfAFolder) {
  fs::create_directories(folder_ / "devices/own");
  for (const char* file : {"a.xml", "b.xml", "own/candidate.xml"}) {
    fs::copy(kCandidate, folder_ / "devices" / file);
  }
  fs::copy(kCandidate, folder_ / "devices/own/running.xml");
  const std::string devices = folder_ / "devices";
  const ProcessResult result =
      IpavFrom(kRunning, {"check", "--running", "-", devices});
  EXPECT_EQ(result, Expected(kRunning, {"check", "--running", "-", devices}));
  EXPECT_THAT(result.out, HasSubstr("own/candidate.xml: accepted"));
  EXPECT_THAT(result.out, EndsWith("3 devices: 1 accepted, 2 refused, 0 bad "
                                   "input, 0 failed\n"));
}

TEST_F(StandardInputTest, IsReadOnceAndIsNotReplaced) {
  const std::string file = Write("a.xml", ReadFile(kCandidate));
  for (const Words& arguments :
       {Words{"check", "-", "-"}, Words{"diff", "-", "-"},
        Words{"plan", "--running", "-", "-"}}) {
    EXPECT_THAT(IpavFrom(file, arguments),
                IsBadInput("- (standard input) can be given only once (see "
                           "ipav " +
                           arguments.front() + " --help)\n"));
  }
  EXPECT_THAT(IpavFrom(file, {"fix", "--write", "-"}),
              IsBadInput("--write corrects a file, not standard input\n"));
  EXPECT_THAT(IpavFrom(file, {"check", "--output", file, "-"}),
              IsBadInput(file + ": would be replaced, and is needed as "
                                "<stdin>\n"));
  EXPECT_THAT(IpavFrom("/dev/null", {"check", "-"}),
              IsBadInput("<stdin>: is empty\n"));
  EXPECT_THAT(IpavFrom("&-", {"check", "-"}),
              IsBadInput("<stdin>: Bad file descriptor\n"));
  EXPECT_EQ(ReadFile(file), ReadFile(kCandidate));
}

TEST_F(StandardInputTest, AsAFileToWriteIsStandardOutput) {
  const std::string cd = "cd " + folder_.string() + " && " IPAV_PROGRAM " ";
  // 1. The same as without the option, and no file of that name.
  for (const std::string& command :
       {"check --format json " + kRunning, "convert " + kRunning}) {
    const ProcessResult plain = Shell(cd + command);
    EXPECT_EQ(Shell(cd + command + " --output -"), plain);
    EXPECT_EQ(plain.status, 0) << plain.err;
  }
  // 2. The page, and the report elsewhere.
  const std::string check = cd + "check " + kCandidate + " --report ";
  EXPECT_EQ(Shell(check + "page").status, 1);
  const ProcessResult page = Shell(check + "- --output report");
  EXPECT_EQ(page, (ProcessResult{1, ReadFile(folder_ / "page"), ""}));
  EXPECT_THAT(ReadFile(folder_ / "report"), HasSubstr(": refused"));
  // 3. Not both, and not a folder.
  EXPECT_THAT(Shell(check + "-"),
              IsBadInput("--report -: the report is on standard output, too; "
                         "name a file for it with --output\n"));
  EXPECT_THAT(Shell(cd + "plan --output - " + kRunning),
              IsBadInput("--output is a folder, not standard output\n"));
  EXPECT_FALSE(fs::exists(folder_ / "-"));
}

}  // namespace

}  // namespace ipav::testing
