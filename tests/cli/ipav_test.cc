// The command as its users meet it: verdicts, exit statuses, and one clear line
// for whatever is wrong with the input.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/run_process.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

const std::string kBranch = IPAV_EXAMPLES "/branch-router/";
const std::string kRunning = kBranch + "running.xml";

// The validation points by their opaque texts.
constexpr char kL3Name[] = "intf_l3_name_validation";
constexpr char kVrf[] = "intf_vrf_validation";
constexpr char kIpv4[] = "ipv4_addr_validation";
constexpr char kIpv4Ospf[] = "ipv4_addr_prot_cross_validation";
constexpr char kIpv4Route[] = "ipv4_addr_route_validation";
constexpr char kIpv6[] = "ipv6_addr_validation";
constexpr char kIpv6Route[] = "ipv6_addr_route_validation";
constexpr char kOutput[] = "static_route_l3_intf_validation";
constexpr char kVlan[] = "lower_layer_prot_cross_validation";
constexpr char kInterval[] = "validate_ipv6_nd_ra_interval";
constexpr char kLifetime[] = "validate_ipv6_nd_ra_lifetime";

// Nodes that carry them.
constexpr char kRoutes[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr char kL3[] = "/config/interface/l3";
constexpr char kLoopback[] = "/config/interface/loopback";
constexpr char kMgmt[] = "/config/interface/mgmt";
constexpr char kOspf[] = "/internal/ospf-interface-l3";

ProcessResult Ipav(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), IPAV_PROGRAM);
  return RunProcess(arguments);
}

class IpavTest : public FolderTest {
 protected:
  // One line on standard error that begins with `expected`, nothing on
  // standard output, exit status 2.
  static void ExpectBadInput(const ProcessResult& result,
                             const std::string& expected) {
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, expected.size()), expected) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1)
        << result.err;
  }

  using Edit = std::pair<std::string, std::string>;

  // The branch router with the first place of each left text replaced.
  std::string Branch(const std::vector<Edit>& edits) const {
    std::string text = ReadFile(kRunning);
    for (const auto& [from, to] : edits) {
      const std::size_t at = text.find(from);
      EXPECT_NE(at, std::string::npos) << from;
      if (at != std::string::npos) text.replace(at, from.size(), to);
    }
    return Write("candidate.xml", text);
  }

  // The answers of an accepted commit of these edits to the branch router, as
  // `--all` lists them.
  std::string AnswersOf(const std::vector<Edit>& edits) const {
    return AnswersOf(Branch(edits));
  }
  static std::string AnswersOf(const std::string& file) {
    const ProcessResult result =
        Ipav({"check", "--all", "--running", kRunning, file});
    EXPECT_EQ(result.status, 0);
    const std::string verdict = file + ": accepted (";
    EXPECT_EQ(result.out.substr(0, verdict.size()), verdict) << result.out;
    return result.out.substr(result.out.find('\n') + 1);
  }
};

std::string Interface(const std::string& inner) {
  return "<config xmlns=\"urn:vorplex:config\"><interface>\n"
         "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>\n" +
         inner + "\n</l3></interface></config>\n";
}

std::string Place(const std::string& point, const std::string& path) {
  return "  validation point: " + point + "\n  data path: " + path + "\n";
}

// What `--all` lists of points of one node that accept, in that order.
std::string Accepted(const std::string& path,
                     const std::vector<std::string>& points) {
  std::string text;
  for (const std::string& point : points) {
    text += "(accepted)\n" + Place(point, path);
  }
  return text;
}

// What it lists of a point whose reader meets a text that is no address.
std::string NoAddress(const std::string& path, const std::string& point) {
  return "the plug-in threw an exception: Invalid argument\n" +
         Place(point, path);
}

TEST_F(IpavTest, AnAcceptedCandidateEndsWithStatus0) {
  const std::string file = kBranch + "ra-timers-tuned.xml";
  const ProcessResult result = Ipav({"check", "--running", kRunning, file});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, file + ": accepted (12 of 12 validation calls made)\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, ARefusalEndsWithStatus1AndPrintsTextPointAndPath) {
  const std::string file = kBranch + "ra-lifetime-equal-to-max.xml";
  const ProcessResult result = Ipav({"check", "--running", kRunning, file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            file +
                ": refused (2 of 2 validation calls made)\n"
                "Lifetime must be greater than maximum router advertisement "
                "interval\n"
                "  validation point: validate_ipv6_nd_ra_lifetime\n"
                "  data path: /config/interface/l3{printers}/ipv6/nd/ra\n"
                "  " +
                file +
                ":470:23: lifetime, changed\n"
                "    470 |             <lifetime>600</lifetime>\n"
                "        |                       ^~~\n"
                "  " +
                file +
                ":468:27: max-interval, unchanged\n"
                "    468 |             <max-interval>600</max-interval>\n"
                "        |                           ^~~\n"
                "  what to do: Raise lifetime above max-interval, or set it to "
                "0 for a router that is not a default router.\n"
                "  see docs/messages.md#router-lifetime\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, WithoutARunningConfigurationEverythingIsNew) {
  for (const std::string& file :
       {kRunning, std::string(IPAV_EXAMPLES "/campus-core/running.json")}) {
    const ProcessResult result = Ipav({"check", "--all", file});
    EXPECT_EQ(result.status, 0) << result.out;
    for (const char* point :
         {kL3Name, kVrf, kIpv4, kIpv4Ospf, kIpv4Route, kIpv6, kIpv6Route,
          kOutput, kVlan, kInterval, kLifetime}) {
      EXPECT_NE(
          result.out.find("\n  validation point: " + std::string(point) + "\n"),
          std::string::npos)
          << file << ": " << point;
    }
  }
}

TEST_F(IpavTest, AnUnchangedConfigurationRunsNoPoint) {
  const ProcessResult result = Ipav({"check", "--running", kRunning, kRunning});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            kRunning + ": accepted (0 of 0 validation calls made)\n");
}

// The configuration of one interface with these timers.
std::string WithTimers(int max_interval, int min_interval) {
  return Interface(
      "<ipv6><nd><ra><max-interval>" + std::to_string(max_interval) +
      "</max-interval><min-interval>" + std::to_string(min_interval) +
      "</min-interval><lifetime>1800</lifetime></ra></nd></ipv6>");
}

// Edits of the branch router and the points that they run.
struct RunCase {
  std::vector<std::pair<std::string, std::string>> edits;
  std::string answers;
};

// An edit that puts an entry in front of the first of its list.
std::pair<std::string, std::string> NewEntry(const std::string& list,
                                             const std::string& inner) {
  const std::string start = "<" + list + " xmlns=\"urn:vorplex:ipapp\">";
  return {start, start + inner + "</" + list + ">" + start};
}

// The whole entry of that name.
std::string L3Text(const std::string& name) {
  const std::string text = ReadFile(kRunning);
  const std::size_t at = text.find("<name>" + name + "</name>");
  const std::size_t begin = text.rfind("<l3 ", at);
  return text.substr(begin, text.find("</l3>", at) + 5 - begin);
}

// A table, however long.
// NOLINTNEXTLINE(readability-function-size)
std::vector<RunCase> RunCases() {
  const std::vector<std::string> ipv4 = {kIpv4, kIpv4Ospf, kIpv4Route};
  const std::vector<std::string> ipv6 = {kIpv6, kIpv6Route};
  const std::vector<std::string> vrf = {kVrf, kIpv4, kIpv4Route, kIpv6,
                                        kIpv6Route};
  const std::string portal = "Landing page of the guest network</description>";
  const std::string netmask = "<ospf-pm-ip-netmask>30</ospf-pm-ip-netmask>";
  const std::string ospf = Accepted(kOspf, {kIpv4Ospf, kVrf});
  const std::string vlan =
      Accepted(kL3, {kOutput}) +
      Accepted("/config/interface/l3{printers}/lower-layer-if", {kVlan});
  const std::string l3 = Accepted(kL3, {kL3Name, kIpv4, kIpv4Ospf, kIpv4Route,
                                        kIpv6, kIpv6Route, kOutput}) +
                         Accepted(kOspf, {kVrf});
  // The address points of all kinds, which a change of the routes runs.
  const std::string addresses = Accepted(kL3, {kIpv4, kIpv6}) +
                                Accepted(kLoopback, {kIpv4, kIpv6}) +
                                Accepted(kMgmt, {kIpv4, kIpv6});
  return {
      // What no rule reads.
      {{{"Printers", "All printers"}}, ""},
      {{{"Anycast resolver", "Resolver"}}, ""},
      {{{"<mtu>9000</mtu>", "<mtu>9216</mtu>"}}, ""},
      {{{"<enabled>false", "<enabled>true"}}, ""},
      // The rules of OSPFv3 judge a change of the interface, not one of OSPFv3.
      {{{"<ospfv3-pm-if-index>1201<", "<ospfv3-pm-if-index>1<"},
        {"<ospfv3-pm-if-name>l3-core-a<", "<ospfv3-pm-if-name>l3-cctv<"}},
       ""},
      // Timers.
      {{{"<lifetime>1800</lifetime>", "<lifetime>2400</lifetime>"}},
       Accepted("/config/interface/l3{users-floor-1}/ipv6/nd/ra",
                {kInterval, kLifetime})},
      // Addresses. OSPF does not run on management ports.
      {{{"10.12.50.1/24", "10.12.50.4/24"}}, Accepted(kL3, ipv4)},
      {{{"<ip>10.12.50.1/24</ip>",
         "<ip>10.12.50.1/24</ip><secondary><ip>10.12.49.1/24</ip>"
         "</secondary>"}},
       Accepted(kL3, ipv4)},
      {{{"10.255.0.53/32", "10.255.0.54/32"}}, Accepted(kLoopback, ipv4)},
      {{{"172.31.112.2/28", "172.31.112.4/28"}},
       Accepted(kMgmt, {kIpv4, kIpv4Route})},
      {{{"2001:db8:12:401::1/64", "2001:db8:12:401::4/64"}},
       Accepted(kL3, ipv6)},
      {{{"2001:db8:ffff::53/128", "2001:db8:ffff::54/128"}},
       Accepted(kLoopback, ipv6)},
      {{{"2001:db8:12:ff01::2/64", "2001:db8:12:ff01::4/64"}},
       Accepted(kMgmt, ipv6)},
      // VRFs.
      {{{"<vrf>payment</vrf>", "<vrf>shops</vrf>"}}, Accepted(kL3, vrf)},
      {{{portal + "\n      <vrf>guest</vrf>", portal}},
       Accepted(kLoopback, vrf)},
      {{{"<vrf>mgmt</vrf>", "<vrf>console</vrf>"}}, Accepted(kMgmt, vrf)},
      // VLANs.
      {{{"<vlan>401</vlan>", "<vlan>499</vlan>"}}, vlan},
      {{{"<vlan>401</vlan>", ""}}, vlan},
      // New and removed interfaces.
      {{NewEntry("l3", "<name>new</name>")}, l3},
      {{{L3Text("spare-1"), ""}}, l3},
      {{NewEntry("l3",
                 "<name>new</name><vrf>lab</vrf><lower-layer-if>"
                 "<vlan>500</vlan></lower-layer-if>")},
       Accepted(kL3, {kL3Name, kVrf, kIpv4, kIpv4Ospf, kIpv4Route, kIpv6,
                      kIpv6Route, kOutput}) +
           Accepted("/config/interface/l3{new}/lower-layer-if", {kVlan}) +
           Accepted(kOspf, {kVrf})},
      {{NewEntry("loopback", "<name>new</name>")},
       Accepted(kLoopback, {kIpv4, kIpv4Ospf, kIpv4Route, kIpv6, kIpv6Route}) +
           Accepted(kOspf, {kVrf})},
      {{NewEntry("mgmt",
                 "<name>new</name><ipv4><address><ip>172.31.113.2/28</ip>"
                 "</address></ipv4>")},
       Accepted(kMgmt, {kIpv4, kIpv4Route, kIpv6, kIpv6Route})},
      // Routes, output interfaces and the names of VRFs.
      {{{"<rtmStaticRtNextHop>0a:0c:8c:01<",
         "<rtmStaticRtNextHop>0a:0c:8c:03<"}},
       Accepted(kRoutes, {kIpv6Route, kIpv4Route, kOutput}) + addresses},
      {{{"<interface-name>l3-core-a<", "<interface-name>l3-core-b<"}},
       Accepted(kRoutes, {kOutput}) + addresses},
      {{{"<vname>payment</vname>", "<vname>shops</vname>"}},
       Accepted(kRoutes, {kIpv6Route, kIpv4Route}) + addresses},
      // OSPF entries, processes and the VRFs of their instances.
      {{{"<area>0.0.0.12<", "<area>0.0.0.13<"}}, ospf},
      {{{"<proc_id>20<", "<proc_id>21<"}}, ospf},
      {{{netmask, netmask + "<ospf-pm><instance><vrf-name>global</vrf-name>"
                            "</instance></ospf-pm>"}},
       ospf +
           Accepted(std::string(kOspf) + "{10 0.0.0.0 l3-wan-mpls-1 192.0.2.18}"
                                         "/ospf-pm/instance/vrf-name",
                    {kVrf})}};
}

TEST_F(IpavTest, AChangeRunsThePointsThatDependOnIt) {
  for (const auto& [edits, answers] : RunCases()) {
    EXPECT_EQ(AnswersOf(edits), answers) << edits.front().second;
  }
}

TEST_F(IpavTest, ACommitRunsRoutesFirstThenInterfacesThenOspf) {
  EXPECT_EQ(AnswersOf(kBranch + "link-end-swapped-with-route.xml"),
            Accepted(kRoutes, {kIpv6Route, kIpv4Route, kOutput}) +
                Accepted(kL3, {kIpv4, kIpv4Ospf, kIpv4Route, kIpv6}) +
                Accepted(kLoopback, {kIpv4, kIpv6}) +
                Accepted(kMgmt, {kIpv4, kIpv6}) +
                Accepted(kOspf, {kIpv4Ospf, kVrf}));
}

TEST_F(IpavTest, AnUnspecifiedAddressIsAWarningAndNoRefusal) {
  const std::string file =
      Branch({{"<ip>10.12.50.1/24</ip>",
               "<ip>10.12.50.1/24</ip><secondary><ip>0.0.0.0/24</ip>"
               "</secondary>"},
              {"<ip>172.31.112.2/28</ip>", "<ip>0.0.0.0/0</ip>"},
              {"<ip>2001:db8:12:ff01::2/64</ip>", "<ip>::/64</ip>"}});
  const ProcessResult result = Ipav({"check", "--running", kRunning, file});
  EXPECT_EQ(result.status, 0);
  // A family is read once for all points of a commit, so it warns once.
  EXPECT_EQ(result.out,
            file +
                ": accepted (7 of 7 validation calls made)\n"
                "  warning: Unspecified IPv4 address for key '0.0.0.0/24'\n"
                "  warning: Unspecified IPv4 address for key 'eth1'\n"
                "  warning: Unspecified IPv6 address for key '::/64'\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, AnUnspecifiedPrimaryAddressOfL3IsNoWarning) {
  const std::string file =
      Branch({{"<ip>10.12.50.1/24</ip>", "<ip>0.0.0.0/24</ip>"}});
  const ProcessResult result = Ipav({"check", "--running", kRunning, file});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, file + ": accepted (3 of 3 validation calls made)\n");
}

TEST_F(IpavTest, AnAddressPointOnAnUnknownKindIsRefused) {
  fs::copy(IPAV_WRONG_KIND, folder_);
  fs::copy(IPAV_YANG "/ipav-extensions.yang", folder_);
  fs::copy(IPAV_YANG "/stubs", folder_ / "stubs");
  const std::string file = folder_ / "candidate.xml";
  const ProcessResult result =
      Ipav({"check", "--all", "--yang", folder_, file});
  EXPECT_EQ(result.status, 1);
  std::string expected = file + ": refused (2 of 2 validation calls made)\n";
  for (const char* point : {"ipv4_addr_validation", "ipv6_addr_validation"}) {
    expected +=
        "invalid interface being handled by IP-App validation\n"
        "  validation point: " +
        std::string(point) +
        "\n  data path: /tunnel\n"
        "  note: the text names no node of the configuration\n"
        "  what to do: Correct the data model: this validation point sits "
        "where it cannot check any interface.\n"
        "  see docs/messages.md#an-interface-that-is-not-judged\n";
  }
  EXPECT_EQ(result.out, expected);
}

TEST_F(IpavTest, ARefusedCandidateDoesNotSpoilTheCorrectedOne) {
  const std::string running = Write("running.xml", WithTimers(200, 100));
  const std::string refused = Write("refused.xml", WithTimers(200, 151));
  const std::string corrected = Write("corrected.xml", WithTimers(204, 151));
  const ProcessResult result =
      Ipav({"check", "--running", running, refused, corrected});
  EXPECT_EQ(result.status, 1);  // the gravest of all
  EXPECT_EQ(result.out,
            refused +
                ": refused (1 of 2 validation calls made)\n"
                "Minimum interval must be no greater than maximum interval * "
                "0.75\n"
                "  validation point: validate_ipv6_nd_ra_interval\n"
                "  data path: /config/interface/l3{a}/ipv6/nd/ra\n"
                "  " +
                refused +
                ":3:61: min-interval, changed\n"
                "      3 | ...nterval>200</max-interval><min-interval>151"
                "</min-interval><lifetime>1800</lifetime></ra></nd></i...\n"
                "        |                                            ^~~\n"
                "  " +
                refused +
                ":3:29: max-interval, unchanged\n"
                "      3 | <ipv6><nd><ra><max-interval>200</max-interval>"
                "<min-interval>151</min-interval><lifetime>1800</li...\n"
                "        |                             ^~~\n"
                "  what to do: Lower min-interval to at most three quarters of "
                "max-interval, or raise max-interval.\n"
                "  see docs/messages.md#minimum-interval\n" +
                corrected + ": accepted (2 of 2 validation calls made)\n");
}

TEST_F(IpavTest, ABadCandidateIsOneResultAmongTheOthers) {
  const std::string bad = Write("bad.xml", Interface("<frob/>"));
  const ProcessResult result =
      Ipav({"check", "--running", kRunning, bad, kRunning});
  EXPECT_EQ(result.status, 2);  // the gravest of all
  const std::string expected =
      bad + ": not judged, bad input\n  " + bad + ":3: Node \"frob\" not found";
  EXPECT_EQ(result.out.substr(0, expected.size()), expected);
  EXPECT_EQ(result.out.substr(result.out.find('\n', expected.size()) + 1),
            kRunning + ": accepted (0 of 0 validation calls made)\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, AllListsTheAnswerOfEveryPointBehindARefusal) {
  const std::string file =
      IPAV_EXAMPLES "/campus-core/ra-several-wrong-at-once.json";
  const std::string running = IPAV_EXAMPLES "/campus-core/running.json";
  const ProcessResult first = Ipav({"check", "--running", running, file});
  const ProcessResult all =
      Ipav({"check", "--all", "--running", running, file});
  const auto points = [](const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find("  validation point: ");
         at != std::string::npos;
         at = text.find("  validation point: ", at + 1)) {
      ++count;
    }
    return count;
  };
  EXPECT_EQ(first.status, 1);
  EXPECT_EQ(points(first.out), 1U);
  EXPECT_EQ(all.status, 1);
  EXPECT_EQ(points(all.out), 8U) << all.out;
}

TEST_F(IpavTest, VerboseShowsDebugLinesAndPlatformCalls) {
  const std::string file = kBranch + "ra-timers-removed.xml";
  const ProcessResult result =
      Ipav({"check", "--verbose", "--running", kRunning, file});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(
      result.out.find("  debug: There is no path for '/config/interface/"),
      std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("  platform call: maapi_exists 4\n"
                            "  platform calls: 4\n"),
            std::string::npos)
      << result.out;
}

TEST_F(IpavTest, AFailedAssertionEndsWithStatus3AndIsPrintedWhole) {
  // A model that uses a point where its callback finds no interface.
  fs::copy(IPAV_WRONG_DEPTH, folder_);
  fs::copy(IPAV_YANG "/ipav-extensions.yang", folder_);
  fs::copy(IPAV_YANG "/stubs", folder_ / "stubs");
  const std::string file = folder_ / "candidate.xml";
  const ProcessResult result = Ipav({"check", "--yang", folder_, file});
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(result.out.find("the plug-in failed: killed by signal: Aborted\n"
                            "  validation point: validate_ipv6_nd_ra_interval\n"
                            "  data path: /timers/five/levels/deep/ra\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(
      result.out.find("int32_t validate_ipv6_nd_ra_interval(int32_t, "
                      "confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*, "
                      "ip_application::config_valid::Config&): Assertion "
                      "`(&keypath->v[3][0])->type == C_BUF' failed.\n"),
      std::string::npos)
      << result.out;
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, AnExceptionOfThePluginEndsWithStatus3) {
  const std::string file = kBranch + "mgmt-short-lifetime.xml";
  const ProcessResult result = Ipav(
      {"check", "--plugin", IPAV_THROWING_PLUGIN, "--running", kRunning, file});
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(
      result.out.find(
          file + ": not judged, the plug-in failed (1 of 2 validation calls "
                 "made)\n"
                 "the plug-in threw an exception: stoul\n"
                 "  validation point: validate_ipv6_nd_ra_interval\n"
                 "  data path: /config/interface/mgmt{"),
      std::string::npos)
      << result.out;
}

// The reader of static routes rewrites the third character of such a name.
TEST_F(IpavTest, AnExceptionOfAReaderEndsWithStatus3AndNamesThePoint) {
  const std::string file =
      Branch({{"<interface-name>l3-core-a<", "<interface-name>x<"}});
  const ProcessResult result = Ipav({"check", "--running", kRunning, file});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out,
            file +
                ": not judged, the plug-in failed (1 of 7 validation calls "
                "made)\n"
                "the plug-in threw an exception: basic_string::replace: __pos "
                "(which is 2) > this->size() (which is 1)\n" +
                Place(kOutput, kRoutes));
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, OspfTextThatIsNoAddressEndsWithStatus3AndNamesThePoint) {
  const std::vector<Edit> edits = {
      {"<area>0.0.0.12</area>", "<area>12</area>"},
      {"<area>0.0.0.12</area>", "<area/>"},
      {"<address>10.12.41.1</address>", "<address>10.12.41.1/24</address>"},
      {"<address>10.255.12.1</address>", "<address>2001:db8::1</address>"}};
  for (const Edit& edit : edits) {
    SCOPED_TRACE(edit.second);
    const std::string file = Branch({edit});
    const ProcessResult result = Ipav({"check", "--running", kRunning, file});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out,
              file +
                  ": not judged, the plug-in failed (1 of 2 validation calls "
                  "made)\n" +
                  NoAddress(kOspf, kIpv4Ospf));
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(IpavTest, WithAllThePointsBehindAnExceptionStillAnswer) {
  const std::string file = Branch({{"<area>0.0.0.12</area>", "<area>12</area>"},
                                   {"10.12.50.1/24", "10.12.50.4/24"}});
  const ProcessResult result =
      Ipav({"check", "--all", "--running", kRunning, file});
  EXPECT_EQ(result.status, 3);
  // A read that ended with an exception is tried again by the next point.
  EXPECT_EQ(result.out,
            file +
                ": not judged, the plug-in failed (5 of 5 validation calls "
                "made)\n" +
                Accepted(kL3, {kIpv4}) + NoAddress(kL3, kIpv4Ospf) +
                Accepted(kL3, {kIpv4Route}) + NoAddress(kOspf, kIpv4Ospf) +
                NoAddress(kOspf, kVrf));
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, TheGravestStatusOfSeveralCandidatesIsReturned) {
  const std::string refused = kBranch + "ra-min-without-max.xml";
  const std::string& good = kRunning;
  EXPECT_EQ(Ipav({"check", "--running", kRunning, refused, good}).status, 1);
  EXPECT_EQ(Ipav({"check", "--running", kRunning, good, refused}).status, 1);
}

// A use site as `ipav points` prints it.
std::string UseSite(const std::string& path, const std::string& opaque,
                    bool call_once,
                    const std::vector<std::string>& dependencies) {
  std::string text = path +
                     "\n  point: ip_app_validation\n  opaque: " + opaque +
                     "\n  call-once: " + (call_once ? "true" : "false") + "\n";
  for (const std::string& dependency : dependencies) {
    text += "  dependency: " + dependency + "\n";
  }
  return text;
}

std::string AddressSite(const std::string& list, const std::string& opaque,
                        const std::string& addresses) {
  return UseSite(list, opaque, true,
                 {"name", "vrf", addresses,
                  "/DC-RTM-MIB:DC-RTM-MIB/DC-RTM-MIB:rtmStaticRtTable",
                  "/DC-RTM-MIB:rtmStaticRtEntry-global",
                  "/vorplex-internal:internal/vorplex-internal:vrf-config"});
}

// Of an interface list, without names and output interfaces: VRFs, then
// addresses of one family after the other.
std::string ListSites(const std::string& list, bool with_ospf) {
  return UseSite(list, kVrf, true, {"vrf"}) + AddressSite(list, kIpv4, "ipv4") +
         (with_ospf ? UseSite(list, kIpv4Ospf, true, {"name", "ipv4"}) : "") +
         UseSite(list, kIpv4Route, true, {"name", "vrf", "ipv4"}) +
         AddressSite(list, kIpv6, "ipv6/address") +
         UseSite(list, kIpv6Route, true, {"name", "vrf", "ipv6/address"});
}

std::string TimerSites(const std::string& list) {
  const std::string path = list + "/ipv6/nd/ra";
  return UseSite(path, kInterval, false, {"."}) +
         UseSite(path, kLifetime, false, {"."});
}

std::string RouteSites() {
  return UseSite(kRoutes, kIpv6Route, true, {".", "/internal/vrf-config"}) +
         UseSite(kRoutes, kIpv4Route, true, {".", "/internal/vrf-config"}) +
         UseSite(kRoutes, kOutput, true, {".", "/rtmStaticRtEntry-global"});
}

std::string L3Sites() {
  return UseSite(kL3, kL3Name, true, {"name"}) + ListSites(kL3, true) +
         UseSite(kL3, kOutput, true, {"name", "lower-layer-if"}) +
         UseSite(std::string(kL3) + "/lower-layer-if", kVlan, false, {"."}) +
         TimerSites(kL3);
}

std::string OspfSites() {
  return UseSite(kOspf, kIpv4Ospf, true, {".", "../ospf-index-to-proc-id"}) +
         UseSite(kOspf, kVrf, true,
                 {".", "../ospf-index-to-proc-id", "/config/interface/l3/name",
                  "/config/interface/loopback/name"}) +
         UseSite(std::string(kOspf) + "/ospf-pm/instance/vrf-name", kVrf, false,
                 {"."});
}

TEST_F(IpavTest, PointsListsTheUseSitesInTheOrderOfACommit) {
  const ProcessResult result = Ipav({"points"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, RouteSites() + L3Sites() + ListSites(kLoopback, true) +
                            ListSites(kMgmt, false) + TimerSites(kMgmt) +
                            OspfSites());
}

TEST_F(IpavTest, HelpShowsExamplesAndEndsWithStatus0) {
  const std::vector<std::pair<std::vector<std::string>, const char*>> examples =
      {{{"--help"}, "ipav check --running running.xml candidate.xml"},
       {{"-h"}, "ipav check --running running.xml candidate.xml"},
       {{"check", "-h"}, "ipav check "},
       {{"commit", "-h"}, "ipav commit "},
       {{"completion", "-h"}, "source <(ipav completion bash)"},
       {{"convert", "-h"}, "ipav convert "},
       {{"diff", "-h"}, "ipav diff "},
       {{"explain", "-h"}, "ipav explain overlap"},
       {{"new", "-h"}, "ipav new "},
       {{"points", "-h"}, "ipav points"},
       {{"summarize", "-h"}, "ipav summarize "}};
  for (const auto& [arguments, example] : examples) {
    const ProcessResult result = Ipav(arguments);
    EXPECT_EQ(result.status, 0);
    const std::size_t at = result.out.find("\nExamples:\n");
    ASSERT_NE(at, std::string::npos) << arguments.front();
    EXPECT_NE(result.out.find(example, at), std::string::npos);
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(IpavTest, AWrongCommandLineIsOneLineOnStandardError) {
  ExpectBadInput(Ipav({}), "ipav: A command is required (see ipav --help)\n");
  ExpectBadInput(Ipav({"frobnicate"}),
                 "ipav: The following argument was not expected: "
                 "frobnicate (see ipav --help)\n");
  ExpectBadInput(Ipav({"check"}),
                 "ipav: candidate is required (see ipav check --help)\n");
  ExpectBadInput(Ipav({"check", "--frobnicate", kRunning}),
                 "ipav: The following argument was not expected: "
                 "--frobnicate (see ipav check --help)\n");
}

TEST_F(IpavTest, AFileThatCannotBeReadIsNamed) {
  ExpectBadInput(Ipav({"check", folder_ / "none.xml"}),
                 "ipav: " + (folder_ / "none.xml").string() +
                     ": No such file or directory\n");
  ExpectBadInput(Ipav({"check", folder_}),
                 "ipav: " + folder_.string() + ": holds no configuration\n");
}

TEST_F(IpavTest, AFileThatIsRefusedIsNamedWithItsLine) {
  const std::string json =
      "{\n\"vorplex-config:config\": {\n\"interface\": {\n";
  const struct {
    const char* name;
    std::string text;
    const char* place;
  } cases[] = {
      // What is no configuration.
      {"empty.xml", "", " is empty\n"},
      {"blank.json", " \n\t\n", " is empty\n"},
      {"prose.txt", "interface l3 a\n", "1: neither XML nor JSON\n"},
      {"nul.xml", Interface(std::string("<vrf>a\0b</vrf>", 14)),
       "3: contains a NUL byte\n"},
      {"latin1.xml", Interface("<vrf>caf\xe9</vrf>"), "3: is not UTF-8\n"},
      {"latin1.json", json + "\"ipapp:l3\": [{\"name\": \"caf\xe9\"}]}}}\n",
       "4: is not UTF-8\n"},
      {"truncated.xml", Interface("<vrf>a</vrf>").substr(0, 100), "3: "},
      {"truncated.json", json, "4: "},
      {"mismatched.xml", Interface("<vrf>a</vfr>"), "3: "},
      // Data that the model refuses.
      {"unknown.xml", Interface("<frob>1</frob>"),
       "3: Node \"frob\" not found"},
      {"address.xml",
       Interface("<ipv4><address><ip>10.0.0.256/24</ip></address></ipv4>"),
       "3: "},
      {"range.xml",
       Interface("<ipv6><nd><ra>\n<max-interval>65536</max-interval>\n"
                 "</ra></nd></ipv6>"),
       "4: "},
      {"duplicate.xml",
       Interface("</l3>\n<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>"),
       "5: Duplicate instance of \"l3\".\n"},
      {"foreign.xml", "<config xmlns=\"urn:other\"/>\n", "1: "},
      {"type.json",
       "{\n\"vorplex-config:config\": {\"interface\": {\n"
       "\"ipapp:l3\": [{\"name\": 7}]}}}\n",
       "3: "}};
  for (const auto& [name, text, place] : cases) {
    SCOPED_TRACE(name);
    const std::string file = Write(name, text);
    ExpectBadInput(Ipav({"check", file}), "ipav: " + file + ":" + place);
  }
}

TEST_F(IpavTest, AnInvalidRunningConfigurationIsNamed) {
  const std::string running = Write("running.xml", Interface("<frob>1</frob>"));
  ExpectBadInput(Ipav({"check", "--running", running, kRunning}),
                 "ipav: " + running + ":3: Node \"frob\" not found");
}

TEST_F(IpavTest, APluginThatCannotBeLoadedIsNamed) {
  const std::string text = Write("text.so", "no library\n");
  ExpectBadInput(Ipav({"check", "--plugin", text, kRunning}), "ipav: " + text);
  const std::string other = IPAV_NO_PLUGIN;
  ExpectBadInput(Ipav({"check", "--plugin", other, kRunning}),
                 "ipav: " + other + ": entry point lib_init is missing\n");
  const std::string none = folder_ / "none.so";
  ExpectBadInput(Ipav({"check", "--plugin", none, kRunning}), "ipav: " + none);
}

TEST_F(IpavTest, AModelThatCannotBeLoadedIsNamed) {
  ExpectBadInput(Ipav({"points", "--yang", folder_}),
                 "ipav: " + folder_.string() + ": no YANG module in here\n");
  Write("broken.yang",
        "module broken {\n  namespace \"urn:b\";\n  prefix b;\n"
        "  leaf a { type nothing; }\n}\n");
  ExpectBadInput(Ipav({"points", "--yang", folder_}),
                 "ipav: " + (folder_ / "broken.yang").string() + ":");
}

// The lines of --timing by what they are about: the number of milliseconds, and
// the counts of calls and of platform calls for a point.
struct TimingLine {
  double milliseconds = 0;
  unsigned long calls = 0;
  unsigned long platform_calls = 0;
};

std::map<std::string, TimingLine> TimingLines(const std::string& text) {
  static const std::regex kLine(
      "timing: (.*): (?:([0-9]+) calls?, ([0-9]+) platform calls, )?"
      "([0-9]+\\.[0-9]{3}) ms");
  std::map<std::string, TimingLine> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    std::smatch match;
    EXPECT_TRUE(std::regex_match(line, match, kLine)) << line;
    if (match.empty()) continue;
    TimingLine read{std::stod(match[4])};
    if (match[2].matched) {
      read.calls = std::stoul(match[2]);
      read.platform_calls = std::stoul(match[3]);
    }
    EXPECT_TRUE(lines.emplace(match[1], read).second) << line;
  }
  return lines;
}

double Sum(const std::map<std::string, TimingLine>& lines,
           const std::vector<std::string>& names) {
  double sum = 0;
  for (const std::string& name : names) {
    EXPECT_EQ(lines.count(name), 1U) << name;
    if (lines.count(name) == 1) sum += lines.at(name).milliseconds;
  }
  return sum;
}

// Rounding of the lines that are summed.
constexpr double kRounding = 0.01;

TEST_F(IpavTest, TimingLeavesTheReportAsItIs) {
  const std::string file = kBranch + "ra-min-above-three-quarters.xml";
  const ProcessResult without = Ipav({"check", "--running", kRunning, file});
  const ProcessResult with =
      Ipav({"check", "--timing", "--running", kRunning, file});
  EXPECT_EQ(with.status, without.status);
  EXPECT_EQ(with.out, without.out);
  EXPECT_EQ(without.err, "");
  EXPECT_NE(with.err, "");
}

TEST_F(IpavTest, TimingTellsOfEachPartNoMoreThanOfTheWhole) {
  const std::string file = kBranch + "ra-timers-tuned.xml";
  const std::map<std::string, TimingLine> lines =
      TimingLines(Ipav({"check", "--timing", "--running", kRunning, file}).err);
  const std::string child = file + ":   ";
  const double in_child =
      Sum(lines, {child + "plug-in loaded", child + "calls planned",
                  child + "points, with lib_init and lib_finish"});
  EXPECT_LE(in_child,
            lines.at(file + ": child process").milliseconds + kRounding);
  const double parts = Sum(lines, {"data model", file + ": text",
                                   file + ": parse", file + ": YANG validation",
                                   file + ": diff", file + ": child process"});
  EXPECT_GT(parts, 0);
  EXPECT_LE(parts, lines.at("total").milliseconds + kRounding);
}

TEST_F(IpavTest, TimingCountsTheCallsOfEachPoint) {
  const std::string file = kBranch + "ra-timers-tuned.xml";
  const ProcessResult result =
      Ipav({"check", "--timing", "--verbose", "--running", kRunning, file});
  const std::map<std::string, TimingLine> lines = TimingLines(result.err);
  unsigned long calls = 0;
  unsigned long platform_calls = 0;
  double points = 0;
  for (const auto& [what, line] : lines) {
    calls += line.calls;
    platform_calls += line.platform_calls;
    if (line.calls > 0) points += line.milliseconds;
  }
  EXPECT_EQ(lines.count(file + ": " + kInterval), 1U);
  EXPECT_EQ(lines.count(file + ": " + kLifetime), 1U);
  EXPECT_NE(result.out.find("(" + std::to_string(calls) + " of "),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find(
                "  platform calls: " + std::to_string(platform_calls) + "\n"),
            std::string::npos)
      << result.out;
  const std::string all = file + ":   points, with lib_init and lib_finish";
  ASSERT_EQ(lines.count(all), 1U);
  EXPECT_LE(points, lines.at(all).milliseconds + kRounding);
}

TEST_F(IpavTest, TimingOfAPluginThatDiesIsThatOfTheHost) {
  const std::string file = kBranch + "ra-timers-tuned.xml";
  const ProcessResult result =
      Ipav({"check", "--timing", "--plugin", IPAV_THROWING_PLUGIN, "--running",
            kRunning, file});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(TimingLines(result.err).count("total"), 1U) << result.err;
}

TEST_F(IpavTest, NothingIsWrittenBesideTheInput) {
  const std::string candidate = Write("candidate.xml", Interface(""));
  const ProcessResult result = Ipav({"check", candidate});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto files = std::distance(fs::directory_iterator(folder_), {});
  EXPECT_EQ(files, 1);
}

}  // namespace

}  // namespace ipav::testing
