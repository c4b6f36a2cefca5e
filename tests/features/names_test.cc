#include "cli/lsp/features/names.h"

#include <gtest/gtest.h>

#include "tests/features/marked_text.h"

namespace features_test {

namespace {

using ipav::features::RenameError;

std::string Starter() { return ipav::testing::ReadFile(IPAV_STARTER); }

// The text with the cursor behind `part` in the n-th occurrence of `around`.
MarkedText StarterAt(const std::string& around, const std::string& part) {
  MarkedText text(Starter());
  const std::size_t at = text.text.find(around);
  EXPECT_NE(at, std::string::npos) << around;
  text.cursor = at + around.find(part) + part.size();
  return text;
}

// Each value with its line.
std::string Shown(const MarkedText& text, const std::vector<Span>& spans) {
  std::string shown;
  for (const Span& span : spans) {
    const std::size_t begin = text.text.rfind('\n', span.begin) + 1;
    std::string line =
        text.text.substr(begin, text.text.find('\n', span.end) - begin);
    line.erase(0, line.find_first_not_of(' '));
    shown += line + "\n";
  }
  return shown;
}

std::string Definitions(const MarkedText& text) {
  return Shown(text, DefinitionsAt(text.Read(), text.cursor));
}

std::string References(const MarkedText& text, bool with_definitions) {
  return Shown(text, ReferencesAt(text.Read(), text.cursor, with_definitions));
}

TEST(Definitions, LeadFromATableToTheInterface) {
  EXPECT_EQ(Definitions(StarterAt("<interface>l3-uplink", "l3-up")),
            "<name>uplink</name>\n");
  EXPECT_EQ(Definitions(StarterAt("<ospfv3-pm-if-name>l3", "l3")),
            "<name>uplink</name>\n");
  EXPECT_EQ(Definitions(StarterAt("<interface-name>l3-", "l3")),
            "<name>uplink</name>\n");
}

TEST(Definitions, LeadFromAnInterfaceToItsVrf) {
  EXPECT_EQ(Definitions(StarterAt("<vrf>guest", "gu")),
            "<vname>guest</vname>\n");
  EXPECT_EQ(Definitions(StarterAt("<vrf>mgmt", "mg")), "");
}

TEST(Definitions, LeadFromARouteToItsOutputInterfaceAndBack) {
  EXPECT_EQ(Definitions(StarterAt("<rtmStaticRtNextHop>c0:00:02:01", "c0")),
            "<name>uplink</name>\n");
  MarkedText back(Starter());
  back.cursor = back.text.rfind("c0:00:02:01");
  EXPECT_EQ(Definitions(back),
            "<rtmStaticRtDest>00:00:00:00</rtmStaticRtDest>\n");
  EXPECT_EQ(Definitions(StarterAt("<rtmStaticRtDest>0a:00", "0a")), "");
  EXPECT_EQ(Definitions(StarterAt("<!-- The output interface", "out")), "");
}

TEST(Definitions, LeadFromTheOutputInterfaceIfTheInterfaceIsMissing) {
  MarkedText text = StarterAt("<rtmStaticRtNextHop>c0:00:02:01", "c0");
  text.text.replace(text.text.find("<name>uplink"), 12, "<name>uplonk");
  EXPECT_EQ(Definitions(text), "<interface-name>l3-uplink</interface-name>\n");
}

TEST(References, AreAllUsesOfAName) {
  const std::string uses =
      "<interface>l3-uplink</interface>\n"
      "<interface>l3-uplink</interface>\n"
      "<ospfv3-pm-if-name>l3-uplink</ospfv3-pm-if-name>\n"
      "<interface-name>l3-uplink</interface-name>\n";
  EXPECT_EQ(References(StarterAt("<name>uplink", "up"), false), uses);
  EXPECT_EQ(References(StarterAt("<interface>l3-uplink", "l3"), true),
            "<name>uplink</name>\n" + uses);
  EXPECT_EQ(References(StarterAt("<vlan>10", "1"), false), "");
}

// Other processes, and OSPFv3, have areas of the same number.
TEST(References, OfAnAreaAreThoseOfItsProcess) {
  std::string text = "<internal xmlns='urn:vorplex:internal'>\n";
  for (const char* owner : {"compound-id>1", "compound-id>2", "router>1"}) {
    const std::string version = owner[0] == 'r' ? "v3" : "";
    for (const char* name : {"a", "b"}) {
      text += "<ospf" + version + "-interface-l3>";
      text += "<area>0.0.0.1</area><interface>l3-" + std::string(name);
      text += std::string("</interface><") + owner + "</></ospf" + version +
              "-interface-l3>\n";
    }
  }
  for (const std::string owner : {"compound-id>2", "router>1"}) {
    MarkedText marked(text);
    const std::size_t row = text.rfind('\n', text.find(owner)) + 1;
    marked.cursor = text.find("0.0.0.1", row);
    const std::size_t next = text.find('\n', row) + 1;
    EXPECT_EQ(References(marked, true),
              text.substr(row, text.find('\n', next) + 1 - row));
  }
}

TEST(References, OfAVrfIncludeItsIndex) {
  MarkedText text = StarterAt("<vrf>guest", "gu");
  const std::string route = "<rtmStaticRtFteIndex>0<";
  text.text.replace(text.text.find(route), route.size(),
                    "<rtmStaticRtFteIndex>02<");
  EXPECT_EQ(References(text, false),
            "<vrf>guest</vrf>\n"
            "<rtmStaticRtFteIndex>02</rtmStaticRtFteIndex>\n");
}

// The text after a renaming; or why it is not possible.
std::string Renamed(const MarkedText& text, const std::string& name) {
  try {
    return ipav::source::Replace(text.text,
                                 Rename(text.Read(), text.cursor, name));
  } catch (const RenameError& error) {
    return error.what();
  }
}

TEST(Renaming, ChangesAllPlacesInTheirOwnForm) {
  const MarkedText text(InL3("<name>a|b</name>") +
                        "<internal xmlns='urn:vorplex:internal'>"
                        "<ospfv3-interface-l3><interface>l3-ab</interface>"
                        "<interface>loopback-ab</interface>");
  const auto span = RenamedAt(text.Read(), text.cursor);
  EXPECT_EQ(text.At(span), "ab");
  const std::string longest(60, 'c');
  EXPECT_EQ(Renamed(text, longest),
            InL3("<name>" + longest + "</name>") +
                "<internal xmlns='urn:vorplex:internal'>"
                "<ospfv3-interface-l3><interface>l3-" +
                longest +
                "</interface>"
                "<interface>loopback-ab</interface>");

  const MarkedText json(
      R"({"vorplex-internal:internal": {"ospf-index-to-proc-id": [)"
      R"({"compound-id": 1|}], "ospf-interface-l3": [{"compound-id": 1}]}})");
  EXPECT_EQ(Renamed(json, "22"),
            R"({"vorplex-internal:internal": {"ospf-index-to-proc-id": [)"
            R"({"compound-id": 22}], "ospf-interface-l3": [)"
            R"({"compound-id": 22}]}})");
}

TEST(Renaming, RefusesWhatCannotBeANameAndSaysWhy) {
  const auto expect = [](const MarkedText& text, const std::string& name,
                         const std::string& why) {
    EXPECT_EQ(Renamed(text, name),
              "\"" + name + "\" cannot be the new name: " + why);
  };
  const MarkedText uplink = StarterAt("<name>uplink", "up");
  expect(StarterAt("<interface>l3-uplink", "l3"), "uplink2",
         "it does not begin with \"l3-\"");
  expect(uplink, "users", "l3-users exists already");
  expect(uplink, std::string(61, 'a'), "an l3 name has at most 60 bytes");
  expect(uplink, "a b", "an l3 name has only 0-9, a-z, A-Z, _ and -");
  expect(StarterAt("<compound-id>1", "1"), "x",
         "not a value of /internal/ospf-index-to-proc-id/compound-id");
  for (const char* area : {"foo", "13", "0.0.0", "0.0.0.256"}) {
    expect(StarterAt("<area>0.0.0.0", "0."), area,
           "an area is written as four numbers with dots, such as 0.0.0.1");
  }
  expect(StarterAt("<vrf>guest", "gu"), "global",
         "the rules fix what this VRF is");
  EXPECT_EQ(Renamed(StarterAt("<vrf>mgmt", "mg"), "a"),
            "\"mgmt\" cannot be renamed: the rules fix this name of a VRF");
  EXPECT_EQ(Renamed(StarterAt("<vlan>10", "1"), "2"), "no name to change here");
}

}  // namespace

}  // namespace features_test
