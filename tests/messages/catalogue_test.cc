// The table of messages against docs/messages.md and the end-to-end cases.

#include "messages/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/messages/messages_document.h"

namespace ipav::messages {

namespace {

using ipav::testing::DocumentedText;
using Fields = std::map<std::string, std::string>;

// The anchor that a page of the document gives to a heading.
std::string AnchorOf(const std::string& heading) {
  std::string anchor;
  for (const char c : heading) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0 || c == '-' || c == '_') {
      anchor += static_cast<char>(std::tolower(byte));
    } else if (c == ' ') {
      anchor += '-';
    }
  }
  return anchor;
}

// With what is filled in, limits included, all alike.
std::string WithoutFields(const std::string& text) {
  const std::string filled =
      std::regex_replace(text, std::regex("<[a-z-]+>"), "<>");
  return std::regex_replace(
      filled, std::regex("(at most|length:|exceeds) [0-9]+"), "$1 <>");
}

std::set<std::pair<std::string, std::string>> PatternsByAnchor() {
  std::set<std::pair<std::string, std::string>> patterns;
  for (const Message& message : Messages()) {
    for (const std::string& pattern : message.patterns) {
      patterns.emplace(message.anchor, WithoutFields(pattern));
    }
  }
  return patterns;
}

std::set<std::string> RulesOf(const std::string& text) {
  std::set<std::string> rules;
  for (const Reading& reading : ReadText(text)) {
    rules.insert(reading.message->rule);
  }
  return rules;
}

// The fields of the only reading.
Fields FieldsOf(const std::string& text) {
  const std::vector<Reading> readings = ReadText(text);
  EXPECT_EQ(readings.size(), 1U) << text;
  return readings.size() == 1 ? readings.front().fields : Fields();
}

TEST(CatalogueTest, HasTheTextsOfTheDocumentUnderTheirHeadingsAndNoOthers) {
  std::set<std::pair<std::string, std::string>> documented;
  for (const DocumentedText& text : ipav::testing::ReadMessages()) {
    if (!IsForOperators(text)) continue;
    documented.emplace(AnchorOf(text.heading), WithoutFields(text.text));
  }
  ASSERT_GE(documented.size(), 25U);
  EXPECT_EQ(PatternsByAnchor(), documented);
}

TEST(CatalogueTest, TitlesAreHeadingsAndLeadToTheirAnchors) {
  const std::vector<std::string> headings = ipav::testing::ReadHeadings();
  for (const Message& message : Messages()) {
    EXPECT_EQ(std::count(headings.begin(), headings.end(), message.title), 1)
        << message.title;
    EXPECT_EQ(message.anchor, AnchorOf(message.title));
  }
}

TEST(CatalogueTest, EachPointThatRefusesACaseIsOneOfItsMessage) {
  for (const auto& file :
       std::filesystem::recursive_directory_iterator(IPAV_ROOT "/tests/e2e")) {
    if (file.path().filename() != "expect.txt") continue;
    const std::string point =
        file.path().parent_path().parent_path().filename();
    std::string text = ipav::testing::Read(file.path());
    text.pop_back();
    for (const Reading& reading : ReadText(text)) {
      const auto& points = reading.message->points;
      EXPECT_EQ(std::count(points.begin(), points.end(), point), 1)
          << point << ": " << text;
    }
  }
}

TEST(CatalogueTest, EachPointOfAMessageIsOneOfTheDocument) {
  const std::string document =
      ipav::testing::Read(IPAV_ROOT "/docs/messages.md");
  for (const Message& message : Messages()) {
    ASSERT_FALSE(message.points.empty()) << message.rule;
    for (const std::string& point : message.points) {
      EXPECT_NE(document.find("`" + point + "`"), std::string::npos) << point;
    }
  }
}

TEST(CatalogueTest, EachMessageHasAnIdentifierOfItsOwnAndAdvice) {
  std::set<std::string> rules;
  const std::regex kebab("[a-z0-9]+(-[a-z0-9]+)+");
  for (const Message& message : Messages()) {
    EXPECT_TRUE(std::regex_match(message.rule, kebab)) << message.rule;
    EXPECT_TRUE(rules.insert(message.rule).second) << message.rule;
    EXPECT_GE(message.advice.size(), 30U) << message.rule;
    EXPECT_EQ(message.advice.back(), '.') << message.rule;
    EXPECT_EQ(FindMessage(message.rule), &message);
  }
  EXPECT_EQ(FindMessage("no-such-rule"), nullptr);
}

TEST(CatalogueTest, EachExpectedTextOfACaseIsOfOneMessage) {
  const std::vector<std::string> texts = ipav::testing::ExpectedTexts();
  ASSERT_GE(texts.size(), 300U);
  for (const std::string& text : texts) {
    EXPECT_EQ(RulesOf(text).size(), 1U) << text;
  }
}

TEST(CatalogueTest, EachMessageOfAConfigurationIsReadFromACase) {
  std::set<std::string> read;
  for (const std::string& text : ipav::testing::ExpectedTexts()) {
    read.merge(RulesOf(text));
  }
  for (const Message& message : Messages()) {
    if (message.rule == "interface-not-judged" ||
        message.rule == "plugin-not-started") {
      continue;  // of a wrong data model, and of a wrong host
    }
    EXPECT_EQ(read.count(message.rule), 1U) << message.rule;
  }
}

TEST(CatalogueTest, ReadsWhatIsFilledIn) {
  EXPECT_EQ(
      FieldsOf("l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with mgmt "
               "eth0 vrf mgmt ipv4 address 10.0.0.2/25."),
      (Fields{{"interface", "l3 a"},
              {"vrf", "global"},
              {"prefix", "10.0.0.1/24"},
              {"other-interface", "mgmt eth0"},
              {"other-vrf", "mgmt"},
              {"other-prefix", "10.0.0.2/25"}}));
  EXPECT_EQ(FieldsOf("10.0.0.1/24 cannot be modified nor deleted, it is "
                     "assigned to router ospf 0 vrf  area 1 (0.0.0.1)"),
            (Fields{{"prefix", "10.0.0.1/24"},
                    {"process", "0"},
                    {"vrf", ""},
                    {"number", "1"},
                    {"area", "0.0.0.1"}}));
  EXPECT_EQ(FieldsOf("vlan -7 cannot be changed, it is assigned to router "
                     "ospfv3 -1 area 1 (0.0.0.1)"),
            (Fields{{"vlan", "-7"},
                    {"router", "-1"},
                    {"number", "1"},
                    {"area", "0.0.0.1"}}));
}

TEST(CatalogueTest, ReadsNamesThatLookLikeTexts) {
  EXPECT_EQ(FieldsOf("L3 interface name  is too short (minimum length: 1 "
                     "character)")
                .at("name"),
            "");
  EXPECT_EQ(
      FieldsOf("L3 interface name a\nb{c} is too long (maximum length: 60 "
               "characters) contains invalid characters (allowed characters: "
               "0-9, a-z, A-Z, _, -)")
          .at("name"),
      "a\nb{c} is too long (maximum length: 60 characters)");
  // A VRF or an interface may be meant by "vrf b".
  EXPECT_EQ(ReadText("mgmt a vrf b vrf c and router ospf 1 vrf d cannot be "
                     "associated with divergent VRF")
                .size(),
            2U);
}

TEST(CatalogueTest, ReadsNoOtherText) {
  EXPECT_TRUE(ReadText("").empty());
  EXPECT_TRUE(ReadText("Lib context is null").empty());
  EXPECT_TRUE(ReadText("Lib context is null!!").empty());
  EXPECT_TRUE(ReadText("bridge a has duplicated IPv4 address 1.2.3.4").empty());
  EXPECT_TRUE(ReadText("l3 a has duplicated IPv4 address one").empty());
  EXPECT_TRUE(ReadText("l3 a has duplicated IPv4 address 1.2.3.4 ").empty());
}

TEST(CatalogueTest, EndsItsSearchInANameOfManyReadings) {
  std::string text = "mgmt a";
  for (int i = 0; i < 2000; ++i) text += " vrf b and router ospf 1";
  EXPECT_LE(
      ReadText(text + " vrf c cannot be associated with divergent VRF").size(),
      16U);
}

}  // namespace

}  // namespace ipav::messages
