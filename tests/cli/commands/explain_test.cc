// ipav explain: points, rules and texts, and the orders that it tells of.

#include <algorithm>
#include <set>

#include "messages/catalogue.h"
#include "tests/cli/commands/fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

constexpr char kLine[] =
    "\n-----------------------------------------------------------------------"
    "-------\n\n";

constexpr char kNetworkAddress[] =
    "Network address (network-address)\n"
    "\n"
    "  <interface> ipv4 address <prefix> cannot be configured as network "
    "address.\n"
    "\n"
    "  All host bits are zero. A /31 and a /32 are exempt: all their addresses "
    "are\n"
    "  usable. IPv6 does not have this test.\n"
    "\n"
    "  What to do: Take an address of the subnet that a host may have, such as "
    "the\n"
    "  next one.\n"
    "\n"
    "  Reported by: ipv4_addr_validation, intf_vrf_validation\n"
    "  See also: docs/messages.md#network-address\n";

constexpr char kText[] =
    "l3 a ipv4 address 10.0.0.0/24 cannot be configured as network address.";

// What `ipav explain` prints of kText.
std::string ExplainedText() {
  return std::string(kText) +
         "\n\n  <interface> is l3 a\n  <prefix> is 10.0.0.0/24\n\n" +
         kNetworkAddress;
}

using ExplainTest = CommandTest;

TEST_F(ExplainTest, TellsWhatAPointTests) {
  EXPECT_EQ(OutputOf({"explain", "validate_ipv6_nd_ra_lifetime"}),
            R"(validate_ipv6_nd_ra_lifetime

  The router lifetime of one l3 interface. Without max-interval and lifetime
  there is nothing to test.

  1. The interface, where it is neither l3 nor mgmt: an interface that is not
     judged.
  2. max-interval: a timer is missing. A mgmt interface that has it passes.
  3. lifetime: a timer is missing.
  4. One against the other: router lifetime.

Texts

  An interface that is not judged (an-interface-that-is-not-judged)
    invalid interface being handled by IP-App validation

  A timer is missing (a-timer-is-missing)
    fail to get maximum router advertisement interval value
    fail to get router advertisement lifetime value

  Router lifetime (router-lifetime)
    Lifetime must be greater than maximum router advertisement interval
    Why is a lifetime equal to the interval refused, which RFC 4861 and other
    tools allow: a host would lose its default router at the moment when the
    next advertisement is due.

Where the data model has it, and what runs it

  /config/interface/l3/ipv6/nd/ra, for each
    a change in /config/interface/l3/ipv6/nd/ra

  /config/interface/mgmt/ipv6/nd/ra, for each
    a change in /config/interface/mgmt/ipv6/nd/ra
)");
}

TEST_F(ExplainTest, TellsWhatARuleMeans) {
  EXPECT_EQ(OutputOf({"explain", "network-address"}), kNetworkAddress);
}

TEST_F(ExplainTest, TellsWhatATextMeansAndWhatIsFilledIn) {
  EXPECT_EQ(OutputOf({"explain", kText}), ExplainedText());
}

TEST_F(ExplainTest, SaysThatGlobalAndMgmtAreOneAddressSpace) {
  for (const char* topic : {"overlap", "ipv4_addr_validation"}) {
    EXPECT_NE(OutputOf({"explain", topic})
                  .find("Why do global and mgmt overlap: these two VRFs are "
                        "one address space."),
              std::string::npos)
        << topic;
  }
}

TEST_F(ExplainTest, TakesSeveralTopics) {
  const std::string both = ExplainedText() + kLine + kNetworkAddress;
  EXPECT_EQ(OutputOf({"explain", kText, "network-address"}), both);
  EXPECT_EQ(OutputOf({"explain", std::string(kText) + "\nnetwork-address"}),
            both);
}

// `check` prints the advice on one line, `explain` in a paragraph.
TEST_F(ExplainTest, GivesTheAdviceThatCheckGives) {
  const ProcessResult check = Ipav(
      {"check", "--running", kRunning, kBranch + "address-is-network.xml"});
  const std::string label = "  what to do: ";
  const std::size_t begin = check.out.find(label) + label.size();
  const std::string advice =
      check.out.substr(begin, check.out.find('\n', begin) - begin);
  std::string explained = OutputOf({"explain", "network-address"});
  for (std::size_t at = 0;
       (at = explained.find("\n  ", at)) != std::string::npos;) {
    explained.replace(at, 3, " ");
  }
  EXPECT_NE(explained.find("What to do: " + advice), std::string::npos)
      << explained;
}

TEST_F(ExplainTest, ReadsWhatCheckPrints) {
  const ProcessResult result = RunProcess(
      {"/bin/sh", "-c",
       IPAV_PROGRAM " check --all --running " + kRunning + " " + kBranch +
           "address-is-network.xml | " IPAV_PROGRAM " explain -"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "l3 printers ipv4 address 10.12.50.0/24 cannot be configured as "
            "network address.\n"
            "\n  <interface> is l3 printers\n  <prefix> is 10.12.50.0/24\n\n" +
                std::string(kNetworkAddress));
}

// What `explain -` prints of a report, which is all known.
std::string ExplainedReport(const std::string& file) {
  const ProcessResult result =
      RunProcess({"/bin/sh", "-c", IPAV_PROGRAM " explain - < " + file});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  return result.out;
}

TEST_F(ExplainTest, ReadsAReportAsATerminalShowsIt) {
  const ProcessResult report =
      Ipav({"check", "--all", "--verbose", "--color", "always", "--running",
            kRunning, kBranch + "address-is-network.xml"});
  const std::string of_network = ExplainedReport(Write("report", report.out));
  EXPECT_EQ(of_network.find("l3 printers ipv4 address 10.12.50.0/24 cannot be "
                            "configured as network address.\n\n"),
            0U)
      << of_network;
  EXPECT_EQ(of_network.find("\n---"), std::string::npos);
}

TEST_F(ExplainTest, LeavesOutAllOfAReportButTheTexts) {
  const std::string text = kText;
  const std::string report =
      "a/candidate.xml: accepted (3 of 3 validation calls made)\n"
      "b.xml: refused (1 of 3 validation calls made)\r\n" +
      text +
      " \r\n"
      "  validation point: ipv4_addr_validation\r\n"
      "  data path: /config/interface/l3\n"
      "  b.xml:459:15: address, changed\n"
      "    459 |           <ip>10.0.0.0/24</ip>\n"
      "        |               ^~~~~~~~~~~\n"
      "  note: several readings\n"
      "  what to do: Take an address.\n"
      "  see docs/messages.md#network-address\n"
      "(refused without a text)\n"
      "c.xml: not judged, bad input\n"
      "  c.xml:1: no element\n"
      "d.xml: not judged, the plug-in failed (0 of 3 validation calls made)\n"
      "the plug-in failed: ended by signal 6\n"
      "the plug-in threw an exception: stoul\n"
      "shard 1 of 2 of 9 devices, 5 devices: 1 accepted, 2 refused, 1 bad "
      "input, 1 failed\n";
  EXPECT_EQ(ExplainedReport(Write("report", report)), ExplainedText());
}

TEST_F(ExplainTest, ReadsTheReportOfAFleet) {
  const std::string folder = folder_;
  fs::create_directories(folder_ / "fleet" / "a");
  fs::copy_file(kRunning, folder_ / "fleet" / "a" / "running.xml");
  fs::copy_file(kBranch + "address-is-network.xml",
                folder_ / "fleet" / "a" / "candidate.xml");
  fs::copy_file(kRunning, folder_ / "fleet" / "b.xml");
  static_cast<void>(Write("fleet/c.xml", "<config"));
  const ProcessResult report = Ipav({"check", folder + "/fleet"});
  ASSERT_EQ(report.status, 2);
  ASSERT_NE(report.out.find("3 devices: "), std::string::npos) << report.out;
  const std::string explained = ExplainedReport(Write("report", report.out));
  EXPECT_EQ(explained.find("l3 printers ipv4 address 10.12.50.0/24 "), 0U);
  EXPECT_EQ(explained.find(kLine), std::string::npos) << explained;
}

TEST_F(ExplainTest, TellsOfATextInAReportThatItDoesNotKnow) {
  const ProcessResult result = RunProcess(
      {"/bin/sh", "-c", "printf 'xyzzy\n' | " IPAV_PROGRAM " explain -"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: no validation point, rule or text: xyzzy\n");
}

TEST_F(ExplainTest, KnowsARuleAsFindingsNameIt) {
  EXPECT_EQ(OutputOf({"explain", "address-is-network"}), kNetworkAddress);
  for (const messages::Message& rule : messages::Messages()) {
    EXPECT_EQ(OutputOf({"explain", rule.rule}),
              OutputOf({"explain", rule.anchor}))
        << rule.rule;
  }
}

TEST_F(ExplainTest, SuggestsARuleAsFindingsNameIt) {
  const ProcessResult result = Ipav({"explain", "ospf-vrf-difers"});
  EXPECT_EQ(result.err.find("ipav: no validation point, rule or text: "
                            "ospf-vrf-difers (nearest: ospf-vrf-differs"),
            0U)
      << result.err;
}

TEST_F(ExplainTest, ListsPointsAndRulesWithoutATopic) {
  const std::string list = OutputOf({"explain"});
  EXPECT_EQ(list.find("Validation points\n"
                      "  intf_l3_name_validation\n"
                      "    Number and names of the l3 interfaces.\n"
                      "  ipv4_addr_validation\n"),
            0U)
      << list;
  EXPECT_NE(list.find("\nRules\n"
                      "  too-many-l3-interfaces                Too many l3 "
                      "interfaces\n"),
            std::string::npos)
      << list;
}

// The names in a list of `ipav explain`.
std::vector<std::string> Listed(const std::string& heading) {
  const std::string list = OutputOf({"explain"});
  std::size_t at = list.find(heading + "\n") + heading.size() + 1;
  std::vector<std::string> names;
  while (at < list.size() && list[at] != '\n') {
    if (list.compare(at, 4, "    ") != 0) {
      names.push_back(
          list.substr(at + 2, list.find_first_of(" \n", at + 2) - at - 2));
    }
    at = list.find('\n', at) + 1;
  }
  return names;
}

TEST_F(ExplainTest, KnowsEveryPointOfTheModelAndNoOther) {
  const std::string sites = OutputOf({"points"});
  std::set<std::string> points;
  const std::string label = "  opaque: ";
  for (std::size_t at = sites.find(label); at != std::string::npos;
       at = sites.find(label, at + 1)) {
    const std::size_t begin = at + label.size();
    points.insert(sites.substr(begin, sites.find('\n', begin) - begin));
  }
  const std::vector<std::string> listed = Listed("Validation points");
  EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), points);
  EXPECT_EQ(listed.size(), points.size());
}

TEST_F(ExplainTest, ExplainsEveryNameThatItLists) {
  for (const char* heading : {"Validation points", "Rules"}) {
    const std::vector<std::string> names = Listed(heading);
    EXPECT_GE(names.size(), 11U);
    for (const std::string& name : names) {
      EXPECT_NE(OutputOf({"explain", name}), "") << name;
    }
  }
}

// The texts of all cases that are refused, through the pipe.
TEST_F(ExplainTest, KnowsTheTextOfEveryCase) {
  std::set<std::string> texts;
  for (const auto& file :
       fs::recursive_directory_iterator(IPAV_ROOT "/tests/e2e")) {
    if (file.path().filename() == "expect.txt") {
      texts.insert(ReadFile(file.path()));
    }
  }
  std::string all;
  for (const std::string& text : texts) all += text;
  const ProcessResult result = RunProcess(
      {"/bin/sh", "-c", IPAV_PROGRAM " explain - < " + Write("texts", all)});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  EXPECT_GE(texts.size(), 100U);
}

TEST_F(ExplainTest, TakesTheTextWithMostInCommon) {
  // A name may look like another text.
  const std::string out = OutputOf(
      {"explain",
       "l3 x has duplicated IPv4 address ipv4 address 10.0.0.255/24 cannot be "
       "configured as broadcast address."});
  EXPECT_NE(out.find("\nBroadcast address (broadcast-address)\n"),
            std::string::npos)
      << out;
}

TEST_F(ExplainTest, TakesANumberOfTheDocumentForAnyNumber) {
  const std::string out =
      OutputOf({"explain",
                "too many 'interface l3', 300 configured, at most 128 must be "
                "configured"});
  EXPECT_NE(out.find("\n  <count> is 300\n\nToo many l3 interfaces ("),
            std::string::npos)
      << out;
}

TEST_F(ExplainTest, ShowsEachReadingOfAnAmbiguousText) {
  const std::string out =
      OutputOf({"explain",
                "mgmt a vrf b vrf c and router ospf 1 vrf d cannot be "
                "associated with divergent VRF"});
  EXPECT_NE(out.find("\n  <interface> is mgmt a, or mgmt a vrf b\n"
                     "  <vrf> is b vrf c, or c\n"
                     "  <process> is 1\n"
                     "  <process-vrf> is d\n"),
            std::string::npos)
      << out;
}

TEST_F(ExplainTest, ShowsThatAPlaceIsEmpty) {
  const std::string out = OutputOf(
      {"explain",
       "L3 interface name  is too short (minimum length: 1 character)"});
  EXPECT_NE(out.find("\n  <name> is empty\n"), std::string::npos) << out;
}

TEST_F(ExplainTest, SuggestsWhatIsNearestToAnUnknownTopic) {
  const ProcessResult result = Ipav({"explain", "overlp"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "ipav: no validation point, rule or text: overlp "
            "(nearest: overlap)\n");
  const ProcessResult text =
      Ipav({"explain", "Lifetime must be above maximum interval"});
  EXPECT_EQ(text.err.find("ipav: no validation point, rule or text: Lifetime "
                          "must be above maximum interval (nearest: Lifetime "
                          "must be greater than maximum router advertisement "
                          "interval"),
            0U)
      << text.err;
}

TEST_F(ExplainTest, SuggestsNothingWhereNothingIsNear) {
  const ProcessResult result = Ipav({"explain", "xyzzy"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: no validation point, rule or text: xyzzy\n");
}

TEST_F(ExplainTest, ExplainsTheKnownOnesAmongUnknownTopics) {
  const ProcessResult result = Ipav({"explain", "xyzzy", "network-address"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, kNetworkAddress);
}

// ---- The orders that docs/messages.md tells of -----------------------------

// An l3 interface with these addresses, the first one of them primary.
std::string L3(const std::string& name, const std::string& primary,
               const std::string& secondary = "") {
  std::string more;
  if (!secondary.empty()) {
    more = R"(, "secondary": [{"ip": ")" + secondary + R"("}])";
  }
  return R"({"name": ")" + name + R"(", "ipv4": {"address": {"ip": ")" +
         primary + "\"" + more + "}}}";
}

// Tables of the routing side with a route through 10.0.0.1.
constexpr char kRoute[] = R"(
  "DC-RTM-MIB:DC-RTM-MIB": {"rtmStaticRtTable": {"rtmStaticRtEntry": [{
    "rtmStaticRtFteIndex": 0, "rtmStaticRtDestType": "ipv4",
    "rtmStaticRtDest": "00:00:00:00", "rtmStaticRtDestPfxLen": 0,
    "rtmStaticRtNextHopType": "ipv4", "rtmStaticRtNextHop": "0a:00:00:01"}]}})";

class OrderTest : public CommandTest {
 protected:
  // What the operator reads of a commit of these interfaces; `tables` are the
  // same before and after.
  std::string TextOf(const std::string& before, const std::string& after,
                     const std::string& tables = "") const {
    const ProcessResult result =
        Ipav({"check", "--running", Write("running.json", All(before, tables)),
              Write("candidate.json", All(after, tables))});
    EXPECT_EQ(result.status, 1) << result.out;
    const std::size_t line = result.out.find('\n') + 1;
    return result.out.substr(line, result.out.find('\n', line) - line);
  }

 private:
  static std::string All(const std::string& interfaces,
                         const std::string& tables) {
    return R"({"vorplex-config:config": {"interface": {)" + interfaces + "}}" +
           (tables.empty() ? "" : ",") + tables + "}";
  }
};

std::string Interfaces(const std::string& l3, const std::string& more = "") {
  return R"("ipapp:l3": [)" + l3 + "]" + more;
}

TEST_F(OrderTest, AddressByAddressNetworkAndBroadcast) {
  EXPECT_EQ(TextOf("", Interfaces(L3("a", "10.0.0.255/24", "10.1.0.0/24"))),
            "l3 a ipv4 address 10.0.0.255/24 cannot be configured as broadcast "
            "address.");
}

TEST_F(OrderTest, NetworkAddressBeforeOneAddressTwice) {
  EXPECT_EQ(TextOf("", Interfaces(L3("a", "10.0.0.0/24", "10.0.0.0/25"))),
            "l3 a ipv4 address 10.0.0.0/24 cannot be configured as network "
            "address.");
}

TEST_F(OrderTest, OneAddressTwiceBeforeOverlapWithALaterInterface) {
  EXPECT_EQ(TextOf("", Interfaces(L3("a", "10.0.0.1/24", "10.0.0.1/25") + "," +
                                  L3("b", "10.0.0.2/24"))),
            "l3 a has duplicated IPv4 address 10.0.0.1");
}

TEST_F(OrderTest, OverlapBeforeNextHop) {
  EXPECT_EQ(
      TextOf(Interfaces(L3("a", "10.0.0.1/24")),
             Interfaces(L3("a", "10.0.0.1/24") + "," + L3("b", "10.0.0.2/24")),
             kRoute),
      "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b vrf global "
      "ipv4 address 10.0.0.2/24.");
}

TEST_F(OrderTest, NextHopOfOneInterfaceBeforeTheNextInterface) {
  EXPECT_EQ(
      TextOf(Interfaces(L3("a", "10.0.0.1/24")),
             Interfaces(L3("a", "10.0.0.1/24") + "," + L3("b", "10.9.0.0/24")),
             kRoute),
      "l3 a ipv4 address 10.0.0.1/24 and static route 0.0.0.0/0 next-hop "
      "10.0.0.1 cannot have address conflict.");
}

TEST_F(OrderTest, AllOfTheKindBeforeOverlapWithOtherKinds) {
  const std::string loopback =
      R"(, "ipapp:loopback": [{"name": "0", "ipv4": {"address":
         [{"ip": "10.0.0.9/32"}]}}])";
  EXPECT_EQ(TextOf("", Interfaces(L3("a", "10.0.0.1/24") + "," +
                                      L3("b", "10.9.0.0/24"),
                                  loopback)),
            "l3 b ipv4 address 10.9.0.0/24 cannot be configured as network "
            "address.");
  EXPECT_EQ(TextOf("", Interfaces(L3("a", "10.0.0.1/24"), loopback)),
            "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with loopback 0 "
            "vrf global ipv4 address 10.0.0.9/32.");
}

// Changes of the starter, where `uplink` is in both OSPF.
TEST_F(OrderTest, AddressesBeforeOspfv2BeforeOspfv3WhereAVrfIsSet) {
  const std::string text = OutputOf({"new", "--format", "json"});
  // An interface in the VRF red that overlaps with `uplink`, if put there.
  const std::string other =
      R"({"name": "r", "vrf": "red", "ipv4": {"address":
         {"ip": "192.0.2.1/31"}}}, )";
  const std::string name = "\"name\": \"uplink\"";
  const auto refusal = [&](const std::string& vrf, const std::string& more) {
    std::string before = text;
    const std::string list = "\"ipapp:l3\": [";
    before.insert(before.find(list) + list.size(), more);
    std::string after = before;
    after.insert(after.find(name) + name.size(), ", \"vrf\": \"" + vrf + "\"");
    const ProcessResult result =
        Ipav({"check", "--running", Write("before.json", before),
              Write("after.json", after)});
    EXPECT_EQ(result.status, 1) << result.out;
    const std::size_t line = result.out.find('\n') + 1;
    return result.out.substr(line, result.out.find('\n', line) - line);
  };
  EXPECT_EQ(refusal("red", other),
            "l3 r vrf red ipv4 address 192.0.2.1/31 overlaps with l3 uplink "
            "vrf red ipv4 address 192.0.2.0/31.");
  EXPECT_EQ(refusal("red", ""),
            "l3 uplink vrf red and router ospf 1 vrf global cannot be "
            "associated with divergent VRF");
  EXPECT_EQ(refusal("global", ""),
            "l3 uplink is configured in OSPFv3 and cannot be associated with a "
            "VRF");
}

}  // namespace

}  // namespace ipav::testing
