// The command as its users meet it: verdicts, exit statuses, and one clear line
// for whatever is wrong with the input.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "run_process.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

const std::string kBranch = IPAV_EXAMPLES "/branch-router/";
const std::string kRunning = kBranch + "running.xml";

ProcessResult Ipav(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), IPAV_PROGRAM);
  return RunProcess(arguments);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A folder of the test's own, gone with it.
class IpavTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name = (fs::temp_directory_path() / "ipav-test-XXXXXX");
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Write(const std::string& name, const std::string& text) const {
    const fs::path path = folder_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

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

  // The same for a configuration of that text, at `place` behind its name.
  void ExpectRefusedFile(const std::string& name, const std::string& text,
                         const std::string& place) const {
    const std::string file = Write(name, text);
    SCOPED_TRACE(name);
    ExpectBadInput(Ipav({"check", file}), "ipav: " + file + ":" + place);
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

  // The "N of M" of an accepted commit of these edits to the branch router.
  std::string CallsOf(const std::vector<Edit>& edits) const {
    const std::string file = Branch(edits);
    const ProcessResult result = Ipav({"check", "--running", kRunning, file});
    const std::string before = file + ": accepted (";
    EXPECT_EQ(result.out.substr(0, before.size()), before) << result.out;
    const std::size_t end = result.out.find(" validation calls made)");
    EXPECT_NE(end, std::string::npos) << result.out;
    return result.out.substr(before.size(), end - before.size());
  }

  fs::path folder_;
};

std::string Interface(const std::string& inner) {
  return "<config xmlns=\"urn:vorplex:config\"><interface>\n"
         "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>\n" +
         inner + "\n</l3></interface></config>\n";
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
                "  data path: /config/interface/l3{printers}/ipv6/nd/ra\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, WithoutARunningConfigurationEverythingIsNew) {
  const ProcessResult result = Ipav({"check", kRunning});
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_EQ(result.out.find("(0 of 0"), std::string::npos) << result.out;
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

TEST_F(IpavTest, WhatNoRuleReadsRunsNoPoint) {
  EXPECT_EQ(CallsOf({{"Printers", "All printers"}}), "0 of 0");
  EXPECT_EQ(CallsOf({{"<mtu>9000</mtu>", "<mtu>9216</mtu>"}}), "0 of 0");
  EXPECT_EQ(CallsOf({{"<vlan>401</vlan>", "<vlan>499</vlan>"}}), "0 of 0");
  EXPECT_EQ(CallsOf({{"<enabled>false", "<enabled>true"}}), "0 of 0");
}

TEST_F(IpavTest, TimersRunNoAddressPoint) {
  EXPECT_EQ(
      CallsOf({{"<lifetime>1800</lifetime>", "<lifetime>2400</lifetime>"}}),
      "2 of 2");
}

TEST_F(IpavTest, AnAddressRunsThePointOfItsKindAndFamily) {
  EXPECT_EQ(CallsOf({{"10.12.50.1/24", "10.12.50.4/24"}}), "1 of 1");
  EXPECT_EQ(CallsOf({{"10.255.0.53/32", "10.255.0.54/32"}}), "1 of 1");
  EXPECT_EQ(CallsOf({{"172.31.112.2/28", "172.31.112.4/28"}}), "1 of 1");
  EXPECT_EQ(CallsOf({{"2001:db8:12:401::1/64", "2001:db8:12:401::4/64"}}),
            "1 of 1");
  EXPECT_EQ(CallsOf({{"2001:db8:ffff::53/128", "2001:db8:ffff::54/128"}}),
            "1 of 1");
  EXPECT_EQ(CallsOf({{"2001:db8:12:ff01::2/64", "2001:db8:12:ff01::4/64"}}),
            "1 of 1");
}

TEST_F(IpavTest, AVrfRunsTheAddressPointsOfItsKind) {
  EXPECT_EQ(CallsOf({{"<vrf>payment</vrf>", "<vrf>shops</vrf>"}}), "2 of 2");
}

TEST_F(IpavTest, ANewOrRemovedInterfaceRunsThePointsOfItsKind) {
  const std::string l3 = "<l3 xmlns=\"urn:vorplex:ipapp\">";
  const std::string loopback = "<loopback xmlns=\"urn:vorplex:ipapp\">";
  EXPECT_EQ(CallsOf({{l3, l3 + "<name>new</name></l3>" + l3}}), "3 of 3");
  EXPECT_EQ(CallsOf({{loopback,
                      loopback + "<name>new</name></loopback>" + loopback}}),
            "2 of 2");
  const std::string text = ReadFile(kRunning);
  const std::size_t name = text.find("<name>spare-1</name>");
  const std::size_t begin = text.rfind(l3, name);
  const std::size_t end = text.find("</l3>", name) + 5;
  EXPECT_EQ(CallsOf({{text.substr(begin, end - begin), ""}}), "3 of 3");
}

TEST_F(IpavTest, ARouteOrTheNameOfAVrfRunsTheAddressPointsOfAllKinds) {
  EXPECT_EQ(CallsOf({{"<rtmStaticRtNextHop>0a:0c:8c:01<",
                      "<rtmStaticRtNextHop>0a:0c:8c:03<"}}),
            "6 of 6");
  EXPECT_EQ(
      CallsOf({{"<interface-name>l3-core-a<", "<interface-name>l3-core-b<"}}),
      "6 of 6");
  EXPECT_EQ(CallsOf({{"<vname>payment</vname>", "<vname>shops</vname>"}}),
            "6 of 6");
}

TEST_F(IpavTest, AnUnspecifiedAddressIsAWarningAndNoRefusal) {
  const std::string file =
      Branch({{"<ip>10.12.41.1/24</ip>", "<ip>0.0.0.0/24</ip>"},
              {"<ip>172.31.112.2/28</ip>", "<ip>0.0.0.0/0</ip>"},
              {"<ip>2001:db8:12:ff01::2/64</ip>", "<ip>::/64</ip>"}});
  const ProcessResult result = Ipav({"check", "--running", kRunning, file});
  EXPECT_EQ(result.status, 0);
  // A family is read once for all points of a commit, so it warns once.
  EXPECT_EQ(result.out,
            file +
                ": accepted (3 of 3 validation calls made)\n"
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
  EXPECT_EQ(result.out, file + ": accepted (1 of 1 validation calls made)\n");
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
        std::string(point) + "\n  data path: /tunnel\n";
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
                "  data path: /config/interface/l3{a}/ipv6/nd/ra\n" +
                corrected + ": accepted (2 of 2 validation calls made)\n");
}

TEST_F(IpavTest, ABadCandidateBehindAGoodOneIsToldOfBeforeAnyVerdict) {
  const std::string bad = Write("bad.xml", Interface("<frob/>"));
  ExpectBadInput(Ipav({"check", "--running", kRunning, kRunning, bad}),
                 "ipav: " + bad + ":3: Node \"frob\" not found");
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
                ": not judged, the plug-in failed (1 of 6 validation calls "
                "made)\n"
                "the plug-in threw an exception: basic_string::replace: __pos "
                "(which is 2) > this->size() (which is 1)\n"
                "  validation point: ipv4_addr_validation\n"
                "  data path: /config/interface/l3\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(IpavTest, TheGravestStatusOfSeveralCandidatesIsReturned) {
  const std::string accepted = kRunning;
  const std::string refused = kBranch + "ra-min-without-max.xml";
  EXPECT_EQ(Ipav({"check", "--running", kRunning, refused, accepted}).status,
            1);
  EXPECT_EQ(Ipav({"check", "--running", kRunning, accepted, refused}).status,
            1);
}

// A use site as `ipav points` prints it.
std::string UseSite(const std::string& path, const std::string& opaque,
                    bool call_once,
                    const std::vector<std::string>& dependencies) {
  std::string text = "/config/interface/" + path +
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

std::string AddressSites(const std::string& list) {
  return AddressSite(list, "ipv4_addr_validation", "ipv4") +
         AddressSite(list, "ipv6_addr_validation", "ipv6/address");
}

std::string TimerSites(const std::string& list) {
  const std::string path = list + "/ipv6/nd/ra";
  return UseSite(path, "validate_ipv6_nd_ra_interval", false, {"."}) +
         UseSite(path, "validate_ipv6_nd_ra_lifetime", false, {"."});
}

TEST_F(IpavTest, PointsListsTheUseSitesInTheOrderOfACommit) {
  const ProcessResult result = Ipav({"points"});
  EXPECT_EQ(result.status, 0);
  // Of each kind names, then addresses, then timers.
  EXPECT_EQ(result.out,
            UseSite("l3", "intf_l3_name_validation", true, {"name"}) +
                AddressSites("l3") + TimerSites("l3") +
                AddressSites("loopback") + AddressSites("mgmt") +
                TimerSites("mgmt"));
}

TEST_F(IpavTest, HelpShowsExamplesAndEndsWithStatus0) {
  for (const char* option : {"--help", "-h"}) {
    const ProcessResult result = Ipav({option});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("ipav check --running running.xml candidate.xml"),
              std::string::npos);
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(IpavTest, AWrongCommandLineIsOneLineOnStandardError) {
  ExpectBadInput(Ipav({}), "ipav: A subcommand is required\n");
  ExpectBadInput(Ipav({"frobnicate"}),
                 "ipav: The following argument was not expected: "
                 "frobnicate\n");
  ExpectBadInput(Ipav({"check"}), "ipav: candidate is required\n");
  ExpectBadInput(Ipav({"check", "--frobnicate", kRunning}),
                 "ipav: The following argument was not expected: "
                 "--frobnicate\n");
}

TEST_F(IpavTest, AFileThatCannotBeReadIsNamed) {
  ExpectBadInput(Ipav({"check", folder_ / "none.xml"}),
                 "ipav: " + (folder_ / "none.xml").string() +
                     ": No such file or directory\n");
  ExpectBadInput(
      Ipav({"check", folder_}),
      "ipav: " + folder_.string() + ": is a directory, not a file\n");
}

TEST_F(IpavTest, AFileThatIsNoConfigurationIsNamedWithItsLine) {
  ExpectRefusedFile("empty.xml", "", " is empty\n");
  ExpectRefusedFile("blank.json", " \n\t\n", " is empty\n");
  ExpectRefusedFile("prose.txt", "interface l3 a\n",
                    "1: neither XML nor JSON\n");
  ExpectRefusedFile("nul.xml", Interface(std::string("<vrf>a\0b</vrf>", 14)),
                    "3: contains a NUL byte\n");
  ExpectRefusedFile("latin1.xml", Interface("<vrf>caf\xe9</vrf>"),
                    "3: is not UTF-8\n");
  ExpectRefusedFile("latin1.json",
                    "{\n\"vorplex-config:config\": {\n\"interface\": {\n"
                    "\"ipapp:l3\": [{\"name\": \"caf\xe9\"}]}}}\n",
                    "4: is not UTF-8\n");
  ExpectRefusedFile("truncated.xml", Interface("<vrf>a</vrf>").substr(0, 100),
                    "3: ");
  ExpectRefusedFile("truncated.json",
                    "{\n\"vorplex-config:config\": {\n\"interface\": {\n",
                    "4: ");
  ExpectRefusedFile("mismatched.xml", Interface("<vrf>a</vfr>"), "3: ");
}

TEST_F(IpavTest, DataThatTheModelRefusesIsNamedWithItsLine) {
  ExpectRefusedFile("unknown.xml", Interface("<frob>1</frob>"),
                    "3: Node \"frob\" not found");
  ExpectRefusedFile(
      "address.xml",
      Interface("<ipv4><address><ip>10.0.0.256/24</ip></address></ipv4>"),
      "3: ");
  ExpectRefusedFile(
      "range.xml",
      Interface("<ipv6><nd><ra>\n<max-interval>65536</max-interval>\n"
                "</ra></nd></ipv6>"),
      "4: ");
  ExpectRefusedFile(
      "duplicate.xml",
      Interface("</l3>\n<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>"),
      "5: Duplicate instance of \"l3\".\n");
  ExpectRefusedFile("foreign.xml", "<config xmlns=\"urn:other\"/>\n", "1: ");
  ExpectRefusedFile("type.json",
                    "{\n\"vorplex-config:config\": {\"interface\": {\n"
                    "\"ipapp:l3\": [{\"name\": 7}]}}}\n",
                    "3: ");
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

TEST_F(IpavTest, NothingIsWrittenBesideTheInput) {
  const std::string candidate = Write("candidate.xml", Interface(""));
  const ProcessResult result = Ipav({"check", candidate});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto files = std::distance(fs::directory_iterator(folder_), {});
  EXPECT_EQ(files, 1);
}

}  // namespace

}  // namespace ipav::testing
