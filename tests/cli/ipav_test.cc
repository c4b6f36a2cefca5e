// The command as its users meet it: verdicts, exit statuses, and one line for
// an error in the input.

#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <utility>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

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

using Edit = std::pair<std::string, std::string>;

class IpavTest : public FolderTest {
 protected:
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

  // A model that uses points where their callbacks do not expect it, from a
  // folder beside this file. Returns its candidate.
  std::string WrongModel(const std::string& name) const {
    fs::copy(IPAV_ROOT "/tests/cli/" + name, folder_);
    fs::copy(IPAV_ROOT "/yang/ipav-extensions.yang", folder_);
    fs::copy(IPAV_ROOT "/yang/stubs", folder_ / "stubs");
    return folder_ / "candidate.xml";
  }
};

// `check` of a change of the branch router.
ProcessResult CheckBranch(const std::string& file, const Words& more = {}) {
  return Ipav(Joined({"check", "--running", kRunning, file}, more));
}

// The answers of an accepted commit, as `--all` lists them.
std::string AnswersOf(const std::string& file) {
  const ProcessResult result = CheckBranch(file, {"--all"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith(file + ": accepted ("));
  return result.out.substr(result.out.find('\n') + 1);
}

std::string Place(const std::string& point, const std::string& path) {
  return "  validation point: " + point + "\n  data path: " + path + "\n";
}

// The lines of `--all` for points of one node that accept.
std::string Accepted(const std::string& path, const Words& points) {
  std::string text;
  for (const std::string& point : points) {
    text += "(accepted)\n" + Place(point, path);
  }
  return text;
}

// The lines for a point whose reader reads a text that is not an address.
std::string NoAddress(const std::string& path, const std::string& point) {
  return "the plug-in threw an exception: Invalid argument\n" +
         Place(point, path);
}

// The configuration of one interface with these timers.
std::string WithTimers(int max_interval, int min_interval) {
  return L3Xml("<ipv6><nd><ra><max-interval>" + std::to_string(max_interval) +
               "</max-interval><min-interval>" + std::to_string(min_interval) +
               "</min-interval><lifetime>1800</lifetime></ra></nd></ipv6>");
}

// Edits of the branch router and the points that they run.
struct RunCase {
  std::vector<Edit> edits;
  std::string answers;
};

// An edit that puts an entry in front of the first of its list.
Edit NewEntry(const std::string& list, const std::string& inner) {
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
  const Words ipv4 = {kIpv4, kIpv4Ospf, kIpv4Route};
  const Words ipv6 = {kIpv6, kIpv6Route};
  const Words vrf = {kVrf, kIpv4, kIpv4Route, kIpv6, kIpv6Route};
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
      // Nodes that no rule reads.
      {{{"Printers", "All printers"}}, ""},
      {{{"<mtu>9000</mtu>", "<mtu>9216</mtu>"}}, ""},
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
      {{{"10.255.0.53/32", "10.255.0.54/32"}}, Accepted(kLoopback, ipv4)},
      {{{"172.31.112.2/28", "172.31.112.4/28"}},
       Accepted(kMgmt, {kIpv4, kIpv4Route})},
      {{{"2001:db8:12:401::1/64", "2001:db8:12:401::4/64"}},
       Accepted(kL3, ipv6)},
      // VRFs.
      {{{"<vrf>payment</vrf>", "<vrf>shops</vrf>"}}, Accepted(kL3, vrf)},
      // VLANs.
      {{{"<vlan>401</vlan>", "<vlan>499</vlan>"}}, vlan},
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
    EXPECT_EQ(AnswersOf(Branch(edits)), answers) << edits.front().second;
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

TEST_F(IpavTest, AnUnspecifiedAddressIsAWarningAndNotARefusal) {
  const std::string file =
      Branch({{"<ip>10.12.50.1/24</ip>",
               "<ip>10.12.50.1/24</ip><secondary><ip>0.0.0.0/24</ip>"
               "</secondary>"},
              {"<ip>172.31.112.2/28</ip>", "<ip>0.0.0.0/0</ip>"},
              {"<ip>2001:db8:12:ff01::2/64</ip>", "<ip>::/64</ip>"}});
  // A family is read once for all points of a commit, so it warns once.
  EXPECT_EQ(OutputOf({"check", "--running", kRunning, file}),
            file +
                ": accepted (7 of 7 validation calls made)\n"
                "  warning: Unspecified IPv4 address for key '0.0.0.0/24'\n"
                "  warning: Unspecified IPv4 address for key 'eth1'\n"
                "  warning: Unspecified IPv6 address for key '::/64'\n");
}

TEST_F(IpavTest, AnUnspecifiedPrimaryAddressOfL3IsNotAWarning) {
  const std::string file =
      Branch({{"<ip>10.12.50.1/24</ip>", "<ip>0.0.0.0/24</ip>"}});
  EXPECT_EQ(OutputOf({"check", "--running", kRunning, file}),
            file + ": accepted (3 of 3 validation calls made)\n");
}

TEST_F(IpavTest, AnAddressPointOnAnUnknownKindIsRefused) {
  const std::string file = WrongModel("wrong-kind-model");
  std::string expected = file + ": refused (2 of 2 validation calls made)\n";
  for (const char* point : {kIpv4, kIpv6}) {
    expected +=
        "invalid interface being handled by IP-App validation\n" +
        Place(point, "/tunnel") +
        "  note: the text names no node of the configuration\n"
        "  what to do: Correct the data model: this validation point sits "
        "where it cannot check any interface.\n"
        "  see docs/messages.md#an-interface-that-is-not-judged\n";
  }
  EXPECT_EQ(Ipav({"check", "--all", "--yang", folder_, file}),
            (ProcessResult{1, expected, ""}));
  expected +=
      "  there may be more findings: one of them names no node to correct\n";
  EXPECT_EQ(Ipav({"check", "--every", "--yang", folder_, file}),
            (ProcessResult{1, expected, ""}));
}

TEST_F(IpavTest, ARefusedCandidateDoesNotSpoilTheCorrectedOne) {
  const std::string running = Write("running.xml", WithTimers(200, 100));
  const std::string refused = Write("refused.xml", WithTimers(200, 151));
  const std::string corrected = Write("corrected.xml", WithTimers(204, 151));
  EXPECT_EQ(
      Ipav({"check", "--running", running, refused, corrected}),
      (ProcessResult{
          1,  // the worst of all
          refused + R"(: refused (1 of 2 validation calls made)
Minimum interval must be no greater than maximum interval * 0.75
  validation point: validate_ipv6_nd_ra_interval
  data path: /config/interface/l3{a}/ipv6/nd/ra
  )" + refused +
              ":3:61: min-interval, changed\n"
              "      3 | ...nterval>200</max-interval><min-interval>151"
              "</min-interval><lifetime>1800</lifetime></ra></nd></i...\n"
              "        |                                            ^~~\n  " +
              refused +
              ":3:29: max-interval, unchanged\n"
              "      3 | <ipv6><nd><ra><max-interval>200</max-interval>"
              "<min-interval>151</min-interval><lifetime>1800</li...\n"
              "        |                             ^~~\n"
              "  what to do: Lower min-interval to at most three quarters of "
              "max-interval, or raise max-interval.\n"
              "  see docs/messages.md#minimum-interval\n" +
              corrected + ": accepted (2 of 2 validation calls made)\n",
          ""}));
}

TEST_F(IpavTest, ABadCandidateIsOneResultAmongTheOthers) {
  const std::string bad = Write("bad.xml", L3Xml("<frob/>"));
  const ProcessResult result = CheckBranch(bad, {kRunning});
  EXPECT_EQ(result.status, 2);  // the worst of all
  EXPECT_THAT(result.out, StartsWith(bad + ": not judged, bad input\n  " + bad +
                                     ":3:1: Node \"frob\" not found"));
  EXPECT_THAT(result.out,
              EndsWith("\n" + kRunning +
                       ": accepted (0 of 0 validation calls made)\n"));
  EXPECT_EQ(CountOf("\n", result.out), 3U);
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, VerboseShowsDebugLinesAndPlatformCalls) {
  const ProcessResult result =
      CheckBranch(kBranch + "ra-timers-removed.xml", {"--verbose"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out,
              HasSubstr("  debug: There is no path for '/config/interface/"));
  EXPECT_THAT(result.out, HasSubstr("  platform call: maapi_exists 4\n"
                                    "  platform calls: 4\n"));
}

TEST_F(IpavTest, AFailedAssertionEndsWithStatus3AndIsPrintedWhole) {
  const std::string file = WrongModel("wrong-depth-model");
  const ProcessResult result = Ipav({"check", "--yang", folder_, file});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.out,
              HasSubstr("the plug-in failed: killed by signal: Aborted\n" +
                        Place(kInterval, "/timers/five/levels/deep/ra")));
  EXPECT_THAT(result.out,
              HasSubstr("int32_t validate_ipv6_nd_ra_interval(int32_t, "
                        "confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*, "
                        "ip_application::config_valid::Config&): Assertion "
                        "`(&keypath->v[3][0])->type == C_BUF' failed.\n"));
  EXPECT_EQ(result.err, "");
}

// The first lines of a report on a plug-in that threw.
std::string Threw(const std::string& file, const std::string& calls) {
  return file + ": not judged, the plug-in failed (" + calls +
         " validation calls made)\n";
}

// The command with a plug-in that throws at the first validation call.
const std::string kThrowing = "DEED=throw " IPAV_PROGRAM
                              " check --plugin " IPAV_CALLING_PLUGIN
                              " --running " +
                              kRunning + " ";

// The reader of static routes rewrites the third character of such a name.
TEST_F(IpavTest, AnExceptionOfAReaderEndsWithStatus3AndNamesThePoint) {
  const std::string file =
      Branch({{"<interface-name>l3-core-a<", "<interface-name>x<"}});
  EXPECT_EQ(CheckBranch(file),
            (ProcessResult{3,
                           Threw(file, "1 of 7") +
                               "the plug-in threw an exception: "
                               "basic_string::replace: __pos (which is 2) > "
                               "this->size() (which is 1)\n" +
                               Place(kOutput, kRoutes),
                           ""}));
}

TEST_F(IpavTest, OspfTextThatIsNoAddressEndsWithStatus3AndNamesThePoint) {
  const Edit edits[] = {
      {"<area>0.0.0.12</area>", "<area>12</area>"},
      {"<area>0.0.0.12</area>", "<area/>"},
      {"<address>10.12.41.1</address>", "<address>10.12.41.1/24</address>"},
      {"<address>10.255.12.1</address>", "<address>2001:db8::1</address>"}};
  for (const Edit& edit : edits) {
    const std::string file = Branch({edit});
    EXPECT_EQ(CheckBranch(file),
              (ProcessResult{
                  3, Threw(file, "1 of 2") + NoAddress(kOspf, kIpv4Ospf), ""}))
        << edit.second;
  }
}

TEST_F(IpavTest, WithAllThePointsAfterAnExceptionStillAnswer) {
  const std::string file = Branch({{"<area>0.0.0.12</area>", "<area>12</area>"},
                                   {"10.12.50.1/24", "10.12.50.4/24"}});
  // A read that ended with an exception is tried again by the next point.
  EXPECT_EQ(CheckBranch(file, {"--all"}),
            (ProcessResult{
                3,
                Threw(file, "5 of 5") + Accepted(kL3, {kIpv4}) +
                    NoAddress(kL3, kIpv4Ospf) + Accepted(kL3, {kIpv4Route}) +
                    NoAddress(kOspf, kIpv4Ospf) + NoAddress(kOspf, kVrf),
                ""}));
}

// A use site as `ipav points` prints it.
std::string UseSite(const std::string& path, const std::string& opaque,
                    bool call_once, const Words& dependencies) {
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

// As that of a shell variable that is not set. Without --running, everything
// would be new.
TEST_F(IpavTest, AnEmptyNameIsAnErrorOfEveryCommand) {
  const std::pair<std::string, Words> rows[] = {
      {"--running", {"check", "--running", "", kRunning}},
      {"--running", {"check", "--running=", kRunning}},
      {"--output", {"check", "--output", "", kRunning}},
      {"--report", {"check", "--report", "", kRunning}},
      {"--plugin", {"check", "--plugin", "", kRunning}},
      {"--yang", {"check", "--yang", "", kRunning}},
      {"candidate", {"check", ""}},
      {"candidate", {"check", "--base", "HEAD", ""}},
      {"--plugin", {"compare", "--plugin", "a", "--plugin", "", kRunning}},
      {"--output", {"convert", kRunning, "--output", ""}},
      {"running", {"diff", "", kRunning}},
      {"--running", {"fix", "--running", "", kRunning}},
      {"file", {"fix", ""}},
      {"--running", {"lsp", "--running", ""}},
      {"--running", {"plan", "--running", "", kRunning}},
      {"--output", {"plan", "--output", "", kRunning}},
      {"goal", {"plan", "--running", kRunning, ""}},
      {"--running", {"session", "--running", ""}},
      {"--output", {"summarize", "--output", "", kRunning}},
      {"--to", {"commit", "--to", "", kRunning}}};
  for (const auto& [option, arguments] : rows) {
    EXPECT_THAT(Ipav(arguments),
                IsBadInput(option + ": the value is empty (see ipav "));
  }
}

TEST_F(IpavTest, AWrongCommandLineIsOneLineOnStandardError) {
  const std::pair<Words, std::string> rows[] = {
      {{}, "A command is required (see ipav --help)\n"},
      {{"frobnicate"},
       "The following argument was not expected: frobnicate (see ipav "
       "--help)\n"},
      {{"check"}, "candidate is required (see ipav check --help)\n"},
      {{"check", "--frobnicate", kRunning},
       "The following argument was not expected: --frobnicate (see ipav check "
       "--help)\n"}};
  for (const auto& [arguments, error] : rows) {
    EXPECT_THAT(Ipav(arguments), IsBadInput(error));
  }
}

// What cannot be read or loaded, and the line that says so.
TEST_F(IpavTest, AnUnusableFileIsNamed) {
  const std::string none = folder_ / "none";
  const std::string empty = folder_ / "empty";
  fs::create_directory(empty);
  const std::string bad = Write("bad.xml", L3Xml("<frob>1</frob>"));
  const std::string blank = Write("blank.json", " \n\t\n");
  const std::string text = Write("text.so", "no library\n");
  const std::string model = folder_ / "model";
  fs::create_directory(model);
  const std::string module =
      Write("model/broken.yang",
            "module broken {\n  namespace \"urn:b\";\n  prefix b;\n"
            "  leaf a { type nothing; }\n}\n");
  const std::pair<Words, std::string> rows[] = {
      {{"check", none}, none + ": No such file or directory\n"},
      {{"check", empty}, empty + ": holds no configuration\n"},
      {{"check", blank}, blank + ": is empty\n"},
      {{"check", "--running", bad, kRunning},
       bad + ":3:1: Node \"frob\" not found"},
      {{"check", "--plugin", text, kRunning}, text},
      {{"check", "--plugin", none, kRunning}, none},
      {{"check", "--plugin", IPAV_NO_PLUGIN, kRunning},
       IPAV_NO_PLUGIN ": entry point lib_init is missing\n"},
      {{"points", "--yang", empty}, empty + ": no YANG module in here\n"},
      {{"points", "--yang", model}, module + ":"}};
  for (const auto& [arguments, error] : rows) {
    EXPECT_THAT(Ipav(arguments), IsBadInput(error));
  }
}

TEST_F(IpavTest, AllErrorsOfAllFilesAreListed) {
  const std::string running =
      Write("running.xml", L3Xml("<frob/>\n<mtu>1</mtu>"));
  const std::string candidate = Write("a.xml", L3Xml("<mtu>1</mtu>"));
  const std::string low =
      "Unsatisfied range - value \"1\" is out of the allowed range. Expected: "
      "range 68..9216.\n";
  const std::string of_running =
      "ipav: " + running +
      ":3:1: Node \"frob\" not found as a child of \"l3\" node.\nipav: " +
      running + ":4:6: " + low;
  EXPECT_EQ(Ipav({"check", "--running", running, candidate}),
            (ProcessResult{
                2, "", of_running + "ipav: " + candidate + ":3:6: " + low}));
  EXPECT_EQ(Ipav({"diff", running, candidate}),
            (ProcessResult{2, "", of_running}));
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

double Sum(const std::map<std::string, TimingLine>& lines, const Words& names) {
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
  ProcessResult with = CheckBranch(file, {"--timing"});
  EXPECT_NE(with.err, "");
  with.err = "";
  EXPECT_EQ(with, CheckBranch(file));
}

TEST_F(IpavTest, TimesOfThePartsAreNotLongerThanThatOfTheWhole) {
  const std::string file = kBranch + "ra-timers-tuned.xml";
  const std::map<std::string, TimingLine> lines =
      TimingLines(CheckBranch(file, {"--timing"}).err);
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
  const ProcessResult result = CheckBranch(file, {"--timing", "--verbose"});
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
  EXPECT_THAT(result.out, HasSubstr("(" + std::to_string(calls) + " of "));
  EXPECT_THAT(
      result.out,
      HasSubstr("  platform calls: " + std::to_string(platform_calls) + "\n"));
  const std::string all = file + ":   points, with lib_init and lib_finish";
  ASSERT_EQ(lines.count(all), 1U);
  EXPECT_LE(points, lines.at(all).milliseconds + kRounding);
}

TEST_F(IpavTest, TimingOfAPluginThatThrowsIsThatOfTheHost) {
  const ProcessResult result =
      Shell(kThrowing + kBranch + "ra-timers-tuned.xml --timing");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(TimingLines(result.err).count("total"), 1U) << result.err;
}

}  // namespace

}  // namespace ipav::testing
