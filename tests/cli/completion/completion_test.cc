// The completions that each shell offers, and whether the scripts, the help and
// the manual have the same options.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "cli/completion/syntax.h"
#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

using WordSet = std::set<std::string>;

Words LinesOf(const std::string& text) {
  Words lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

bool BeginsWith(const std::string& text, const std::string& begin) {
  return text.compare(0, begin.size(), begin) == 0;
}

// --- The help, which is the tree of subcommands and options in words

// The lines of a part, such as "Options:".
Words PartOf(const std::string& help, const std::string& part) {
  Words lines;
  bool is_inside = false;
  for (const std::string& line : LinesOf(help)) {
    if (line.empty()) is_inside = false;
    if (is_inside) lines.push_back(line);
    if (line == part + ":") is_inside = true;
  }
  return lines;
}

Words Commands() {
  Words commands;
  for (const std::string& line : PartOf(OutputOf({"--help"}), "Subcommands")) {
    commands.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return commands;
}

Words HelpOf(const std::string& command) {
  return command.empty() ? Words{"--help"} : Words{command, "--help"};
}

// "-j", "--jobs", of a command or, for "", of the program.
WordSet OptionsInHelp(const std::string& command) {
  WordSet options;
  for (const std::string& line : PartOf(OutputOf(HelpOf(command)), "Options")) {
    if (!BeginsWith(line, "  -")) continue;
    std::istringstream names(line.substr(2, line.find(' ', 2) - 2));
    for (std::string name; std::getline(names, name, ',');) {
      options.insert(name);
    }
  }
  return options;
}

WordSet LongOnesOf(const WordSet& options) {
  WordSet long_ones;
  for (const std::string& option : options) {
    if (BeginsWith(option, "--")) long_ones.insert(option);
  }
  return long_ones;
}

// --- A shell

struct Shell {
  const char* name;
  const char* program;  // "": it is not installed
  Words before_script;  // of its command line
};

void PrintTo(const Shell& shell, std::ostream* out) { *out << shell.name; }

class Completion : public FolderTest,
                   public ::testing::WithParamInterface<Shell> {
 protected:
  void SetUp() override {
    if (std::string(GetParam().program).empty()) {
      GTEST_SKIP() << "no " << GetParam().name;
    }
    setenv("HOME", folder_.c_str(), 1);  // where a shell keeps things
    script_ = Write("script", OutputOf({"completion", GetParam().name}));
    Write("candidate.xml", "");
    std::filesystem::create_directory(folder_ / "cases");
  }

  // What is offered for the last word.
  WordSet Offers(const Words& words) const {
    const std::string name = GetParam().name;
    const Words command =
        Joined({GetParam().program}, GetParam().before_script);
    const ProcessResult result =
        RunProcess(Joined(Joined(command, {IPAV_ASK + name, script_}), words));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const Words lines = LinesOf(result.out);
    WordSet offers(lines.begin(), lines.end());
    offers.erase("");
    return offers;
  }

  std::string InFolder(const std::string& name) const { return folder_ / name; }

  std::string script_;
};

// The last component of paths, without a slash at their ends.
WordSet NamesOf(const WordSet& paths) {
  WordSet names;
  for (std::string path : paths) {
    if (path.back() == '/') path.pop_back();
    names.insert(path.substr(path.rfind('/') + 1));
  }
  return names;
}

INSTANTIATE_TEST_SUITE_P(
    Shells, Completion,
    ::testing::Values(Shell{"bash", IPAV_BASH, {"--norc"}},
                      Shell{"zsh", IPAV_ZSH, {"-f"}},
                      Shell{"fish", IPAV_FISH, {"--no-config"}}),
    [](const auto& shell) { return std::string(shell.param.name); });

TEST_P(Completion, ScriptHasNoErrorOfSyntax) {
  EXPECT_EQ(RunProcess({GetParam().program, "-n", script_}), ProcessResult());
}

TEST_P(Completion, OffersTheSubcommandsFirst) {
  const Words commands = Commands();
  EXPECT_EQ(Offers({"ipav", ""}), WordSet(commands.begin(), commands.end()));
  EXPECT_EQ(Offers({"ipav", "co"}),
            (WordSet{"commit", "compare", "completion", "convert"}));
}

TEST_P(Completion, OffersTheOptionsOfTheProgramAndOfEachSubcommand) {
  EXPECT_EQ(Offers({"ipav", "--"}), LongOnesOf(OptionsInHelp("")));
  for (const std::string& command : Commands()) {
    const WordSet options = OptionsInHelp(command);
    ASSERT_GT(options.count("--help"), 0U) << command;
    EXPECT_EQ(Offers({"ipav", command, "--"}), LongOnesOf(options)) << command;
  }
}

TEST_P(Completion, OffersAnOptionAgainThatMayBeRepeated) {
  const Words words = {"ipav", "compare", "--plugin", "a.so", "--plu"};
  EXPECT_EQ(Offers(words), WordSet{"--plugin"});
}

TEST_P(Completion, OffersShortOptions) {
  const WordSet offers = Offers({"ipav", "check", "-"});
  for (const char* option : {"-h", "-j", "-q", "-v"}) {
    EXPECT_EQ(offers.count(option), 1U) << option;
  }
}

TEST_P(Completion, OffersTheChoicesOfAnOption) {
  const WordSet formats = {"text", "json", "sarif", "junit"};
  EXPECT_EQ(Offers({"ipav", "check", "--format", ""}), formats);
  EXPECT_EQ(Offers({"ipav", "summarize", "--format", ""}), formats);
  EXPECT_EQ(Offers({"ipav", "diff", "--format", ""}),
            (WordSet{"text", "json"}));
  EXPECT_EQ(Offers({"ipav", "new", "--format", ""}), (WordSet{"xml", "json"}));
  EXPECT_EQ(Offers({"ipav", "convert", "--to", "x"}), WordSet{"xml"});
  EXPECT_EQ(Offers({"ipav", "check", "--color", ""}),
            (WordSet{"auto", "always", "never"}));
  EXPECT_EQ(Offers({"ipav", "completion", ""}),
            (WordSet{"bash", "zsh", "fish"}));
}

TEST_P(Completion, OffersTheChoicesAfterAnEqualsSign) {
  // In bash, the sign is a word of its own.
  const bool is_bash = std::string(GetParam().name) == "bash";
  const WordSet offers = is_bash
                             ? Offers({"ipav", "check", "--format", "=", "js"})
                             : Offers({"ipav", "check", "--format=js"});
  WordSet values;
  for (const std::string& offer : offers) {
    values.insert(offer.substr(offer.find('=') + 1));
  }
  EXPECT_EQ(values, WordSet{"json"});
  if (is_bash) {
    EXPECT_EQ(Offers({"ipav", "new", "--format", "="}),
              (WordSet{"xml", "json"}));
  }
}

TEST_P(Completion, OffersNothingForAFreeValue) {
  EXPECT_EQ(Offers({"ipav", "check", "--shard", ""}), WordSet{});
  EXPECT_EQ(Offers({"ipav", "check", "-j", ""}), WordSet{});
}

TEST_P(Completion, OffersPointsAndRulesToExplain) {
  WordSet names;
  for (const std::string& line : LinesOf(OutputOf({"explain"}))) {
    if (!BeginsWith(line, "  ") || BeginsWith(line, "   ")) continue;
    names.insert(line.substr(2, line.find(' ', 2) - 2));
  }
  ASSERT_GT(names.count("validate_ipv6_nd_ra_interval"), 0U);
  ASSERT_GT(names.count("overlap"), 0U);
  EXPECT_EQ(Offers({"ipav", "explain", ""}), names);
  EXPECT_EQ(Offers({"ipav", "explain", "intf_"}),
            (WordSet{"intf_l3_name_validation", "intf_vrf_validation"}));
}

TEST_P(Completion, OffersFilesAndFolders) {
  const WordSet both = {"candidate.xml", "cases"};
  const std::string begin = InFolder("ca");
  EXPECT_EQ(NamesOf(Offers({"ipav", "check", begin})), both);
  EXPECT_EQ(NamesOf(Offers({"ipav", "check", "--running", begin})), both);
  EXPECT_EQ(NamesOf(Offers({"ipav", "diff", begin, begin})), both);
  EXPECT_EQ(NamesOf(Offers({"ipav", "convert", "--output", begin})), both);
}

TEST_P(Completion, OffersFoldersAloneForTheDataModel) {
  EXPECT_EQ(NamesOf(Offers({"ipav", "points", "--yang", InFolder("ca")})),
            WordSet{"cases"});
}

TEST_P(Completion, TakesTheFirstWordWithoutADashAsTheSubcommand) {
  EXPECT_EQ(NamesOf(Offers({"ipav", "check", "new", InFolder("ca")})),
            (WordSet{"candidate.xml", "cases"}));
  EXPECT_GT(Offers({"ipav", "check", "--all", "new", "--"}).count("--jobs"),
            0U);
}

TEST_P(Completion, InTheBuildIsWhatTheProgramPrints) {
  EXPECT_EQ(ReadFile(std::string(IPAV_COMPLETIONS) + "/" +
                     std::map<std::string, std::string>{
                         {"bash", "ipav"},
                         {"zsh", "_ipav"},
                         {"fish", "ipav.fish"}}[GetParam().name]),
            ReadFile(script_));
}

// --- The manual

// Options of an item or of the synopsis: "Fl j , Fl -jobs Ar number".
Words FlagsOf(const std::string& line) {
  static const std::regex kFlag("Fl ([-a-z]+)");
  Words flags;
  for (std::sregex_iterator match(line.begin(), line.end(), kFlag), end;
       match != end; ++match) {
    flags.push_back("-" + (*match)[1].str());
  }
  return flags;
}

// The options of each command, "" for the program: those in its items or, with
// `is_synopsis`, those in its lines of the synopsis.
std::map<std::string, WordSet> OptionsInManual(bool is_synopsis) {
  std::map<std::string, WordSet> options;
  std::string section;
  std::string command;
  for (const std::string& line :
       LinesOf(ReadFile(IPAV_ROOT "/packaging/man/ipav.1"))) {
    if (BeginsWith(line, ".Sh ")) section = line.substr(4);
    if (BeginsWith(line, ".Sh ") || line == ".Nm") command = "";
    if (BeginsWith(line, is_synopsis ? ".Cm " : ".Ss ")) {
      command = line.substr(4);
      if (is_synopsis ? section == "SYNOPSIS" : section == "COMMANDS") {
        options[command];
      }
    }
    const bool is_option =
        is_synopsis ? section == "SYNOPSIS"
                    : BeginsWith(line, ".It Fl ") &&
                          (section == "COMMANDS" || section == "OPTIONS");
    if (!is_option) continue;
    for (const std::string& flag : FlagsOf(line)) options[command].insert(flag);
  }
  return options;
}

TEST(Manual, HasTheOptionsOfEachSubcommandAndNoOther) {
  std::map<std::string, WordSet> expected = {{"", OptionsInHelp("")}};
  for (const std::string& command : Commands()) {
    expected[command] = OptionsInHelp(command);
    EXPECT_EQ(expected[command].erase("--help"), 1U) << command;
    EXPECT_EQ(expected[command].erase("-h"), 1U) << command;
  }
  EXPECT_EQ(OptionsInManual(false), expected);
}

// An option with two names is there with its shorter one.
TEST(Manual, HasEachOptionInItsSynopsisAsWell) {
  const std::map<std::string, WordSet> items = OptionsInManual(false);
  std::map<std::string, WordSet> synopsis = OptionsInManual(true);
  ASSERT_EQ(synopsis.size(), items.size());
  for (const auto& [command, options] : items) {
    WordSet expected = options;
    if (command.empty()) expected.erase("-h");
    for (const auto& [name, shorter] : std::map<std::string, std::string>{
             {"--jobs", "-j"}, {"--quiet", "-q"}, {"--verbose", "-v"}}) {
      EXPECT_EQ(expected.erase(name), expected.count(shorter)) << name;
    }
    EXPECT_EQ(synopsis[command], expected) << command;
  }
}

// "--format" of check -> {"json", ...}; in the help as "--format TEXT:{...}",
// in the manual as ".It Fl -format Cm text | json".
std::map<std::string, WordSet> ChoicesIn(const std::string& text,
                                         const std::regex& item,
                                         const std::string& separator) {
  std::map<std::string, WordSet> choices;
  for (const std::string& line : LinesOf(text)) {
    std::smatch match;
    if (!std::regex_search(line, match, item)) continue;
    std::string words = match[2];
    for (std::size_t end = 0; end != std::string::npos;) {
      end = words.find(separator);
      choices["--" + match[1].str()].insert(words.substr(0, end));
      if (end != std::string::npos) words.erase(0, end + separator.size());
    }
  }
  return choices;
}

TEST(Manual, HasTheChoicesOfEachOption) {
  const std::string manual = ReadFile(IPAV_ROOT "/packaging/man/ipav.1");
  const std::regex in_help("^  --([-a-z]+) [A-Z]+:\\{([a-z,]+)\\}");
  const std::regex in_manual("^\\.It Fl -([-a-z]+) Cm ([a-z |]+)$");
  std::size_t count = 0;
  for (const std::string& command : Commands()) {
    const std::size_t begin = manual.find("\n.Ss " + command + "\n");
    ASSERT_NE(begin, std::string::npos) << command;
    const std::size_t end = std::min(manual.find("\n.Ss ", begin + 1),
                                     manual.find("\n.Sh ", begin + 1));
    const auto choices = ChoicesIn(OutputOf({command, "--help"}), in_help, ",");
    EXPECT_EQ(ChoicesIn(manual.substr(begin, end - begin), in_manual, " | "),
              choices)
        << command;
    count += choices.size();
  }
  EXPECT_GT(count, 4U);
}

class ManualPage : public ::testing::TestWithParam<const char*> {
 protected:
  // What a program that reads the page complains of.
  static std::string ComplaintsOf(Words command) {
    command.push_back(std::string(IPAV_ROOT "/packaging/man/") + GetParam());
    const ProcessResult result = RunProcess(command);
    // mandoc prints them on standard output.
    return result.err + (command[1] == "-Tlint" ? result.out : "");
  }
};

INSTANTIATE_TEST_SUITE_P(Pages, ManualPage,
                         ::testing::Values("ipav.1", "ip_app_validation.7"),
                         [](const auto& page) {
                           const std::string name = page.param;
                           return name.substr(0, name.find('.'));
                         });

TEST_P(ManualPage, IsRenderedWithoutAWarning) {
  if (std::string(IPAV_MAN).empty()) GTEST_SKIP() << "no man";
  EXPECT_EQ(ComplaintsOf({IPAV_MAN, "--warnings", "-l"}), "");
}

TEST_P(ManualPage, IsGoodMdocToItsOtherReaderToo) {
  if (std::string(IPAV_MANDOC).empty()) GTEST_SKIP() << "no mandoc";
  EXPECT_EQ(ComplaintsOf({IPAV_MANDOC, "-Tlint", "-Wwarning"}), "");
}

TEST(CompletionSyntax, RefusesAWordThatNeedsQuotesInAShell) {
  for (const char* word : {"", "two words", "it's"}) {
    CLI::App app;
    std::string value;
    app.add_option("--option", value)->type_name("NAME");
    EXPECT_THROW(cli::completion::SyntaxOf(app, {{"NAME", {word}}}),
                 std::logic_error);
  }
}

TEST(CompletionCommand, RefusesAShellThatItDoesNotKnow) {
  EXPECT_THAT(Ipav({"completion", "tcsh"}),
              IsBadInput("shell: tcsh not in {bash,zsh,fish} (see ipav "
                         "completion --help)\n"));
}

}  // namespace

}  // namespace ipav::testing
