// The report for people: what it shows of the nodes of a refusal, and how.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <utility>

#include "cli/report/device_report.h"
#include "cli/report/text/source_lines.h"
#include "cli/report/text/terminal.h"
#include "cli/report/text/text.h"
#include "tests/cli/fixture.h"

namespace ipav::cli::report {

namespace {

namespace fs = std::filesystem;
using namespace ipav::testing;  // NOLINT(google-build-using-namespace)
using datastore::Novelty;
using messages::Finding;
using messages::Place;

// ---- Lines of a configuration ----------------------------------------------

// The line as it is shown, and below it the mark.
std::string Shown(const Place& place) {
  const ShownLine line = ShowLine(place);
  return line.text + "\n" + std::string(line.indent, ' ') +
         std::string(line.length, '^');
}

Place PlaceIn(const std::string& line, std::size_t column, std::size_t length) {
  return {"file", 1, column, length, line, 0};
}

TEST(ShowLineTest, AShortLineIsShownWithEachCharacterInItsColumn) {
  const struct {
    Place place;
    std::string shown;
  } rows[] = {
      {PlaceIn("  <ip>10.1.1.1/24</ip>", 7, 11),
       "  <ip>10.1.1.1/24</ip>\n      ^^^^^^^^^^^"},
      {PlaceIn("", 1, 1), "\n^"},
      // A tab takes one character, as do letters of many bytes.
      {PlaceIn("\t\t<a>\t1</a>", 7, 1), "  <a> 1</a>\n      ^"},
      {PlaceIn("\xc3\xbc\xf0\x9f\x98\x80 \xe2\x82\xac!", 4, 1),
       "\xc3\xbc\xf0\x9f\x98\x80 \xe2\x82\xac!\n   ^"},
      // What a terminal would obey is escaped: escape, delete, the control
      // sequence introducer, right-to-left override.
      {PlaceIn("a\x1b[31m\x7f\xc2\x9b\xe2\x80\xae\rz", 11, 1),
       "a\\x1b[31m\\x7f\\x9b\\u202e\\x0dz\n" + std::string(27, ' ') + "^"},
      {PlaceIn("a\x1bz", 2, 1), "a\\x1bz\n ^^^^"},
      {PlaceIn("\xd8\x9cz", 2, 1), "\\u061cz\n      ^"}};
  for (const auto& [place, shown] : rows) EXPECT_EQ(Shown(place), shown);
}

TEST(ShowLineTest, ALongLineIsCutAroundTheMark) {
  const std::string a(60, 'a');
  const std::string b(200, 'b');
  EXPECT_EQ(Shown(PlaceIn(a + "X" + b, 61, 1)),
            "..." + std::string(40, 'a') + "X" + std::string(55, 'b') +
                "...\n" + std::string(43, ' ') + "^");
  EXPECT_EQ(Shown(PlaceIn("X" + b, 1, 1)),
            "X" + std::string(95, 'b') + "...\n^");
  EXPECT_EQ(Shown(PlaceIn(a + a + "X", 121, 1)),
            "..." + std::string(40, 'a') + "X\n" + std::string(43, ' ') + "^");
}

TEST(ShowLineTest, AMarkLongerThanTheScreenEndsWithTheLine) {
  const std::string shown = Shown(PlaceIn(std::string(300, 'x'), 1, 300));
  EXPECT_EQ(shown, std::string(96, 'x') + "...\n" + std::string(96, '^'));
}

TEST(ShowLineTest, ALineThatWasCutAlreadySaysSo) {
  Place place = PlaceIn("abXcd", 5003, 1);
  place.skipped = 5000;
  EXPECT_EQ(Shown(place), "...abXcd\n     ^");
}

// ---- The report ------------------------------------------------------------

DeviceReport RefusedDevice() {
  DeviceReport device;
  device.candidate = "candidate.xml";
  device.status = kRefused;
  device.outcome.verdict = commit::Verdict::kRefused;
  device.outcome.planned = 3;
  commit::Answer answer;
  answer.opaque = "ipv4_addr_validation";
  answer.path = "/config/interface/l3";
  answer.result = -1;
  answer.text = "no";
  device.outcome.answers = {answer};

  Finding finding;
  finding.text = "no";
  finding.rule = "interface-overlap";
  finding.advice = "Change one of them.";
  finding.anchor = "overlap";
  finding.culprits = {
      {"address", "/a", "10.1.1.1/24", Novelty::kAdded,
       Place{"candidate.xml", 14, 7, 11, "  <ip>10.1.1.1/24</ip>", 0}},
      {"overlaps with", "/b", "", Novelty::kUnchanged, std::nullopt},
      {"VRF", "/c", "red", Novelty::kRemoved,
       Place{"running.xml", 123456, 1, 3, "red", 0}}};
  finding.note = "one more \x1b[31m";
  device.findings = {finding};
  return device;
}

std::string Print(const DeviceReport& device, const TextOptions& options) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(),
                                                             std::fclose);
  TextWriter(file.get(), options).Add(device);
  std::rewind(file.get());
  std::string text(100000, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  return text;
}

constexpr char kReport[] =
    "candidate.xml: refused (1 of 3 validation calls made)\n"
    "no\n"
    "  validation point: ipv4_addr_validation\n"
    "  data path: /config/interface/l3\n"
    "  candidate.xml:14:7: address, added\n"
    "     14 |   <ip>10.1.1.1/24</ip>\n"
    "        |       ^~~~~~~~~~~\n"
    "  /b: overlaps with, unchanged\n"
    "  running.xml:123456:1: VRF, removed\n"
    "  123456 | red\n"
    "         | ^~~\n"
    "  note: one more \\x1b[31m\n"
    "  what to do: Change one of them.\n"
    "  see docs/messages.md#overlap\n";

TEST(TextReportTest, TheNodesOfARefusalFollowItsPath) {
  EXPECT_EQ(Print(RefusedDevice(), {}), kReport);
}

TEST(TextReportTest, AFaultThatWasThereBeforeIsNotTheCommits) {
  DeviceReport device = RefusedDevice();
  device.findings.front().is_standing = true;
  device.advice = {"a VRF"};
  EXPECT_THAT(Print(device, {}),
              HasSubstr("\n  not caused by this change: the fault was there "
                        "before\n  note: one more"));
  EXPECT_THAT(Print(device, {}),
              HasSubstr("docs/messages.md#overlap\n  advice: a VRF\n"));
}

TEST(TextReportTest, AFindingWithoutARuleHasItsNoteAlone) {
  DeviceReport device = RefusedDevice();
  device.findings.front() = Finding();
  device.findings.front().note = "nothing is known";
  EXPECT_EQ(Print(device, {}),
            "candidate.xml: refused (1 of 3 validation calls made)\n"
            "no\n"
            "  validation point: ipv4_addr_validation\n"
            "  data path: /config/interface/l3\n"
            "  note: nothing is known\n");
}

TEST(TextReportTest, AnAcceptedAnswerTakesNoFindingOfARefusal) {
  DeviceReport device = RefusedDevice();
  commit::Answer accepted;
  accepted.opaque = "intf_l3_name_validation";
  device.outcome.answers.insert(device.outcome.answers.begin(), accepted);
  TextOptions options;
  options.all = true;
  EXPECT_THAT(Print(device, options),
              HasSubstr("(accepted)\n  validation point: "
                        "intf_l3_name_validation\n  data path: \nno\n"));
}

TEST(TextReportTest, ColoursChangeNothingElse) {
  TextOptions options;
  options.color = true;
  const std::string text = Print(RefusedDevice(), options);
  EXPECT_THAT(text, HasSubstr("\x1b["));
  EXPECT_EQ(std::regex_replace(text, std::regex("\x1b\\[[0-9;]*m"), ""),
            kReport);
}

// ---- The program -----------------------------------------------------------

// `check` of a refused candidate, in a shell of that environment.
std::string CheckRefused(const std::string& environment,
                         const std::string& options = "") {
  return "TERM=xterm env " + environment + " " IPAV_PROGRAM " check " +
         options + " --running " + kRunning + " " + kBranch +
         "address-is-network.xml";
}

const auto kHasColor = HasSubstr("\x1b[");
const auto kHasNoColor =
    ::testing::AllOf(Not(kHasColor), HasSubstr(": refused ("));

TEST(ColorTest, APipeHasNoneUnlessTheyAreAskedFor) {
  EXPECT_THAT(Shell(CheckRefused("")).out, kHasNoColor);
  EXPECT_THAT(Shell(CheckRefused("", "--color never")).out, kHasNoColor);
  EXPECT_THAT(Shell(CheckRefused("", "--color always")).out, kHasColor);
  EXPECT_THAT(Shell(CheckRefused("", "--color red")), IsBadInput(""));
}

TEST(ColorTest, ATerminalHasThemUnlessItKnowsNoneOrTheUserWantsNone) {
  EXPECT_THAT(OnTerminal(CheckRefused("-u NO_COLOR")), kHasColor);
  EXPECT_THAT(OnTerminal(CheckRefused("NO_COLOR=")), kHasColor);
  EXPECT_THAT(OnTerminal(CheckRefused("NO_COLOR=1")), kHasNoColor);
  EXPECT_THAT(OnTerminal(CheckRefused("-u NO_COLOR TERM=dumb")), kHasNoColor);
}

TEST(ColorTest, AFileHasNoneThoughTheProgramIsOnATerminal) {
  const TempDir folder;
  const std::string file = folder.path() + "/report";
  OnTerminal(CheckRefused("-u NO_COLOR", "--output " + file));
  EXPECT_THAT(ReadFile(file), kHasNoColor);
}

TEST(TextReportTest, TheFilesOfACommitMayBePipes) {
  const ProcessResult result =
      Shell(IPAV_PROGRAM " check --running <(cat " + kRunning + ") <(cat " +
            kBranch + "address-is-network.xml)");
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(std::regex_search(
      result.out,
      std::regex("\n  /dev/fd/[0-9]+:[0-9]+:[0-9]+: address, changed\n"
                 " +[0-9]+ \\| +<ip>10.12.50.0/24</ip>\n")))
      << result.out;
}

TEST(PrintableLinesTest, EscapesWhatATerminalInterpretsAndKeepsLineEnds) {
  const std::vector<std::pair<std::string, std::string>> kTexts = {
      {"", ""},
      {"plain \xc3\xa9\n\ntext\n", "plain \xc3\xa9\n\ntext\n"},
      {"\x1b[31m\x07\t\r\n", "\\x1b[31m\\x07\\x09\\x0d\n"},
      {"\x7f", "\\x7f"},
      {"\xc2\x80 \xc2\x9b \xc2\xa0", "\\x80 \\x9b \xc2\xa0"},
      {"\xd8\x9c", "\\u061c"},
      {"\xe2\x80\x8e \xe2\x80\x8f", "\\u200e \\u200f"},
      {"\xe2\x80\xaa \xe2\x80\xae", "\\u202a \\u202e"},
      {"\xe2\x81\xa6 \xe2\x81\xa9", "\\u2066 \\u2069"},
      {"\xff \xc3(", "\\xff \\xc3("}};
  for (const auto& [text, shown] : kTexts) {
    EXPECT_EQ(PrintableLines(text), shown);
  }
}

TEST(TextReportTest, ANameThatATerminalWouldInterpretIsEscapedEverywhere) {
  const TempDir folder;
  const std::string name = folder.path() + "/\x1b[31m\xe2\x80\xae.xml";
  const std::string missing = name + ".xml";
  fs::copy(kRunning, name);
  for (const Words& command :
       {Words{"check", "--timing", "--trace", name},
        Words{"check", name, missing}, Words{"check", missing},
        Words{"check", "--plugin", name, name},
        Words{"check", "--output", folder.path() + "/no/\x1b[31m\xe2\x80\xae",
              name},
        Words{"diff", name, missing}, Words{"convert", missing},
        Words{"summarize", name}, Words{"explain", missing}}) {
    SCOPED_TRACE(command[0] + " " + command[1]);
    const ProcessResult result = Ipav(command);
    const std::string all = result.out + result.err;
    EXPECT_THAT(all, HasSubstr("\\x1b[31m\\u202e"));
    EXPECT_THAT(all, Not(HasSubstr("\x1b")));
    EXPECT_THAT(all, Not(HasSubstr("\xe2\x80\xae")));
  }
}

}  // namespace

}  // namespace ipav::cli::report
