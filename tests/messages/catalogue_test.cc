// The catalogue of messages against what the plug-in prints: the literals of
// its sources, and the texts that the end-to-end cases expect of it.

#include "messages/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "messages/match.h"

namespace ipav::messages {

namespace {

namespace fs = std::filesystem;
using Field = std::pair<std::string, std::string>;

std::string Read(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct Refusal {
  std::string point;
  std::string text;
};

// What the end-to-end cases expect.
const std::vector<Refusal>& Refusals() {
  static const std::vector<Refusal> refusals = [] {
    std::vector<Refusal> all;
    for (const auto& file :
         fs::recursive_directory_iterator(IPAV_ROOT "/tests/e2e")) {
      if (file.path().filename() != "expect.txt") continue;
      all.push_back({file.path().parent_path().parent_path().filename(),
                     Read(file.path())});
      all.back().text.pop_back();
    }
    return all;
  }();
  return refusals;
}

// ---- The sources -----------------------------------------------------------

// The string literals of a source, each with those that follow it directly, as
// the compiler joins them.
class Literals {
 public:
  explicit Literals(std::string source) : source_(std::move(source)) {}

  std::vector<std::string> All() {
    std::vector<std::string> literals;
    while (at_ < source_.size()) {
      if (SkipComment() || SkipCharacter()) continue;
      if (source_[at_] == '"') {
        literals.push_back(Joined());
      } else {
        ++at_;
      }
    }
    return literals;
  }

 private:
  bool SkipComment() {
    if (source_.compare(at_, 2, "//") != 0) return false;
    at_ = std::min(source_.find('\n', at_), source_.size());
    return true;
  }

  bool SkipCharacter() {
    const bool is_separator =  // as in 1'000
        at_ > 0 &&
        std::isalnum(static_cast<unsigned char>(source_[at_ - 1])) != 0;
    if (source_[at_] != '\'' || is_separator) return false;
    at_ += source_[at_ + 1] == '\\' ? 4U : 3U;
    return true;
  }

  std::string Joined() {
    std::string text;
    while (at_ < source_.size() && source_[at_] == '"') {
      for (++at_; source_[at_] != '"'; ++at_) {
        if (source_[at_] == '\\') ++at_;
        text += source_[at_];
      }
      at_ = std::min(source_.find_first_not_of(" \n", at_ + 1), source_.size());
    }
    return text;
  }

  std::string source_;
  std::size_t at_ = 0;
};

const std::vector<std::string>& AllLiterals() {
  static const std::vector<std::string> literals = [] {
    std::vector<std::string> all;
    for (const auto& file :
         fs::recursive_directory_iterator(IPAV_ROOT "/src/lib")) {
      const std::string extension = file.path().extension();
      if (extension != ".cc" && extension != ".h") continue;
      const auto of_file = Literals(Read(file.path())).All();
      all.insert(all.end(), of_file.begin(), of_file.end());
    }
    return all;
  }();
  return literals;
}

// A text for people, which has words; not a signature, expression or path.
bool IsProse(const std::string& literal) {
  for (const char* mark : {"->", "::", "(int", "(confd", "{%", "{ %"}) {
    if (literal.find(mark) != std::string::npos) return false;
  }
  return std::count(literal.begin(), literal.end(), ' ') >= 2;
}

// What is between the matches of `separator`, empty pieces at the ends
// included.
std::vector<std::string> Split(const std::string& text, const char* separator) {
  const std::regex regex(separator);
  std::vector<std::string> pieces(
      std::sregex_token_iterator(text.begin(), text.end(), regex, -1), {});
  if (std::regex_search(text, std::regex(std::string(separator) + "$"))) {
    pieces.emplace_back();
  }
  return pieces;
}

// How many literals have the piece.
std::ptrdiff_t LiteralsWith(const std::string& piece) {
  return std::count_if(AllLiterals().begin(), AllLiterals().end(),
                       [&](const std::string& literal) {
                         return literal.find(piece) != std::string::npos;
                       });
}

TEST(CatalogueTest, EachTextIsInOneSourceLine) {
  for (const Message& message : Messages()) {
    for (const Text& text : message.texts) {
      const auto pieces = Split(text.pattern, "<[^>]*>");
      const std::string& longest = *std::max_element(
          pieces.begin(), pieces.end(),
          [](const auto& a, const auto& b) { return a.size() < b.size(); });
      EXPECT_EQ(LiteralsWith(longest), 1) << text.pattern << "\n  " << longest;
      for (const std::string& piece : pieces) {
        EXPECT_GE(LiteralsWith(piece), 1) << text.pattern << "\n  " << piece;
      }
    }
  }
}

TEST(CatalogueTest, NoTextOfTheSourcesIsMissing) {
  std::string patterns;
  for (const Message& message : Messages()) {
    for (const Text& text : message.texts) patterns += text.pattern + "\n";
  }
  unsigned texts = 0;
  for (const std::string& literal : AllLiterals()) {
    if (!IsProse(literal)) continue;
    ++texts;
    for (const std::string& piece : Split(literal, "%.")) {
      EXPECT_NE(patterns.find(piece), std::string::npos) << piece;
    }
  }
  EXPECT_GE(texts, 25U);
}

// ---- The cases -------------------------------------------------------------

TEST(CatalogueTest, EachExpectedTextIsOneTextOfItsPoint) {
  ASSERT_GE(Refusals().size(), 300U);
  for (const auto& [point, text] : Refusals()) {
    std::set<const Text*> texts;
    for (const Reading& reading : ReadText(text)) texts.insert(reading.text);
    ASSERT_EQ(texts.size(), 1U) << text;
    EXPECT_TRUE(Reports(*FindPoint(point), **texts.begin()))
        << point << ": " << text;
  }
}

// Texts that a commit of the bundled data model does not give.
bool NeedsAnotherModelOrHost(const std::string& rule) {
  return rule == "interface-not-judged" || rule == "plugin-not-started";
}

TEST(CatalogueTest, EachTextOfAPointIsExpectedByACaseOfThatPoint) {
  std::set<std::pair<std::string, const Text*>> shown;
  for (const auto& [point, text] : Refusals()) {
    for (const Reading& reading : ReadText(text)) {
      shown.emplace(point, reading.text);
    }
  }
  // Only after other refusals, so with --all: findings_test shows it.
  shown.emplace("ipv6_addr_route_validation",
                FindMessage("route-next-hop-is-own")->texts.data());
  for (const Message& message : Messages()) {
    if (!message.refuses || NeedsAnotherModelOrHost(message.rule)) continue;
    for (const Text& text : message.texts) {
      EXPECT_FALSE(text.points.empty()) << text.pattern;
      for (const std::string& point : text.points) {
        EXPECT_EQ(shown.count({point, &text}), 1U)
            << point << ": " << text.pattern;
      }
    }
  }
}

// A limit is shown as the number that the plug-in prints.
TEST(CatalogueTest, EachShownLimitIsThatOfTheCases) {
  unsigned limits = 0;
  for (const auto& [point, text] : Refusals()) {
    for (const Reading& reading : ReadText(text)) {
      if (!reading.HasField("limit")) continue;
      const std::string& pattern = reading.text->pattern;
      std::string shown = pattern;
      shown.replace(pattern.find("<limit>"), 7, reading.Field("limit"));
      EXPECT_EQ(reading.text->shown, shown);
      ++limits;
    }
  }
  EXPECT_GE(limits, 3U);
}

// ---- The catalogue itself --------------------------------------------------

TEST(CatalogueTest, TheDocumentIsMadeOfTheCatalogue) {
  const std::string made = std::string(IPAV_BUILD) + "/messages.md";
  ASSERT_EQ(std::system((IPAV_PYTHON " " IPAV_ROOT
                                     "/messages/generate.py document " IPAV_ROOT
                                     "/messages/catalogue.toml > " +
                         made)
                            .c_str()),
            0);
  EXPECT_TRUE(Read(made) == Read(IPAV_ROOT "/docs/messages.md"))
      << "docs/messages.md is stale: run ./dev messages";
}

TEST(CatalogueTest, NamesAreUniqueAndEachRefusalHasAdvice) {
  std::set<std::string> names;
  const std::regex kebab("[a-z0-9]+(-[a-z0-9]+)+");
  for (const Message& message : Messages()) {
    EXPECT_TRUE(std::regex_match(message.rule, kebab)) << message.rule;
    EXPECT_TRUE(names.insert(message.rule).second) << message.rule;
    EXPECT_TRUE(message.anchor == message.rule ||
                names.insert(message.anchor).second)
        << message.anchor;
    EXPECT_EQ(FindMessage(message.rule), &message);
    EXPECT_EQ(FindMessage(message.anchor), &message);
    EXPECT_FALSE(message.about.empty()) << message.rule;
    if (!message.refuses) continue;
    EXPECT_GE(message.advice.size(), 30U) << message.rule;
    EXPECT_EQ(message.advice.back(), '.') << message.rule;
  }
  EXPECT_EQ(FindMessage("no-such-rule"), nullptr);
  EXPECT_EQ(FindPoint("no-such-point"), nullptr);
}

// ---- Reading a text --------------------------------------------------------

// The fields of the only reading.
std::vector<Field> FieldsOf(const std::string& text) {
  const std::vector<Reading> readings = ReadText(text);
  EXPECT_EQ(readings.size(), 1U) << text;
  return readings.size() == 1 ? readings.front().fields : std::vector<Field>();
}

TEST(MatchTest, ReadsWhatIsFilledIn) {
  EXPECT_EQ(
      FieldsOf("l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with mgmt "
               "eth0 vrf mgmt ipv4 address 10.0.0.2/25."),
      (std::vector<Field>{{"interface", "l3 a"},
                          {"vrf", "global"},
                          {"prefix", "10.0.0.1/24"},
                          {"other-interface", "mgmt eth0"},
                          {"other-vrf", "mgmt"},
                          {"other-prefix", "10.0.0.2/25"}}));
  EXPECT_EQ(FieldsOf("10.0.0.1/24 cannot be modified nor deleted, it is "
                     "assigned to router ospf 0 vrf  area 1 (0.0.0.1)"),
            (std::vector<Field>{{"prefix", "10.0.0.1/24"},
                                {"process", "0"},
                                {"vrf", ""},
                                {"number", "1"},
                                {"area", "0.0.0.1"}}));
  EXPECT_EQ(FieldsOf("vlan -7 cannot be changed, it is assigned to router "
                     "ospfv3 -1 area 1 (0.0.0.1)"),
            (std::vector<Field>{{"vlan", "-7"},
                                {"router", "-1"},
                                {"number", "1"},
                                {"area", "0.0.0.1"}}));
}

// A text about an interface with that name.
std::string Duplicate(const std::string& name) {
  return "mgmt " + name + " has duplicated IPv4 address 10.0.0.1";
}

TEST(MatchTest, ReadsNamesThatLookLikeTexts) {
  constexpr char kWholeText[] =
      "l3 b ipv4 address 10.0.0.0/24 cannot be configured as network address.";
  for (const std::string name :
       {"", " ", "a vrf b", "x overlaps with y", "{}", "<interface>", "büro 漢",
        "a\nb{c}", "\xff", "has duplicated IPv4 address 10.0.0.2",
        "a has duplicated IPv6 address ::1", kWholeText}) {
    const std::vector<Field> fields = FieldsOf(Duplicate(name));
    ASSERT_EQ(fields.size(), 2U) << name;
    EXPECT_EQ(fields[0], Field("interface", "mgmt " + name));
    EXPECT_EQ(fields[1], Field("address", "10.0.0.1"));
  }
  EXPECT_EQ(
      FieldsOf("L3 interface name a\nb{c} is too long (maximum length: 60 "
               "characters) contains invalid characters (allowed characters: "
               "0-9, a-z, A-Z, _, -)"),
      (std::vector<Field>{
          {"name", "a\nb{c} is too long (maximum length: 60 characters)"}}));
}

TEST(MatchTest, GivesEachReadingOfAnAmbiguousText) {
  // "vrf b" may belong to the interface or to its VRF.
  std::set<std::vector<Field>> readings;
  for (const Reading& reading :
       ReadText("mgmt a vrf b vrf c and router ospf 1 vrf d cannot be "
                "associated with divergent VRF")) {
    readings.insert(reading.fields);
  }
  EXPECT_EQ(readings,
            (std::set<std::vector<Field>>{{{"interface", "mgmt a"},
                                           {"vrf", "b vrf c"},
                                           {"process", "1"},
                                           {"process-vrf", "d"}},
                                          {{"interface", "mgmt a vrf b"},
                                           {"vrf", "c"},
                                           {"process", "1"},
                                           {"process-vrf", "d"}}}));
}

TEST(MatchTest, ReadsNoOtherText) {
  for (const char* text :
       {"", "Lib context is null", "Lib context is null!!",
        "bridge a has duplicated IPv4 address 1.2.3.4",
        "l3 a has duplicated IPv4 address one",
        "l3 a has duplicated IPv4 address 1.2.3.4 ",
        "There is no path for 'a' and 'b'. Skipping validation ..."}) {
    EXPECT_TRUE(ReadText(text).empty()) << text;
  }
}

TEST(MatchTest, TheBestReadingIsThatWithMostInCommon) {
  const auto rule_of = [](const std::string& text) {
    const std::vector<Reading> readings = BestReadings(text);
    return readings.empty() ? "" : readings.front().message->rule;
  };
  // A duplicated address or a broadcast address, of no known kind.
  EXPECT_EQ(rule_of("bridge x has duplicated IPv4 address ipv4 address "
                    "10.0.0.255/24 cannot be configured as broadcast "
                    "address."),
            "address-is-broadcast");
  // As a person may have typed it.
  EXPECT_EQ(rule_of("<interface> has duplicated IPv4 address <address>"),
            "address-twice");
  EXPECT_EQ(rule_of("There is no path for 'a' and 'b'. Skipping validation "
                    "..."),
            "debug-lines");
  EXPECT_EQ(rule_of("frob"), "");
}

TEST(MatchTest, EndsItsSearchInANameOfManyReadings) {
  std::string text = "mgmt a";
  for (int i = 0; i < 2000; ++i) text += " vrf b and router ospf 1";
  EXPECT_LE(
      ReadText(text + " vrf c cannot be associated with divergent VRF").size(),
      16U);
}

}  // namespace

}  // namespace ipav::messages
