// ipav fix and ipav check --suggest: the ways out of each refusal.

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

using nlohmann::json;

// The fixes of each rule that the candidate breaks: "safe: ..." and
// "suggested: ...".
std::map<std::string, Words> FixesOf(const std::string& running,
                                     const std::string& candidate) {
  Words command = {"check", "--all", "--suggest", "--format", "json"};
  if (!running.empty()) command = Joined(command, {"--running", running});
  const ProcessResult result = Ipav(Joined(command, {candidate}));
  EXPECT_EQ(result.status, 1) << candidate << result.err;
  std::map<std::string, Words> fixes;
  const json report = json::parse(result.out);
  for (const json& finding : report.at("devices").at(0).at("findings")) {
    Words& words = fixes[finding.at("rule")];
    words.clear();
    for (const json& fix : finding.at("fixes")) {
      words.push_back((fix.at("safe") ? "safe: " : "suggested: ") +
                      fix.at("text").get<std::string>());
    }
  }
  return fixes;
}

struct FixCase {
  const char* rule;
  std::string running;    // file, or text
  std::string candidate;  // file, or text
  Words fixes;
};

std::string Branch(const char* file) { return kBranch + file; }
std::string Campus(const char* file) { return kCampus + file; }
const char kCampusRunning[] = "running.json";

std::string Many(const char* kind, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += std::string("<") + kind + " xmlns=\"urn:vorplex:ipapp\"><name>n" +
            std::to_string(i) + "</name></" + kind + ">\n";
  }
  return InterfacesXml(text);
}

std::string Ipv4(const std::string& inside) {
  return L3Xml("<ipv4><address>" + inside + "</address></ipv4>");
}

std::string Loopback(const std::string& inside) {
  return InterfacesXml("<loopback xmlns=\"urn:vorplex:ipapp\"><name>a</name>" +
                       inside + "</loopback>");
}

const std::string kTwoInterfaces = InterfacesXml(
    "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv4><address>"
    "<ip>10.0.1.1/16</ip></address></ipv4></l3>"
    "<l3 xmlns=\"urn:vorplex:ipapp\"><name>b</name><ipv4><address>"
    "<ip>10.0.4.1/24</ip></address></ipv4></l3>");

std::string L3Named(const std::string& name) {
  return "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" + name + "</name></l3>";
}

// The running configuration with two texts in the place of each other.
std::string Swapped(const std::string& a, const std::string& b) {
  std::string text = ReadFile(kRunning);
  const std::size_t at_a = text.find(a);
  const std::size_t at_b = text.find(b);
  return text.replace(at_a, a.size(), b).replace(at_b, b.size(), a);
}

std::vector<FixCase> InterfaceCases() {
  return {
      {"l3-too-many",
       Many("l3", 255),
       Many("l3", 258),
       {"suggested: leave out l3 n256 and 1 more, which the change adds"}},
      {"l3-name-too-long",
       Campus(kCampusRunning),
       Campus("interface-name-of-62-bytes.json"),
       {"suggested: name the interface "
        "lab-molecular-biology-and-genetics-building-c-floor-3-room-3"}},
      {"l3-name-too-long",
       InterfacesXml(L3Named(std::string(60, 'n'))),
       InterfacesXml(L3Named(std::string(60, 'n')) +
                     L3Named(std::string(61, 'n'))),
       {"suggested: name the interface " + std::string(58, 'n') + "-2"}},
      {"l3-name-too-short",
       "",
       InterfacesXml("<l3 xmlns=\"urn:vorplex:ipapp\"><name/></l3>"),
       {}},
      {"l3-name-characters",
       Branch("running.xml"),
       Branch("interface-name-with-dot.xml"),
       {"suggested: name the interface extension-440"}},
  };
}

// Two overlapping networks; `more` belongs to the larger one.
std::string NestedIpv6(const std::string& more) {
  return InterfacesXml(
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv6><address>"
      "<ip>2001:db8::1/64</ip></address>" +
      more +
      "</ipv6></l3>"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>b</name><ipv6><address>"
      "<ip>2001:db8::1:0:0:1/127</ip></address></ipv6></l3>");
}

std::vector<FixCase> AddressCases() {
  const std::string ra =
      "<nd><ra><max-interval>600</max-interval><min-interval>198</min-interval>"
      "<lifetime>1800</lifetime></ra></nd>";
  return {
      {"interface-overlap", "", NestedIpv6(ra), {}},
      {"interface-overlap",
       "",
       NestedIpv6(""),
       {"suggested: narrow l3 a to 2001:db8::1/80"}},
      {"address-is-network",
       "",
       Ipv4("<ip>10.0.0.0/29</ip>"),
       {"suggested: give l3 a the address 10.0.0.1/29, which this "
        "configuration leaves free"}},
      {"address-is-network",
       "",
       Loopback("<ipv4><address><ip>10.0.0.0/29</ip></address></ipv4>"),
       {"suggested: give loopback a the address 10.0.0.1/29, which this "
        "configuration leaves free",
        "suggested: keep the address, alone: 10.0.0.0/32"}},
      {"address-is-broadcast",
       Campus(kCampusRunning),
       Campus("lighting-broadcast-address.json"),
       {"suggested: give l3 lighting the address 172.20.4.254/24, which this "
        "configuration leaves free",
        "suggested: leave /config/interface/l3{lighting}/ipv4/address/ip as "
        "it is in the running configuration: 172.20.4.1/24"}},
      {"address-twice",
       "",
       Ipv4("<ip>10.0.0.1/24</ip>"
            "<secondary><ip>10.0.0.1/24</ip></secondary>"),
       {"safe: keep 10.0.0.1/24 once"}},
      {"address-twice",
       "",
       Ipv4("<ip>10.0.0.1/24</ip>"
            "<secondary><ip>10.0.0.1/16</ip></secondary>"),
       {"suggested: keep only 10.0.0.1/24 of the equal addresses",
        "suggested: keep only 10.0.0.1/16 of the equal addresses"}},
      {"interface-overlap",
       "",
       kTwoInterfaces,
       {"suggested: narrow l3 a to 10.0.1.1/22"}},
      {"interface-overlap",
       Branch("running.xml"),
       Branch("office-overlaps-management.xml"),
       {"suggested: leave out /config/interface/l3{meeting-rooms}/ipv4/address/"
        "secondary{172.31.12.129/25}, which the change adds",
        "suggested: narrow mgmt eth0 to 172.31.12.2/25"}},
      {"interface-overlap",
       Campus(kCampusRunning),
       Campus("guest-wifi-in-students.json"),
       {"suggested: leave /config/interface/l3{guest-wifi}/vrf as it is in "
        "the running configuration: guest"}},
  };
}

// A former address in another address space is not taken from anyone.
std::vector<FixCase> SpaceCases() {
  const auto three = [](const std::string& a, const std::string& c) {
    const std::string l3 = "<l3 xmlns=\"urn:vorplex:ipapp\"><name>";
    const std::string ip = "<ipv4><address><ip>";
    const std::string end = "</ip></address></ipv4></l3>";
    return InterfacesXml(l3 + "a</name>" + ip + a + end + l3 + "b</name>" + ip +
                         "10.0.1.1/24" + end + l3 + "c</name><vrf>blue</vrf>" +
                         ip + c + end);
  };
  return {{"interface-overlap",
           three("10.0.0.1/24", "10.5.0.1/24"),
           three("10.0.1.5/24", "10.0.0.1/24"),
           {"suggested: leave /config/interface/l3{a}/ipv4/address/ip as it is "
            "in the running configuration: 10.0.0.1/24",
            "suggested: narrow l3 a to 10.0.1.5/30, and narrow l3 b to "
            "10.0.1.1/30"}}};
}

std::vector<FixCase> RouteCases() {
  return {
      {"route-next-hop-is-own",
       Branch("running.xml"),
       Branch("route-through-own-address.xml"),
       {"suggested: take the neighbour 10.12.140.3 as the next hop of the "
        "static route 10.12.64.0/20 by 10.12.140.2",
        "suggested: remove the static route 10.12.64.0/20 by 10.12.140.2"}},
      {"route-next-hop-is-own",
       "",
       Ipv4("<ip>10.0.0.0/31</ip>") +
           "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\"><rtmStaticRtTable>"
           "<rtmStaticRtEntry><rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>"
           "<rtmStaticRtDestType>ipv4</rtmStaticRtDestType>"
           "<rtmStaticRtDest>0a:01:00:00</rtmStaticRtDest>"
           "<rtmStaticRtDestPfxLen>16</rtmStaticRtDestPfxLen>"
           "<rtmStaticRtNextHopType>ipv4</rtmStaticRtNextHopType>"
           "<rtmStaticRtNextHop>0a:00:00:00</rtmStaticRtNextHop>"
           "</rtmStaticRtEntry></rtmStaticRtTable></DC-RTM-MIB>\n",
       {"suggested: take the neighbour 10.0.0.1 as the next hop of the static "
        "route 10.1.0.0/16 by 10.0.0.0",
        "suggested: remove the static route 10.1.0.0/16 by 10.0.0.0"}},
      {"route-too-many",
       Branch("running.xml"),
       Branch("routes-to-326-sites-and-one-more.xml"),
       {"suggested: remove the static route 10.130.0.0/24 by 192.0.2.17"}},
      {"route-black-hole-and-next-hop",
       Campus(kCampusRunning),
       Campus("ipv6-black-hole-and-next-hop.json"),
       {"suggested: remove the static route 2001:db8:40::/48 by "
        "2001:db8:40:fe11::1",
        "suggested: remove the static route 2001:db8:40::/48, a black hole"}},
      {"route-output-without-vlan",
       Branch("running.xml"),
       Branch("lte-vlan-removed.xml"),
       {"suggested: keep /config/interface/l3{lte-backup}/lower-layer-if/vlan, "
        "which the change removes",
        "suggested: remove the static route 10.0.0.0/8 by 192.0.2.32"}},
  };
}

std::vector<FixCase> OspfCases() {
  return {
      {"ospf-address-removed",
       Campus(kCampusRunning),
       Campus("cluster-address-under-ospf.json"),
       {"suggested: leave /config/interface/l3{cluster}/ipv4/address/ip as it "
        "is in the running configuration: 10.40.66.1/23",
        "suggested: remove the row of OSPFv2 that knows the address"}},
      {"ospf-address-added",
       Branch("running.xml"),
       Branch("floor-2-address-added-under-ospf.xml"),
       {"suggested: leave out /config/interface/l3{users-floor-2}/ipv4/address/"
        "secondary{10.12.42.1/24}, which the change adds",
        "suggested: take the interface out of OSPFv2"}},
      {"ospf-address-removed",
       Branch("running.xml"),
       Swapped("10.12.140.0/31", "10.12.140.2/31"),
       {"suggested: leave /config/interface/l3{core-a}/ipv4/address/ip and "
        "/config/interface/l3{core-b}/ipv4/address/ip as they are in the "
        "running configuration: 10.12.140.0/31 and 10.12.140.2/31",
        "suggested: remove the row of OSPFv2 that knows the address"}},
      {"ospf-vrf-differs",
       Branch("running.xml"),
       Branch("cctv-moved-under-ospf.xml"),
       {"suggested: leave /config/interface/l3{cctv}/vrf as it is in the "
        "running configuration: building",
        "suggested: take the interface out of OSPFv2"}},
      {"ospf-vrf-differs",
       Branch("running.xml"),
       Branch("printers-in-ospf-of-building.xml"),
       {"suggested: leave out /internal/ospf-interface-l3{327700 0.0.0.0 "
        "l3-printers 10.12.50.1}, which the change adds",
        "suggested: move l3 printers to the VRF building"}},
      {"ospfv3-vrf-set",
       Campus(kCampusRunning),
       Campus("library-a-vrf-named-global.json"),
       {"safe: leave out the VRF global: the interface belongs to it without "
        "it",
        "suggested: take the interface out of OSPFv3"}},
      {"ospfv3-vlan-changed",
       Branch("running.xml"),
       Branch("floor-4-vlan-changed.xml"),
       {"suggested: leave /config/interface/l3{users-floor-4}/lower-layer-if/"
        "vlan as it is in the running configuration: 204",
        "suggested: change the VLAN in OSPFv3, too: index 1254",
        "suggested: take the interface out of OSPFv3"}},
  };
}

std::vector<FixCase> TimerCases() {
  return {
      {"ra-min-interval",
       Branch("running.xml"),
       Branch("ra-min-above-three-quarters.xml"),
       {"suggested: set min-interval to 150, three quarters of max-interval",
        "suggested: set max-interval to 202, so that min-interval is three "
        "quarters of it"}},
      {"ra-lifetime",
       Branch("running.xml"),
       Branch("ra-lifetime-equal-to-max.xml"),
       {"suggested: set lifetime to 601, the least above max-interval",
        "suggested: set lifetime to 0: the router is not a default router",
        "suggested: leave /config/interface/l3{printers}/ipv6/nd/ra/lifetime "
        "as it is in the running configuration: 1800",
        "suggested: set max-interval to 599, the most below lifetime"}},
      {"ra-timer-missing",
       Campus(kCampusRunning),
       Campus("ra-lifetime-alone.json"),
       {"suggested: set max-interval to 600, min-interval to 198, the usual "
        "values",
        "suggested: leave out all timers"}},
  };
}

// At least one for each message of the catalogue that has a fix.
std::vector<FixCase> Cases() {
  std::vector<FixCase> all = InterfaceCases();
  for (const auto& more : {AddressCases(), SpaceCases(), RouteCases(),
                           OspfCases(), TimerCases()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

class FixTest : public FolderTest {
 protected:
  // The file, or a new one with the text.
  std::string FileOf(const std::string& text, const std::string& name) const {
    const bool is_file = text.empty() || text.front() == '/';
    return is_file ? text : Write(name, text);
  }

  // A candidate with a fault that has a safe fix, and one without.
  std::string TwoFaults() const {
    return Write("two.xml",
                 InterfacesXml("  <l3 xmlns=\"urn:vorplex:ipapp\">\n"
                               "    <name>a</name>\n"
                               "    <ipv4><address><ip>10.0.0.1/24</ip>\n"
                               "      <secondary><ip>10.0.0.1/24</ip>"
                               "</secondary>\n"
                               "    </address></ipv4>\n"
                               "    <ipv6><nd><ra>\n"
                               "      <max-interval>600</max-interval>\n"
                               "      <min-interval>600</min-interval>\n"
                               "      <lifetime>1800</lifetime>\n"
                               "    </ra></nd></ipv6>\n"
                               "  </l3>\n"));
  }
};

TEST_F(FixTest, EachMessageHasItsFixes) {
  for (const FixCase& the_case : Cases()) {
    const auto fixes = FixesOf(FileOf(the_case.running, "running.xml"),
                               FileOf(the_case.candidate, "candidate.xml"));
    ASSERT_EQ(fixes.count(the_case.rule), 1U) << the_case.rule;
    EXPECT_EQ(fixes.at(the_case.rule), the_case.fixes) << the_case.rule;
  }
}

TEST_F(FixTest, EachMessageHasACase) {
  // Faults of the integration, and texts that are only logged.
  std::set<std::string> known = {"interface-not-judged", "plugin-not-started",
                                 "address-left-out", "debug-lines"};
  for (const FixCase& the_case : Cases()) known.insert(the_case.rule);
  const std::string catalogue = ReadFile(IPAV_ROOT "/messages/catalogue.toml");
  const std::regex id("\nid = \"([^\"]+)\"");
  std::size_t count = 0;
  for (std::sregex_iterator at(catalogue.begin(), catalogue.end(), id), end;
       at != end; ++at) {
    EXPECT_EQ(known.count((*at)[1]), 1U) << (*at)[1];
    ++count;
  }
  EXPECT_EQ(count, known.size());
}

TEST_F(FixTest, SafeFixesAreAppliedAndTheOthersAreNamed) {
  const std::string file = TwoFaults();
  const ProcessResult result = Ipav({"fix", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "--- " + file + "\n+++ " + file +
                "\n@@ -2,7 +2,6 @@\n"
                "   <l3 xmlns=\"urn:vorplex:ipapp\">\n"
                "     <name>a</name>\n"
                "     <ipv4><address><ip>10.0.0.1/24</ip>\n"
                "-      <secondary><ip>10.0.0.1/24</ip></secondary>\n"
                "     </address></ipv4>\n"
                "     <ipv6><nd><ra>\n"
                "       <max-interval>600</max-interval>\n");
  EXPECT_EQ(result.err,
            "not corrected: Minimum interval must be no greater than maximum "
            "interval * 0.75\n"
            "  data path: /config/interface/l3{a}/ipv6/nd/ra\n"
            "  suggested: set min-interval to 450, three quarters of "
            "max-interval\n"
            "  suggested: set max-interval to 800, so that min-interval is "
            "three quarters of it\n"
            "(--suggested takes the first one of each)\n");
}

TEST_F(FixTest, DiffIsAppliedByPatch) {
  const std::string file = TwoFaults();
  for (const std::string options : {"", "--suggested"}) {
    const std::string copy = folder_ / ("copy" + options + ".xml");
    std::filesystem::copy_file(file, copy);
    const ProcessResult patched = Shell(IPAV_PROGRAM " fix " + options + " " +
                                        copy + " 2>&- | patch " + copy);
    EXPECT_EQ(patched.status, 0) << patched.out;
    const std::string written = folder_ / ("written" + options + ".xml");
    std::filesystem::copy_file(file, written);
    Words command = {"fix", "--write", written};
    if (!options.empty()) command.push_back(options);
    const ProcessResult result = Ipav(command);
    EXPECT_EQ(result.status, options.empty() ? 1 : 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(ReadFile(copy), ReadFile(written));
    EXPECT_EQ(Ipav({"check", written}).status, result.status);
  }
}

std::string Renamed(const std::string& text, const std::string& name) {
  return std::regex_replace(text, std::regex("users-floor-6"), name);
}

TEST_F(FixTest, AnInterfaceGetsItsNameInAllTables) {
  const std::string text = ReadFile(kRunning);
  const std::string running = Write("running.xml", text);
  for (const auto& [name, corrected] :
       {std::pair("users.6", "users-6"),
        {"users.floor-6", "users-floor-6"},  // as in the running configuration
        {"users.floor-5", "users-floor-5-2"}}) {
    const std::string file = Write("candidate.xml", Renamed(text, name));
    const ProcessResult result =
        Ipav({"fix", "--running", running, "--suggested", "--write", file});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(ReadFile(file), Renamed(text, corrected));
  }
}

TEST_F(FixTest, SeveralFixesOfOneEntryChangeItInPlace) {
  const std::string text = InterfacesXml(
      "<l3 xmlns=\"urn:vorplex:ipapp\"> <name>a.b</name>\n"
      "<!-- x --><ipv4><address><ip>10.0.0.0/24</ip></address>"
      "</ipv4></l3>\n<l3 xmlns=\"urn:vorplex:ipapp\">"
      "<name>a-b</name></l3>\n");
  const std::string file = Write("entry.xml", text);
  const ProcessResult result = Ipav({"fix", "--suggested", "--write", file});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "corrected: L3 interface name a.b contains invalid characters "
            "(allowed characters: 0-9, a-z, A-Z, _, -)\n"
            "  data path: /config/interface/l3\n"
            "  suggested: name the interface a-b-2\n"
            "corrected: l3 a-b-2 ipv4 address 10.0.0.0/24 cannot be configured "
            "as network address.\n"
            "  data path: /config/interface/l3\n"
            "  suggested: give l3 a-b-2 the address 10.0.0.1/24, which this "
            "configuration leaves free\n");
  std::string expected = text;
  expected.replace(expected.find("a.b"), 3, "a-b-2");
  expected.replace(expected.find("10.0.0.0"), 8, "10.0.0.1");
  EXPECT_EQ(ReadFile(file), expected);
}

TEST_F(FixTest, NoOptionIsNamedIfNoneHelps) {
  const std::string file =
      Write("empty.xml",
            InterfacesXml("<l3 xmlns=\"urn:vorplex:ipapp\"><name/></l3>"));
  EXPECT_EQ(Ipav({"fix", file}).err,
            "not corrected: L3 interface name  is too short (minimum length: 1 "
            "character)\n  data path: /config/interface/l3\n"
            "  no fix that can be guessed\n");
}

TEST_F(FixTest, OnlyTheNamedFixesAreApplied) {
  const std::string file = TwoFaults();
  const ProcessResult list = Ipav({"check", "--all", "--suggest", file});
  EXPECT_THAT(list.out,
              HasSubstr("  fix F1.1 (safe): keep 10.0.0.1/24 once\n"));
  std::smatch id;
  const std::regex second("fix (F[0-9]+[.]2) .suggested.: set max-interval");
  ASSERT_TRUE(std::regex_search(list.out, id, second)) << list.out;
  const ProcessResult one = Ipav({"fix", "--only", id[1], file});
  EXPECT_EQ(one.status, 1);
  EXPECT_THAT(one.out, HasSubstr("+      <max-interval>800</max-interval>\n"));
  EXPECT_THAT(one.err, StartsWith("not corrected: l3 a has duplicated"));
  const ProcessResult both = Ipav({"fix", "--only", id[1], "--only", "F1.1",
                                   "--only", id[1], "--write", file});
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_EQ(Ipav({"check", file}).status, 0);
}

TEST_F(FixTest, WhatCorrectsTwoFaultsHasOneId) {
  const std::string file =
      Write("a.xml",
            InterfacesXml("<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>"
                          "<ipv4><address><ip>10.0.0.1/24</ip></address>"
                          "</ipv4></l3><loopback xmlns=\"urn:vorplex:ipapp\">"
                          "<name>b</name><ipv4><address><ip>10.0.0.9/32</ip>"
                          "</address></ipv4></loopback>"));
  const std::string list = Ipav({"check", "--all", "--suggest", file}).out;
  EXPECT_EQ(CountOf("  fix F1.1 (suggested): narrow l3 a to ", list), 2U)
      << list;
  EXPECT_EQ(CountOf("fix F2.", list), 0U);
}

TEST_F(FixTest, AFaultThatTwoPointsReportHasOneSetOfIds) {
  const Words arguments = {"--running", kRunning,
                           kBranch + "route-through-own-address.xml"};
  const ProcessResult list =
      Ipav(Joined({"check", "--all", "--suggest"}, arguments));
  EXPECT_EQ(CountOf("  fix F1.2 (suggested): remove the static", list.out), 2U);
  EXPECT_EQ(CountOf("fix F2.", list.out), 0U);
  const ProcessResult fix = Ipav(Joined({"fix", "--only", "F1.2"}, arguments));
  EXPECT_EQ(fix.status, 0);
  EXPECT_EQ(fix.err, "");
  EXPECT_THAT(Ipav(Joined({"fix", "--only", "F2.2"}, arguments)),
              IsBadInput("no fix has the id F2.2"));
}

TEST_F(FixTest, WrongIdsAndFilesAreRefused) {
  const std::string file = TwoFaults();
  const std::string before = ReadFile(file);
  for (const char* id : {"F1", "F1.9", "F99.1", "F1.1x", "F0.1", "1.1"}) {
    EXPECT_THAT(Ipav({"fix", "--write", "--only", id, file}),
                IsBadInput("no fix has the id " + std::string(id)));
  }
  EXPECT_THAT(
      Ipav({"fix", "--write", "--only", "F2.1", "--only", "F2.2", file}),
      IsBadInput("F2.1 and F2.2 correct the same refusal"));
  EXPECT_THAT(Ipav({"fix", "--write", "--running", file, file}),
              IsBadInput(file + ": would be replaced"));
  EXPECT_THAT(Ipav({"fix", folder_ / "none.xml"}), IsBadInput(""));
  EXPECT_EQ(ReadFile(file), before);
  const ProcessResult pipe =
      Shell(IPAV_PROGRAM " fix --write /dev/stdin < <(cat " + file + ")");
  EXPECT_THAT(pipe, IsBadInput("/dev/stdin: --write needs a regular file"));
}

TEST_F(FixTest, AcceptedFileStaysAsItIs) {
  for (const char* option : {"--write", "--suggested"}) {
    EXPECT_EQ(OutputOf({"fix", option, "--running",
                        Write("running.xml", ReadFile(kRunning)), kRunning}),
              "");
  }
}

TEST_F(FixTest, LinesWithoutAnEndAndNamesWithBlanks) {
  std::string text = ReadFile(TwoFaults());
  text.pop_back();
  text.replace(text.find("600</max"), 3, "800");
  const std::string last = "</interface></config>";
  text.replace(text.find("\n" + last), 1 + last.size(), last);
  const std::string file = Write("a file.xml", text);
  const ProcessResult result =
      Shell("cd " + folder_.string() +
            "; " IPAV_PROGRAM " fix 'a file.xml' | tee diff | patch -p0");
  EXPECT_EQ(result.status, 0) << result.out << ReadFile(folder_ / "diff");
  EXPECT_EQ(Ipav({"check", file}).status, 0);
}

TEST_F(FixTest, NothingIsWrittenWhenThePluginFails) {
  const std::string file = TwoFaults();
  const ProcessResult result =
      Ipav({"fix", "--timeout", "1", "--plugin",
            IPAV_TEST_PLUGINS "/hangs_in_init.so", "--write", file});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.err, "ipav: no correction within 1 second\n");
  EXPECT_EQ(ReadFile(file), ReadFile(TwoFaults()));
}

}  // namespace

}  // namespace ipav::testing
