#include "host/datastore/data_tree.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/datastore/diff.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::Contains;
using host_test::InputErrorOf;
using host_test::JsonL3With;
using host_test::L3With;
using host_test::NodeAt;
using host_test::ProjectModel;
using host_test::ProjectTree;
using host_test::SchemaAt;
using host_test::StartsWith;
using host_test::TempDir;
using host_test::TestModel;
using ipav::datastore::CanonicalText;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;
using ipav::datastore::KeysOf;
using ipav::datastore::NextEntry;

using Keys = std::vector<std::string>;

// What() of the error for a file of that name and text.
std::string ErrorOf(const std::string& name, const std::string& text) {
  std::string error = InputErrorOf([&] {
    DataTree::FromText(ProjectModel(), ipav::datastore::CheckText(name, text));
  });
  EXPECT_TRUE(StartsWith(error, name + ":")) << text;
  EXPECT_EQ(error.find('\n'), std::string::npos) << error;
  return error;
}

// "00:00:00:00" for four octets.
std::string Octets(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += i == 0 ? "00" : ":00";
  return text;
}

std::string RouteWith(const std::string& type, const std::string& destination,
                      const std::string& length, const std::string& next_hop) {
  return "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\"><rtmStaticRtTable>\n"
         "<rtmStaticRtEntry><rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>\n"
         "<rtmStaticRtDestType>" +
         type + "</rtmStaticRtDestType>\n<rtmStaticRtDest>" + destination +
         "</rtmStaticRtDest>\n<rtmStaticRtDestPfxLen>" + length +
         "</rtmStaticRtDestPfxLen>\n<rtmStaticRtNextHopType>" + type +
         "</rtmStaticRtNextHopType>\n<rtmStaticRtNextHop>" + next_hop +
         "</rtmStaticRtNextHop></rtmStaticRtEntry></rtmStaticRtTable>"
         "</DC-RTM-MIB>\n";
}

// --- Good files

TEST(DataFile, OfXmlOrJsonIsRead) {
  const std::string xml = L3With("<vrf>red</vrf>");
  const std::string json = JsonL3With("\"vrf\": \"red\"");
  Keys texts = {xml, json,
                // Behind blanks or a byte order mark.
                " \n\t\r\n" + xml, "\n\n" + json, "\xef\xbb\xbf" + xml,
                "\xef\xbb\xbf" + json,
                // With the end of CDATA where it ends nothing.
                L3With("<vrf><![CDATA[<red>]]></vrf>")};
  for (const std::string markup :
       {"<!-- ]]> -->", "<?p ]]> ?>", "<!-- ' --><!-- ]]> ' -->"}) {
    texts.push_back(L3With(markup + "<vrf>red</vrf>"));
  }
  // With the characters beside those of no XML text.
  for (const std::string character : {"\t", "\x7f", "\xc2\x80", "\xee\xbf\xbf",
                                      "\xef\xbf\xbd", "\xf0\x90\x80\x80"}) {
    texts.push_back(L3With("<vrf><![CDATA[r" + character + "d]]></vrf>"));
  }
  for (const std::string& text : texts) {
    EXPECT_NE(NodeAt(ProjectTree(text), "/config/interface/l3{a}/vrf"), nullptr)
        << text;
  }
}

// --- Files that are none

TEST(DataFile, MayHaveACommentBeforeAValue) {
  const std::string with = "<mtu>1400</mtu><vrf>blue</vrf>";
  for (const char* mtu :
       {"<mtu><!-- was 1500 -->1400</mtu>", "<mtu><?was 1500?>1400</mtu>",
        "<mtu >\n <!-- > -->\n<!--\n-->\n 1400 <!-- now --></mtu>",
        "<mtu><!-- --><![CDATA[1400]]></mtu>"}) {
    const DataTree tree = ProjectTree(
        L3With(mtu + std::string("<!-- a --><vrf><!-- b -->blue</vrf>")));
    EXPECT_TRUE(Diff(ProjectTree(L3With(with)), tree).top().empty()) << mtu;
  }
}

TEST(BadDataFile, MissingOneAndDirectoryAreNamed) {
  const TempDir dir;
  const std::pair<std::string, const char*> cases[] = {
      {dir.path() + "/nothing.xml", "No such file or directory"},
      {dir.path(), "is a directory, not a file"}};
  for (const auto& [file, reason] : cases) {
    EXPECT_EQ(InputErrorOf(
                  [path = file] { DataTree::FromFile(ProjectModel(), path); }),
              file + ": " + reason);
  }
}

TEST(BadDataFile, TruncatedOneIsRefusedWhereverItEnds) {
  for (const std::string& text :
       {L3With("<vrf>red</vrf>"), JsonL3With("\"vrf\": \"red\"")}) {
    const std::size_t end = text.find_last_not_of('\n');
    for (std::size_t length = 1; length <= end; ++length) {
      ErrorOf("data", text.substr(0, length));
      if (HasFailure()) FAIL() << "accepted: " << text.substr(0, length);
    }
  }
}

TEST(Data, OfARouteIsAPrefixAndANextHopOfTheirFamilies) {
  const char* const kLength = "expected a prefix length of 0 to 32 for IPv4";
  const char* const kOctets = "expected 4 octets for an IPv4 address and 16";
  struct Row {
    const char* type;
    std::string destination;
    const char* length;
    std::string next_hop;
    const char* error;  // null: it is valid
  };
  const Row rows[] = {{"ipv4", Octets(4), "0", Octets(4), nullptr},
                      {"ipv4", Octets(4), "32", Octets(4), nullptr},
                      {"ipv4", Octets(4), "33", Octets(4), kLength},
                      {"ipv4", Octets(4), "-1", Octets(4), kLength},
                      {"ipv4", Octets(3), "8", Octets(4), kOctets},
                      {"ipv4", Octets(4), "8", Octets(16), kOctets},
                      {"ipv4", "", "0", Octets(4), kOctets},
                      {"ipv6", Octets(16), "128", Octets(16), nullptr},
                      {"ipv6", Octets(16), "129", Octets(16), kLength},
                      {"ipv6", Octets(4), "8", Octets(16), kOctets},
                      {"ipv6", Octets(16), "8", Octets(17), kOctets},
                      {"unknown", Octets(1), "128", "", nullptr},
                      {"unknown", "", "129", "", kLength}};
  for (const Row& row : rows) {
    const std::string text =
        RouteWith(row.type, row.destination, row.length, row.next_hop);
    if (row.error == nullptr) {
      EXPECT_NO_THROW(ProjectTree(text)) << text;
    } else {
      EXPECT_TRUE(Contains(ErrorOf("data", text), row.error));
    }
  }
}

// --- Look-ups

constexpr char kTwoLists[] =
    "container c { list l { key \"k\"; leaf k { type uint32; } "
    "leaf v { type string; } } list two { key \"a b\"; leaf a { type string; } "
    "leaf b { type uint8; } } } "
    "list top { key k; leaf k { type uint32; } }";

std::string Entries(const std::string& name, int from, int to, int step) {
  std::string xml;
  for (int i = from; i != to; i += step) {
    const std::string number = std::to_string(i);
    xml += "<" + name + "><k>" + number + "</k>";
    if (name == "l") xml += "<v>v" + number + "</v>";
    xml += "</" + name + ">";
  }
  return xml;
}

TEST(FindEntry, FindsEveryEntryOfListsOfAnySize) {
  const TestModel model(kTwoLists);
  const lysc_node& list = SchemaAt(*model, "/c/l");
  for (const int count : {0, 1, 2, 7, 8, 9, 10, 100, 70000}) {
    const DataTree tree =
        model.Tree("<c NS>" + Entries("l", count - 1, -1, -1) + "</c>");
    const lyd_node* c = NodeAt(tree, "/c");
    for (int i = 0; i < count; ++i) {
      const lyd_node* entry = tree.FindEntry(c, list, {std::to_string(i)});
      ASSERT_NE(entry, nullptr) << i;
      EXPECT_EQ(KeysOf(entry), Keys{std::to_string(i)});
    }
    for (const std::string& key :
         {std::to_string(count), std::string("x"), std::string()}) {
      EXPECT_EQ(tree.FindEntry(c, list, {key}), nullptr);
    }
    EXPECT_EQ(tree.Entries(c, list).size(), static_cast<std::size_t>(count));
  }
}

TEST(FindEntry, ComparesAllKeys) {
  for (const int count : {2, 20}) {
    const TestModel model(kTwoLists);
    std::string xml = "<c NS>";
    for (int i = 0; i < count; ++i) {
      const std::string b = std::to_string(i);
      xml += "<two><a>x</a><b>" + b + "</b></two>";
      xml += "<two><a>y z</a><b>" + b + "</b></two>";
    }
    const DataTree tree = model.Tree(xml + "</c>");
    const lysc_node& list = SchemaAt(*model, "/c/two");
    const lyd_node* c = NodeAt(tree, "/c");
    const lyd_node* entry = tree.FindEntry(c, list, {"y z", "1"});
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(KeysOf(entry), (Keys{"y z", "1"}));
    for (const Keys& keys : {Keys{"y", "1"}, Keys{"x", "21"}, Keys{"1", "x"},
                             Keys{"x"}, Keys{"x", "1", "1"}}) {
      EXPECT_EQ(tree.FindEntry(c, list, keys), nullptr);
    }
  }
}

TEST(FindEntry, FindsTopEntries) {
  const TestModel model(kTwoLists);
  for (const int count : {3, 30}) {
    std::string xml = Entries("top", 0, count, 1);
    for (std::size_t at = 0; (at = xml.find("<top>", at)) != std::string::npos;
         at += 8) {
      xml.replace(at, 5, "<top NS>");
    }
    const DataTree tree = model.Tree(xml);
    const lysc_node& list = SchemaAt(*model, "/top");
    EXPECT_NE(tree.FindEntry(nullptr, list, {"2"}), nullptr);
    EXPECT_EQ(tree.FindEntry(nullptr, list, {"30"}), nullptr);
    EXPECT_EQ(tree.Entries(nullptr, list).size(),
              static_cast<std::size_t>(count));
  }
}

TEST(FindEntry, DoesNotTakeAnEntryOfAnotherParent) {
  const TestModel model(
      "list o { key k; leaf k { type string; } list l { "
      "key k; leaf k { type uint32; } "
      "leaf v { type string; } } }");
  const DataTree tree =
      model.Tree("<o NS><k>a</k>" + Entries("l", 0, 20, 1) +
                 "</o><o NS><k>b</k>" + Entries("l", 20, 40, 1) + "</o>");
  const lysc_node& list = SchemaAt(*model, "/o/l");
  EXPECT_NE(tree.FindEntry(NodeAt(tree, "/o{a}"), list, {"7"}), nullptr);
  EXPECT_EQ(tree.FindEntry(NodeAt(tree, "/o{b}"), list, {"7"}), nullptr);
  EXPECT_NE(tree.FindEntry(NodeAt(tree, "/o{b}"), list, {"27"}), nullptr);
  EXPECT_EQ(tree.FindEntry(NodeAt(tree, "/o{a}"), list, {"27"}), nullptr);
}

TEST(FindEntry, WorksOnATreeThatWasMoved) {
  const TestModel model(kTwoLists);
  DataTree tree = model.Tree("<c NS>" + Entries("l", 0, 20, 1) + "</c>");
  EXPECT_NE(NodeAt(tree, "/c/l{7}"), nullptr);
  const DataTree moved = std::move(tree);
  EXPECT_NE(NodeAt(moved, "/c/l{7}"), nullptr);
}

TEST(KeyForms, NumberWithLeadingZerosFindsItsEntry) {
  const TestModel model(kTwoLists);
  for (const int count : {8, 80}) {
    const DataTree tree =
        model.Tree("<c NS>" + Entries("l", 0, count, 1) + "</c>");
    EXPECT_NE(NodeAt(tree, "/c/l{007}"), nullptr);
    EXPECT_NE(NodeAt(tree, "/c/l{+7}"), nullptr);
    EXPECT_EQ(NodeAt(tree, "/c/l{0081}"), nullptr);
  }
}

std::string Ipv6Addresses(int count) {
  std::string xml = "<ipv6>";
  for (int i = 0; i < count; ++i) {
    xml +=
        "<address><ip>2001:DB8::" + std::to_string(i) + ":AB/64</ip></address>";
  }
  return xml + "</ipv6>";
}

TEST(KeyForms, Ipv6AddressIsFoundInAnyForm) {
  for (const int count : {3, 30}) {
    const DataTree tree = ProjectTree(L3With(Ipv6Addresses(count)));
    for (const char* form :
         {"2001:DB8::1:AB/64", "2001:db8::1:ab/64", "2001:0db8:0::1:00AB/64"}) {
      const lyd_node* entry =
          NodeAt(tree, std::string("/config/interface/l3{a}/ipv6/address{") +
                           form + "}");
      ASSERT_NE(entry, nullptr) << form;
      EXPECT_EQ(KeysOf(entry), Keys{"2001:db8::1:ab/64"});
    }
    EXPECT_EQ(NodeAt(tree,
                     "/config/interface/l3{a}/ipv6/address{2001:db8::"
                     "1:ab/65}"),
              nullptr);
  }
}

std::string GlobalRoutes(int count) {
  std::string xml;
  for (int i = 0; i < count; ++i) {
    xml +=
        "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
        "<rtmStaticRtFteIndex>" +
        std::to_string(i) +
        "</rtmStaticRtFteIndex><rtmStaticRtDest>0A:0b:00:00"
        "</rtmStaticRtDest><rtmStaticRtDestPfxLen>16"
        "</rtmStaticRtDestPfxLen><rtmStaticRtNextHop>"
        "</rtmStaticRtNextHop></rtmStaticRtEntry-global>";
  }
  return xml;
}

TEST(KeyForms, OctetsAreFoundInUpperAndLowerCaseAndWhenEmpty) {
  for (const int count : {3, 30}) {
    const DataTree tree = ProjectTree(GlobalRoutes(count));
    for (const char* form : {"0A:0b:00:00", "0a:0b:00:00", "0A:0B:00:00"}) {
      const lyd_node* entry =
          NodeAt(tree, std::string("/rtmStaticRtEntry-global{1 ") + form +
                           " 16 \"\"}");
      ASSERT_NE(entry, nullptr) << form;
      EXPECT_EQ(KeysOf(entry), (Keys{"1", "0a:0b:00:00", "16", ""}));
    }
  }
}

TEST(CanonicalText, WritesValuesInOneFormAndLeavesAloneWhatIsNone) {
  const auto canonical = [](const std::string& path, const char* text) {
    return CanonicalText(SchemaAt(ProjectModel(), path), text);
  };
  const std::string l3 = "/config/interface/l3";
  const std::string destination = "/rtmStaticRtEntry-global/rtmStaticRtDest";
  EXPECT_EQ(canonical(l3 + "/mtu", "01500"), "1500");
  EXPECT_EQ(canonical(l3 + "/ipv6/address/ip", "2001:0DB8::0/64"),
            "2001:db8::/64");
  EXPECT_EQ(canonical(destination, "0A:FF"), "0a:ff");
  EXPECT_EQ(canonical(l3 + "/name", "Core 1"), "Core 1");
  EXPECT_EQ(canonical(l3 + "/mtu", "007"), "007");
  EXPECT_EQ(canonical(l3 + "/mtu", "many"), "many");
  EXPECT_EQ(canonical(destination, "0A:F"), "0A:F");
  EXPECT_EQ(canonical(l3 + "/ipv6/address/ip", "2001:DB8::"), "2001:DB8::");
}

// --- Order

Keys OrderOf(const DataTree& tree, const std::string& path) {
  Keys order;
  for (const lyd_node* entry = NodeAt(tree, path); entry != nullptr;
       entry = NextEntry(entry)) {
    order.push_back(KeysOf(entry).at(0));
  }
  return order;
}

TEST(Order, OfEntriesIsThatOfTheDocument) {
  const TestModel model(kTwoLists);
  const DataTree tree = model.Tree("<c NS>" + Entries("l", 4, 0, -1) + "</c>");
  EXPECT_EQ(OrderOf(tree, "/c/l"), (Keys{"4", "3", "2", "1"}));
}

TEST(Order, OfEntriesIsKeptWhereListsInterleave) {
  const TestModel model(kTwoLists);
  const std::string other = "<two><a>x</a><b>";
  const DataTree tree =
      model.Tree("<c NS>" + Entries("l", 3, 2, -1) + other + "1</b></two>" +
                 Entries("l", 1, 2, 1) + other + "2</b></two>" +
                 Entries("l", 2, 3, 1) + "</c>");
  EXPECT_EQ(OrderOf(tree, "/c/l"), (Keys{"3", "1", "2"}));
  EXPECT_EQ(tree.Entries(NodeAt(tree, "/c"), SchemaAt(*model, "/c/two")).size(),
            2U);
}

TEST(Order, OfKeysIsThatOfTheModel) {
  const DataTree tree = ProjectTree(
      "{\"vorplex-internal:internal\": {\"ospf-interface-l3\": [{"
      "\"address\": \"10.0.0.1\", \"ospf-pm-ip-netmask\": 24, "
      "\"interface\": \"l3-a\", \"area\": \"0.0.0.0\", "
      "\"compound-id\": 7}]}}");
  const lyd_node* entry = NodeAt(tree, "/internal/ospf-interface-l3");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(KeysOf(entry), (Keys{"7", "0.0.0.0", "l3-a", "10.0.0.1"}));
}

TEST(NextEntry, EndsBehindTheLastEntry) {
  const TestModel model(kTwoLists);
  const DataTree tree = model.Tree("<c NS>" + Entries("l", 1, 2, 1) +
                                   "<two><a>x</a><b>1</b></two></c>");
  EXPECT_EQ(NextEntry(NodeAt(tree, "/c/l")), nullptr);
  EXPECT_EQ(NextEntry(NodeAt(tree, "/c/two")), nullptr);
}

// --- The empty configuration

TEST(EmptyTree, HasPlainContainersOnly) {
  const DataTree tree = DataTree::Empty(ProjectModel());
  EXPECT_NE(NodeAt(tree, "/config/interface"), nullptr);
  EXPECT_NE(NodeAt(tree, "/internal/vrf-config"), nullptr);
  EXPECT_NE(NodeAt(tree, "/DC-RTM-MIB/rtmStaticRtTable"), nullptr);
  EXPECT_EQ(NodeAt(tree, "/config/interface/l3"), nullptr);
  EXPECT_EQ(NodeAt(tree, "/rtmStaticRtEntry-global"), nullptr);
}

TEST(EmptyTree, OfAModelWithoutPlainContainersHasNothing) {
  const TestModel model(
      "container p { presence \"p\"; } "
      "leaf a { type string; }");
  const DataTree tree = DataTree::Empty(*model);
  EXPECT_EQ(tree.Find(nullptr, SchemaAt(*model, "/p")), nullptr);
  EXPECT_EQ(tree.Find(nullptr, SchemaAt(*model, "/a")), nullptr);
}

}  // namespace
