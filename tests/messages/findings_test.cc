// Findings of refusals by the real plug-in, and of texts that fit no data.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_file.h"
#include "host/source/source_text.h"
#include "messages/catalogue.h"
#include "messages/data_view.h"
#include "messages/finder.h"
#include "messages/finding.h"
#include "messages/restart_faults.h"
#include "tests/host/fixtures.h"

namespace ipav::messages {

namespace {

namespace fs = std::filesystem;
using commit::Answer;
using datastore::DataTree;
using datastore::Novelty;
using host_test::MarkedIn;
using host_test::ProjectModel;

// A file and its text, for what a finding shows of it.
class File {
 public:
  File(const std::string& name, std::string text)
      : text_(datastore::CheckText(name, std::move(text))),
        tree_(DataTree::FromText(ProjectModel(), text_)),
        source_(text_) {}

  const DataTree& tree() const { return tree_; }
  Configuration configuration() const { return {&tree_, text_.path, &source_}; }

 private:
  datastore::InputText text_;
  DataTree tree_;
  source::SourceText source_;
};

// The findings of a commit, judged by the real plug-in.
std::vector<Finding> FindingsOf(const File& running, const File& candidate,
                                bool all = false) {
  const commit::Outcome outcome = commit::RunCommit(
      running.tree(), candidate.tree(), {IPAV_PLUGIN, all, base::kNoTimeLimit});
  return Finder(running.configuration(), candidate.configuration())
      .ExplainAll(outcome);
}

const char* WordOf(Novelty novelty) {
  constexpr const char* kWords[] = {"unchanged", "added", "changed", "removed"};
  return kWords[static_cast<std::size_t>(novelty)];
}

// "ROLE, NOVELTY PATH FILE:LINE MARKED".
std::string Written(const Culprit& culprit) {
  std::string text =
      culprit.role + ", " + WordOf(culprit.novelty) + " " + culprit.path + " ";
  if (!culprit.place) return text + "nowhere";
  return text + culprit.place->file + ":" +
         std::to_string(culprit.place->line) + " " + MarkedIn(*culprit.place);
}

std::vector<std::string> Written(const Finding& finding) {
  std::vector<std::string> lines;
  for (const Culprit& culprit : finding.culprits) {
    lines.push_back(Written(culprit));
  }
  if (!finding.note.empty()) lines.push_back("note: " + finding.note);
  return lines;
}

// The end-to-end cases compare whole findings with the real command.
TEST(FindingsTest, EachMessageOfAConfigurationHasACaseWithItsFinding) {
  std::set<std::string> traced = {"interface-not-judged", "plugin-not-started"};
  for (const auto& file :
       fs::recursive_directory_iterator(IPAV_ROOT "/tests/e2e")) {
    if (file.path().filename() != "findings.txt") continue;
    std::string rule;
    std::getline(std::ifstream(file.path()), rule);
    traced.insert(rule);
  }
  for (const Message& message : Messages()) {
    if (!message.refuses) continue;
    EXPECT_EQ(traced.count(message.rule), 1U) << message.rule;
  }
}

const File& EmptyConfig() {
  static const File file("nothing.xml",
                         "<config xmlns=\"urn:vorplex:config\"/>");
  return file;
}

// An interface with a network address, and the same IPv6 address twice.
std::vector<Finding> FindingsOfBothFamilies(bool all) {
  const File candidate("both.xml", R"(
<config xmlns="urn:vorplex:config"><interface>
  <l3 xmlns="urn:vorplex:ipapp"><name>users</name>
    <ipv4><address><ip>10.20.10.0/24</ip></address></ipv4>
    <ipv6><address><ip>2001:db8::1/64</ip></address>
      <address><ip>2001:db8::1/65</ip></address></ipv6>
  </l3></interface></config>)");
  return FindingsOf(EmptyConfig(), candidate, all);
}

TEST(FindingsTest, AFindingHasWhatTheMessageSays) {
  const std::vector<Finding> findings = FindingsOfBothFamilies(false);
  ASSERT_EQ(findings.size(), 1U);
  const Finding& finding = findings.front();
  const Message& message = *FindMessage("address-is-network");
  EXPECT_EQ(finding.text,
            "l3 users ipv4 address 10.20.10.0/24 cannot be configured as "
            "network address.");
  EXPECT_EQ(finding.point, "ipv4_addr_validation");
  EXPECT_EQ(finding.path, "/config/interface/l3");
  EXPECT_EQ(finding.title, message.title);
  EXPECT_EQ(finding.advice, message.advice);
  EXPECT_EQ(finding.anchor, message.anchor);
  ASSERT_EQ(finding.culprits.size(), 1U);
  EXPECT_EQ(finding.culprits.front().value, "10.20.10.0/24");
}

// ---- What the data do not bear out -----------------------------------------

const File& SmallRouter() {
  static const File file("small.xml", R"(
<config xmlns="urn:vorplex:config"><interface>
  <l3 xmlns="urn:vorplex:ipapp"><name>a</name>
    <ipv4><address><ip>10.0.0.1/24</ip></address></ipv4></l3>
  <l3 xmlns="urn:vorplex:ipapp"><name>b</name><vrf>red</vrf>
    <ipv4><address><ip>10.0.0.2/24</ip></address></ipv4></l3>
  <mgmt xmlns="urn:vorplex:ipapp"><name>a vrf b</name><vrf>c</vrf></mgmt>
</interface></config>)");
  return file;
}

// The finding of a refusal with that text, of an empty device that would get
// this configuration.
Finding ExplainIn(const File& candidate, std::optional<std::string> text,
                  const std::string& path = "/config/interface/l3") {
  static const DataTree kEmpty = DataTree::Empty(ProjectModel());
  Answer answer;
  answer.opaque = "ipv4_addr_validation";
  answer.path = path;
  answer.result = -1;
  answer.text = std::move(text);
  return Finder({&kEmpty, "", nullptr}, candidate.configuration())
      .Explain(answer);
}

Finding Explain(std::optional<std::string> text,
                const std::string& path = "/config/interface/l3") {
  return ExplainIn(SmallRouter(), std::move(text), path);
}

TEST(FindingsTest, AnAddressThatTheInterfaceDoesNotHaveIsNoCulprit) {
  const Finding finding = Explain(
      "l3 a ipv4 address 10.0.0.0/24 cannot be configured as network address.");
  EXPECT_EQ(finding.rule, "address-is-network");
  EXPECT_TRUE(finding.culprits.empty());
  EXPECT_EQ(finding.note,
            "the configuration does not show what the text names");
}

TEST(FindingsTest, AnOverlapOfTwoVrfsIsNoneInTheData) {
  const Finding finding = Explain(
      "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b vrf global "
      "ipv4 address 10.0.0.2/24.");
  EXPECT_EQ(finding.rule, "interface-overlap");
  EXPECT_TRUE(finding.culprits.empty());
  EXPECT_NE(finding.note, "");
}

TEST(FindingsTest, NoTextOfTheOtherMessagesLeadsToANodeHere) {
  const std::map<std::string, std::string> values = {
      {"interface", "l3 a"}, {"prefix", "10.9.9.9/24"}, {"address", "10.9.9.9"},
      {"area", "0.0.0.0"},   {"vrf", "global"},         {"name", "c"}};
  for (const Message& message : Messages()) {
    if (!message.refuses) continue;
    for (const Text& one : message.texts) {
      std::string text = one.pattern;
      for (std::size_t open = text.find('<'); open != std::string::npos;
           open = text.find('<')) {
        const std::size_t close = text.find('>');
        std::string field = text.substr(open + 1, close - open - 1);
        field = field.substr(field.rfind('-') + 1);
        const auto value = values.find(field);
        text.replace(open, close - open + 1,
                     value == values.end() ? "7" : value->second);
      }
      const Finding finding = Explain(text);
      EXPECT_EQ(finding.rule, message.rule) << text;
      EXPECT_TRUE(finding.culprits.empty()) << text;
      EXPECT_NE(finding.note, "") << text;
    }
  }
}

TEST(FindingsTest, ATextThatNobodyKnowsHasNoRule) {
  for (const char* text : {"", "no", "l3 a", "\xff\n\x1b"}) {
    const Finding finding = Explain(text);
    EXPECT_EQ(finding.text, text);
    EXPECT_EQ(finding.rule, "");
    EXPECT_EQ(finding.advice, "");
    EXPECT_TRUE(finding.culprits.empty());
    EXPECT_EQ(finding.note,
              "no text of docs/messages.md: the nodes concerned are not known");
  }
  EXPECT_EQ(Explain(std::nullopt).note,
            "without a text, the nodes concerned are not known");
}

TEST(FindingsTest, APathOfAnotherModelLeadsNowhere) {
  for (const char* path : {"", "/", "/frob", "/config{", "/config/interface/l3",
                           "/config/interface/l3{a}", "config"}) {
    const Finding finding = Explain(
        "Minimum interval must be no greater than maximum interval * 0.75",
        path);
    EXPECT_EQ(finding.rule, "ra-min-interval");
    EXPECT_TRUE(finding.culprits.empty());
    EXPECT_NE(finding.note, "");
  }
}

TEST(FindingsTest, TheDataTellWhichReadingOfANameIsMeant) {
  const File file("odd.xml", R"(
<config xmlns="urn:vorplex:config"><interface>
  <loopback xmlns="urn:vorplex:ipapp"><name>a vrf b</name><vrf>c</vrf>
  </loopback></interface></config>
<internal xmlns="urn:vorplex:internal">
  <ospf-interface-l3><compound-id>1</compound-id><area>0.0.0.0</area>
    <interface>loopback-a vrf b</interface><address>10.0.0.1</address>
  </ospf-interface-l3>
  <ospf-index-to-proc-id><compound-id>1</compound-id><proc_id>7</proc_id>
    <vrf_name>d</vrf_name></ospf-index-to-proc-id></internal>)");
  const Finding finding = ExplainIn(
      file,
      "loopback a vrf b vrf c and router ospf 7 vrf d cannot be associated "
      "with divergent VRF");
  EXPECT_EQ(finding.rule, "ospf-vrf-differs");
  EXPECT_EQ(
      Written(finding),
      (std::vector<std::string>{
          "VRF of the interface, added /config/interface/loopback{\"a vrf b\"}"
          "/vrf odd.xml:3 c",
          "assigned to OSPFv2, added /internal/ospf-interface-l3{1 0.0.0.0 "
          "\"loopback-a vrf b\" 10.0.0.1}/interface odd.xml:7 loopback-a vrf b",
          "VRF of the process, added /internal/ospf-index-to-proc-id{1}"
          "/vrf_name odd.xml:10 d"}));
}

TEST(FindingsTest, ReadingsThatTheDataBothBearOutAreNotChosenFrom) {
  const File file("odd.xml", R"(
<config xmlns="urn:vorplex:config"><interface>
  <loopback xmlns="urn:vorplex:ipapp"><name>a vrf b</name><vrf>c</vrf>
  </loopback>
  <loopback xmlns="urn:vorplex:ipapp"><name>a</name><vrf>b vrf c</vrf>
  </loopback></interface></config>
<internal xmlns="urn:vorplex:internal">
  <ospf-interface-l3><compound-id>1</compound-id><area>0.0.0.0</area>
    <interface>loopback-a vrf b</interface><address>10.0.0.1</address>
  </ospf-interface-l3>
  <ospf-interface-l3><compound-id>1</compound-id><area>0.0.0.0</area>
    <interface>loopback-a</interface><address>10.0.0.1</address>
  </ospf-interface-l3></internal>)");
  const Finding finding = ExplainIn(
      file,
      "loopback a vrf b vrf c and router ospf 0 vrf  cannot be associated with "
      "divergent VRF");
  EXPECT_EQ(finding.rule, "ospf-vrf-differs");
  EXPECT_TRUE(finding.culprits.empty());
  EXPECT_EQ(finding.note,
            "the text can be read in several ways, and the configuration has "
            "nodes for more than one");
}

// ---- At most five of a role are named --------------------------------------

// A route to 10.1.0.0/16 in each of the VRFs from 1 on.
std::string Routes(int count, const std::string& next_hop) {
  std::string routes;
  for (int vrf = 1; vrf <= count; ++vrf) {
    routes += "<rtmStaticRtEntry><rtmStaticRtFteIndex>" + std::to_string(vrf) +
              "</rtmStaticRtFteIndex><rtmStaticRtDestType>ipv4"
              "</rtmStaticRtDestType><rtmStaticRtDest>0a:01:00:00"
              "</rtmStaticRtDest><rtmStaticRtDestPfxLen>16"
              "</rtmStaticRtDestPfxLen><rtmStaticRtNextHopType>ipv4"
              "</rtmStaticRtNextHopType>\n<rtmStaticRtNextHop>" +
              next_hop + "</rtmStaticRtNextHop></rtmStaticRtEntry>";
  }
  return routes;
}

// VRF 1 is the global one: it has no name.
TEST(FindingsTest, EachVrfThatHasABlackHoleAndANextHopIsNamed) {
  for (const int count : {2, 5, 6}) {
    std::string names;
    for (int vrf = 2; vrf <= count; ++vrf) {
      const std::string index = std::to_string(vrf);
      names += "<indexTOstring><index>" + index + "</index><vname>v" + index +
               "</vname></indexTOstring>";
    }
    const File file(
        "routes.xml",
        "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\"><rtmStaticRtTable>" +
            Routes(count, "00:00:00:00") + Routes(count, "0a:00:00:09") +
            "</rtmStaticRtTable></DC-RTM-MIB>"
            "<internal xmlns=\"urn:vorplex:internal\"><vrf-config>" +
            names + "</vrf-config></internal>");
    const std::vector<Finding> findings = FindingsOf(EmptyConfig(), file);
    ASSERT_EQ(findings.size(), 1U);
    // Two routes of each, and the names.
    EXPECT_EQ(findings[0].culprits.size(),
              static_cast<std::size_t>(3 * std::min(count, 5) - 1));
    EXPECT_EQ(findings[0].note, "the text names no VRF, and " +
                                    std::to_string(count) +
                                    " VRFs have the prefix twice" +
                                    (count > 5 ? "; 5 are listed" : ""));
  }
}

TEST(FindingsTest, FiveRoutesThroughAnInterfaceWithoutVlanAreNamed) {
  for (const int count : {5, 6}) {
    std::string outputs;
    for (int vrf = 1; vrf <= count; ++vrf) {
      // The black hole does not count.
      for (const char* next_hop : {"0a:00:00:09", "00:00:00:00"}) {
        outputs +=
            "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
            "<rtmStaticRtFteIndex>" +
            std::to_string(vrf) +
            "</rtmStaticRtFteIndex><rtmStaticRtDest>0a:01:00:00"
            "</rtmStaticRtDest><rtmStaticRtDestPfxLen>16"
            "</rtmStaticRtDestPfxLen><rtmStaticRtNextHop>" +
            next_hop +
            "</rtmStaticRtNextHop><interface-name>l3-a"
            "</interface-name></rtmStaticRtEntry-global>";
      }
    }
    const File file(
        "routes.xml",
        "<config xmlns=\"urn:vorplex:config\"><interface>"
        "<l3 "
        "xmlns=\"urn:vorplex:ipapp\"><name>a</name></l3></interface></config>"
        "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\"><rtmStaticRtTable>" +
            Routes(count, "00:00:00:00") + Routes(count, "0a:00:00:09") +
            "</rtmStaticRtTable></DC-RTM-MIB>" + outputs);
    const Finding finding = ExplainIn(
        file,
        "l3 a is being used by a static route. Lower-layer-if cannot be "
        "removed from this interface");
    // The interface, and for each route the output and the next hop.
    EXPECT_EQ(finding.culprits.size(), 11U);
    EXPECT_EQ(finding.note,
              count == 5
                  ? ""
                  : "1 of the 6 routes through the interface are not listed");
  }
}

TEST(FindingsTest, FiveEqualAddressesOfAnInterfaceAreNamed) {
  for (const int count : {5, 6}) {
    std::string addresses;
    for (int i = 0; i < count; ++i) {
      addresses += "<address><ip>2001:db8::1/" + std::to_string(60 + i) +
                   "</ip></address>";
    }
    const File file("addresses.xml",
                    "<config xmlns=\"urn:vorplex:config\"><interface>"
                    "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv6>" +
                        addresses + "</ipv6></l3></interface></config>");
    const Finding finding =
        ExplainIn(file, "l3 a has duplicated IPv6 address 2001:db8::1");
    EXPECT_EQ(finding.culprits.size(), 5U);
    EXPECT_EQ(
        finding.note,
        count == 5
            ? ""
            : "the interface has the address 6 times; the first 5 are listed");
  }
}

// ---- Names of VRFs ----------------------------------------------------------

TEST(VrfNames, ThatLookSpecialAndAreNotAreAdvisedOn) {
  const auto l3 = [](const std::string& name, const std::string& vrf) {
    return "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" + name + "</name><vrf>" +
           vrf + "</vrf></l3>";
  };
  const File file(
      "vrfs.xml",
      "<config xmlns=\"urn:vorplex:config\"><interface>" + l3("a", "MGMT") +
          l3("b", "global") + l3("c", "mgmt") + l3("d", "red") +
          l3("e", "MGMT") + l3("f", "global2") +
          "<loopback xmlns=\"urn:vorplex:ipapp\"><name>lo</name>"
          "<vrf>default</vrf></loopback>"
          "<mgmt xmlns=\"urn:vorplex:ipapp\"><name>eth0</name>"
          "<vrf>Global</vrf></mgmt></interface></config>"
          "<internal xmlns=\"urn:vorplex:internal\"><vrf-config><indexTOstring>"
          "<index>4</index><vname>management</vname></indexTOstring>"
          "</vrf-config></internal>");
  std::vector<std::string> expected;
  for (const char* name : {"Global", "MGMT", "default", "management"}) {
    expected.push_back(std::string("VRF ") + name +
                       " is an address space of its own: only the exact names "
                       "global and mgmt are special");
  }
  EXPECT_EQ(AdviceOnVrfNames(file.tree()), expected);
  EXPECT_TRUE(AdviceOnVrfNames(EmptyConfig().tree()).empty());
}

// ---- Of several points -----------------------------------------------------

TEST(FindingsTest, AllListsAFindingForEachRefusal) {
  const std::vector<Finding> findings = FindingsOfBothFamilies(true);
  ASSERT_EQ(findings.size(), 2U);
  EXPECT_EQ(findings[0].point, "ipv4_addr_validation");
  EXPECT_EQ(findings[1].point, "ipv6_addr_validation");
  for (const Finding& finding : findings) {
    EXPECT_FALSE(finding.culprits.empty());
  }
}

// The IPv6 point examines IPv4 where an earlier point has read its routes: that
// point has refused the same conflict, so it takes --all to see it.
TEST(FindingsTest, TheIpv6RoutesPointReportsANextHopOfIpv4) {
  const std::string route = R"(
<DC-RTM-MIB xmlns="urn:vorplex:dc-rtm-mib"><rtmStaticRtTable>
  <rtmStaticRtEntry><rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>
    <rtmStaticRtDestType>ipv4</rtmStaticRtDestType>
    <rtmStaticRtDest>00:00:00:00</rtmStaticRtDest>
    <rtmStaticRtDestPfxLen>0</rtmStaticRtDestPfxLen>
    <rtmStaticRtNextHopType>ipv4</rtmStaticRtNextHopType>
    <rtmStaticRtNextHop>0a:00:00:01</rtmStaticRtNextHop></rtmStaticRtEntry>
</rtmStaticRtTable></DC-RTM-MIB>)";
  const File running("running.xml", route);
  const File candidate("candidate.xml", R"(
<config xmlns="urn:vorplex:config"><interface>
  <l3 xmlns="urn:vorplex:ipapp"><name>a</name>
    <ipv4><address><ip>10.0.0.1/24</ip></address></ipv4></l3>
</interface></config>)" + route);
  std::set<std::string> points;
  for (const Finding& finding : FindingsOf(running, candidate, true)) {
    EXPECT_EQ(finding.text,
              "l3 a ipv4 address 10.0.0.1/24 and static route 0.0.0.0/0 "
              "next-hop 10.0.0.1 cannot have address conflict.");
    points.insert(finding.point);
  }
  EXPECT_EQ(points.count("ipv6_addr_route_validation"), 1U);
}

TEST(FindingsTest, ANameThatReachesTheTextCutIsFound) {
  const std::string name(300, 'n');
  const File file("long.xml",
                  "<config xmlns=\"urn:vorplex:config\"><interface>"
                  "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" +
                      name + "</name></l3></interface></config>");
  const std::vector<Finding> findings = FindingsOf(EmptyConfig(), file);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings.front().rule, "l3-name-too-long");
  ASSERT_EQ(findings.front().culprits.size(), 1U);
  EXPECT_EQ(findings.front().culprits.front().value, name);
}

// An l3 interface of two addresses, in OSPFv2 with those.
File InterfaceInOspf(const std::string& name,
                     const std::vector<std::string>& known) {
  std::string rows;
  for (const std::string& address : known) {
    rows +=
        "<ospf-interface-l3><compound-id>1</compound-id><area>0.0.0.0"
        "</area><interface>l3-a</interface><address>" +
        address +
        "</address>\n<ospf-pm-ip-netmask>24</ospf-pm-ip-netmask>"
        "</ospf-interface-l3>\n";
  }
  return File(name, R"(
<config xmlns="urn:vorplex:config"><interface>
  <l3 xmlns="urn:vorplex:ipapp"><name>a</name><ipv4><address>
    <ip>10.0.0.1/24</ip><secondary><ip>10.0.1.1/24</ip></secondary>
  </address></ipv4></l3></interface></config>
<internal xmlns="urn:vorplex:internal">
)" + rows + R"(
  <ospf-index-to-proc-id><compound-id>1</compound-id><proc_id>7</proc_id>
    <vrf_name>global</vrf_name></ospf-index-to-proc-id></internal>)");
}

TEST(FindingsTest, ARemovedRowOfOspfIsShownBesideTheAddressThatStays) {
  const File running = InterfaceInOspf("running.xml", {"10.0.0.1", "10.0.1.1"});
  const File candidate = InterfaceInOspf("candidate.xml", {"10.0.0.1"});
  const std::vector<Finding> findings = FindingsOf(running, candidate);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings.front().rule, "ospf-address-added");
  EXPECT_EQ(Written(findings.front()),
            (std::vector<std::string>{
                "address, unchanged /config/interface/l3{a}/ipv4/address/"
                "secondary{10.0.1.1/24}/ip candidate.xml:4 10.0.1.1/24",
                "assigned to OSPFv2, unchanged /internal/ospf-interface-l3{1 "
                "0.0.0.0 l3-a 10.0.0.1}/interface candidate.xml:7 l3-a",
                "removed from OSPFv2, removed /internal/ospf-interface-l3{1 "
                "0.0.0.0 l3-a 10.0.1.1}/address running.xml:9 10.0.1.1"}));
}

// ---- After a restart --------------------------------------------------------

commit::Outcome FromNothing(const File& file) {
  static const DataTree kEmpty = DataTree::Empty(ProjectModel());
  return commit::RunCommit(kEmpty, file.tree(),
                           {IPAV_PLUGIN, true, base::kNoTimeLimit});
}

// "STATE RULE" for each fault, which several points may report. The culprits
// that the change touches follow: " (ROLE, NOVELTY FILE)".
std::set<std::string> Compared(const File& running,
                               const commit::Outcome& of_running,
                               const File& candidate,
                               const commit::Outcome& of_candidate) {
  std::set<std::string> compared;
  const auto add = [&](const std::string& state, const Finding& finding) {
    std::string text =
        state + " " + (finding.rule.empty() ? finding.text : finding.rule);
    for (const Culprit& culprit : finding.culprits) {
      if (culprit.novelty == Novelty::kUnchanged) continue;
      text += " (" + culprit.role + ", " + WordOf(culprit.novelty) + " " +
              (culprit.place ? culprit.place->file : "nowhere") + ")";
    }
    compared.insert(text);
  };
  const RestartFaults faults =
      CompareRestarts(running.configuration(), of_running,
                      candidate.configuration(), of_candidate);
  for (const Finding& finding : faults.findings) {
    add(finding.is_standing ? "stands" : "new", finding);
  }
  for (const Finding& finding : faults.healed) add("healed", finding);
  return compared;
}

std::string L3(const std::string& name, const std::string& ip,
               const std::string& more = "") {
  return "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" + name + "</name>" + more +
         "<ipv4><address><ip>" + ip + "</ip></address></ipv4></l3>\n";
}

std::string ManyL3(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += "<l3 xmlns=\"urn:vorplex:ipapp\"><name>n" + std::to_string(i) +
            "</name></l3>\n";
  }
  return text;
}

// The leaves of a timer, below an interface.
std::string Timers(const std::string& leaves) {
  return "<mgmt xmlns=\"urn:vorplex:ipapp\"><name>m</name><ipv6><nd><ra>" +
         leaves + "</ra></nd></ipv6></mgmt>";
}

constexpr char kEnd[] = "</interface></config>";

// An interface and its row of OSPFv3, if it is in it.
std::string InOspfv3(const std::string& vrf, bool is_in) {
  return L3("a", "10.0.0.1/24", "<vrf>" + vrf + "</vrf>") + kEnd +
         "<internal xmlns=\"urn:vorplex:internal\">" +
         (is_in ? "<ospfv3-interface-l3><router>1</router><area>0.0.0.0</area>"
                  "<interface>l3-a</interface>\n<ospfv3-pm-if-name>l3-a"
                  "</ospfv3-pm-if-name></ospfv3-interface-l3>"
                : "") +
         "</internal>";
}

// 10.1.0.0/16 as a black hole and with a next hop.
std::string BlackHoleIn(const std::string& vrf) {
  std::string routes = Routes(1, "00:00:00:00") + Routes(1, "0a:00:00:09");
  const std::string first = "FteIndex>1<";
  for (std::size_t at = routes.find(first); at != std::string::npos;
       at = routes.find(first, at)) {
    routes.replace(at, first.size(), "FteIndex>" + vrf + "<");
  }
  return std::string(kEnd) +
         "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\"><rtmStaticRtTable>" +
         routes + "</rtmStaticRtTable></DC-RTM-MIB>" +
         "<internal xmlns=\"urn:vorplex:internal\"><vrf-config>"
         "<indexTOstring><index>2</index><vname>two</vname></indexTOstring>"
         "<indexTOstring><index>3</index><vname>three</vname></indexTOstring>"
         "</vrf-config></internal>";
}

TEST(RestartFaultsTest, AFaultIsNewStandsOrIsHealedByTheData) {
  const std::string a = L3("a", "10.0.0.1/24");
  const std::string b = L3("b", "10.0.0.2/24");
  const std::string host = L3("0", "10.9.0.1/24");
  const std::string network = L3("0", "10.9.0.0/24");
  const std::string max = "<max-interval>200</max-interval>";
  const struct {
    std::string running;
    std::string candidate;
    std::set<std::string> faults;
  } rows[] = {
      {a, a, {}},
      {a + b, a + b, {"stands interface-overlap"}},
      {a + b, a, {"healed interface-overlap (overlaps with, removed running)"}},
      // Only a table changes, which runs no point for the change.
      {InOspfv3("red", false),
       InOspfv3("red", true),
       {"new ospfv3-vrf-set (interface in OSPFv3, added candidate)"}},
      {InOspfv3("red", true),
       InOspfv3("red", false),
       {"healed ospfv3-vrf-set (interface in OSPFv3, removed running)"}},
      {InOspfv3("red", true),
       InOspfv3("blue", true),
       {"stands ospfv3-vrf-set (VRF, changed candidate)"}},
      // A text names a pair in the order of the configuration.
      {a + b, b + a, {"stands interface-overlap"}},
      // A point reports its first fault, which hides the pair.
      {network + a + b,
       host + a + b,
       {"healed address-is-network (address, changed running)",
        "stands interface-overlap"}},
      {host + a + b,
       network + a + b,
       {"new address-is-network (address, changed candidate)",
        "stands interface-overlap"}},
      // Too many remain too many.
      {ManyL3(257),
       ManyL3(258),
       {"stands l3-too-many (new interface, added candidate)"}},
      {ManyL3(258), ManyL3(257), {"stands l3-too-many"}},
      {ManyL3(256),
       ManyL3(257),
       {"new l3-too-many (new interface, added candidate)"}},
      {ManyL3(257), ManyL3(256), {"healed l3-too-many"}},
      // A node that is missing without being needed.
      {Timers(max),
       Timers(""),
       {"healed ra-timer-missing (max-interval, removed running)"}},
      // The same text, of another value and of other nodes.
      {Timers(max + "<min-interval>200</min-interval>"),
       Timers(max + "<min-interval>180</min-interval>"),
       {"stands ra-min-interval (min-interval, changed candidate)"}},
      {BlackHoleIn("2"),
       BlackHoleIn("3"),
       {"new route-black-hole-and-next-hop (black hole, added candidate) (next "
        "hop, added candidate)"}},
  };
  for (const auto& row : rows) {
    const auto file = [](const std::string& name, const std::string& text) {
      const bool has_tables = text.find(kEnd) != std::string::npos;
      return File(name, "<config xmlns=\"urn:vorplex:config\"><interface>" +
                            text + (has_tables ? "" : kEnd));
    };
    const File running = file("running", row.running);
    const File candidate = file("candidate", row.candidate);
    EXPECT_EQ(Compared(running, FromNothing(running), candidate,
                       FromNothing(candidate)),
              row.faults);
  }
}

TEST(RestartFaultsTest, TextsThatNobodyKnowsAreComparedAsTexts) {
  const auto refused = [](const std::vector<const char*>& texts) {
    commit::Outcome outcome;
    for (const char* text : texts) {
      outcome.answers.push_back({"point", "/a", -1, text, std::nullopt});
    }
    return outcome;
  };
  EXPECT_EQ(
      Compared(EmptyConfig(), refused({"stays", "goes"}), EmptyConfig(),
               refused({"comes", "stays"})),
      (std::set<std::string>{"new comes", "stands stays", "healed goes"}));
}

// A commit of many refusals: each is traced without a walk over all nodes.
// Of this process, whatever else the machine does.
double ProcessorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// What it takes to find the nodes of so many refusals.
double SecondsFor(int count) {
  std::string text = "<config xmlns=\"urn:vorplex:config\"><interface>";
  for (int i = 0; i < count; ++i) {
    text += "<mgmt xmlns=\"urn:vorplex:ipapp\"><name>m" + std::to_string(i) +
            "</name><ipv6><nd><ra><max-interval>4</max-interval>"
            "<min-interval>4</min-interval></ra></nd></ipv6></mgmt>\n";
  }
  const File file("many.xml", text + "</interface></config>");
  const DataTree empty = DataTree::Empty(ProjectModel());
  Finder finder({&empty, "", nullptr}, file.configuration());
  Answer answer;
  answer.result = -1;
  answer.text =
      "Minimum interval must be no greater than maximum interval * 0.75";
  const double begin = ProcessorSeconds();
  for (int i = 0; i < count; ++i) {
    answer.path =
        "/config/interface/mgmt{m" + std::to_string(i) + "}/ipv6/nd/ra";
    EXPECT_EQ(finder.Explain(answer).culprits.size(), 2U);
  }
  return ProcessorSeconds() - begin;
}

TEST(FindingsTest, FourTimesTheFindingsTakeNoSquareOfTheirNumber) {
  constexpr int kCount = 500;
  // Four times is linear, sixteen times the square.
  EXPECT_LT(SecondsFor(4 * kCount), 10 * SecondsFor(kCount));
}

}  // namespace

}  // namespace ipav::messages
