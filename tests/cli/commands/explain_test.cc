// ipav explain: points, rules and texts.

#include <regex>
#include <set>

#include "messages/catalogue.h"
#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

constexpr char kLine[] =
    "\n-----------------------------------------------------------------------"
    "-------\n\n";

constexpr char kNetworkAddress[] = R"(Network address (network-address)

  <interface> ipv4 address <prefix> cannot be configured as network address.

  All host bits are zero. A /31 and a /32 are exempt: all their addresses are
  usable. IPv6 does not have this test.

  What to do: Take an address of the subnet that a host may have, such as the
  next one.

  Reported by: ipv4_addr_validation, intf_vrf_validation
  See also: docs/messages.md#network-address
)";

constexpr char kText[] =
    "l3 a ipv4 address 10.0.0.0/24 cannot be configured as network address.";

// What `ipav explain` prints of kText.
std::string ExplainedText() {
  return std::string(kText) +
         "\n\n  <interface> is l3 a\n  <prefix> is 10.0.0.0/24\n\n" +
         kNetworkAddress;
}

constexpr char kUnknown[] = "no validation point, rule or text: ";

using ExplainTest = FolderTest;

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
    EXPECT_THAT(OutputOf({"explain", topic}),
                HasSubstr("Why do global and mgmt overlap: these two VRFs are "
                          "one address space."));
  }
}

TEST_F(ExplainTest, TakesSeveralTopics) {
  const std::string both = ExplainedText() + kLine + kNetworkAddress;
  EXPECT_EQ(OutputOf({"explain", kText, "network-address"}), both);
  EXPECT_EQ(OutputOf({"explain", std::string(kText) + "\nnetwork-address"}),
            both);
}

TEST_F(ExplainTest, ReadsWhatCheckPrints) {
  const ProcessResult expected = {
      0,
      "l3 printers ipv4 address 10.12.50.0/24 cannot be configured as network "
      "address.\n\n  <interface> is l3 printers\n  <prefix> is "
      "10.12.50.0/24\n\n" +
          std::string(kNetworkAddress),
      ""};
  // Also with the colours of a terminal.
  for (const char* options : {"", " --verbose --color always"}) {
    EXPECT_EQ(Shell(IPAV_PROGRAM " check --all --running " + kRunning + " " +
                    kBranch + "address-is-network.xml" + options +
                    " | " IPAV_PROGRAM " explain -"),
              expected);
  }
}

// What `explain -` prints of a report, which is all known.
std::string ExplainedReport(const std::string& file) {
  const ProcessResult result = Shell(IPAV_PROGRAM " explain - < " + file);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  return result.out;
}

TEST_F(ExplainTest, LeavesOutAllOfAReportButTheTexts) {
  const std::string report =
      R"(a/candidate.xml: accepted (3 of 3 validation calls made)
b.xml: refused (1 of 3 validation calls made)
)" + std::string(kText) +
      R"(
  validation point: ipv4_addr_validation
  data path: /config/interface/l3
  b.xml:459:15: address, changed
    459 |           <ip>10.0.0.0/24</ip>
        |               ^~~~~~~~~~~
  note: several readings
  what to do: Take an address.
  see docs/messages.md#network-address
(refused without a text)
c.xml: not judged, bad input
  c.xml:1: no element
d.xml: not judged, the plug-in failed (0 of 3 validation calls made)
the plug-in failed: ended by signal 6
the plug-in threw an exception: stoul
e.xml: refused (0 of 0 validation calls made, 28 of 28 after a restart)
after a restart, the device would refuse this configuration:
after a restart, the device would refuse this configuration, and the running one (stands already):
healed by this change: after a restart, the device would refuse the running configuration:
shard 1 of 2 of 9 devices, 5 devices: 1 accepted, 2 refused, 1 bad input, 1 failed
)";
  EXPECT_EQ(ExplainedReport(Write("report", report)), ExplainedText());
  // As pasted from a terminal.
  const std::string pasted =
      std::regex_replace(report, std::regex("\n"), " \r\n");
  EXPECT_EQ(ExplainedReport(Write("report", pasted)), ExplainedText());
}

TEST_F(ExplainTest, ReadsTheReportOfAFleet) {
  Write("a.xml", ReadFile(kRunning));
  Write("b.xml", "<config");
  Write("c.xml", ReadFile(kBranch + "address-is-network.xml"));
  const ProcessResult report = Ipav({"check", folder_});
  ASSERT_EQ(report.status, 2);
  ASSERT_THAT(report.out, HasSubstr("3 devices: "));
  const std::string explained = ExplainedReport(Write("report", report.out));
  EXPECT_THAT(explained, StartsWith("l3 printers ipv4 address 10.12.50.0/24 "));
  EXPECT_THAT(explained, Not(HasSubstr(kLine)));
}

TEST_F(ExplainTest, KnowsARuleAsFindingsNameIt) {
  EXPECT_EQ(OutputOf({"explain", "address-is-network"}), kNetworkAddress);
  for (const messages::Message& rule : messages::Messages()) {
    EXPECT_EQ(OutputOf({"explain", rule.rule}),
              OutputOf({"explain", rule.anchor}))
        << rule.rule;
  }
}

TEST_F(ExplainTest, ListsPointsAndRulesWithoutATopic) {
  const std::string list = OutputOf({"explain"});
  EXPECT_THAT(list, StartsWith("Validation points\n"
                               "  intf_l3_name_validation\n"
                               "    Number and names of the l3 interfaces.\n"
                               "  ipv4_addr_validation\n"));
  EXPECT_THAT(list,
              HasSubstr("\nRules\n"
                        "  too-many-l3-interfaces                Too many "
                        "l3 interfaces\n"));
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
  const std::regex opaque("  opaque: (.*)\n");
  std::set<std::string> points;
  for (std::sregex_iterator i(sites.begin(), sites.end(), opaque), end;
       i != end; ++i) {
    points.insert((*i)[1]);
  }
  EXPECT_THAT(Listed("Validation points"),
              ::testing::UnorderedElementsAreArray(points));
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

// Texts, and a part of what is printed of them.
TEST_F(ExplainTest, ShowsEachReadingOfAText) {
  const std::pair<const char*, const char*> rows[] = {
      // The text with most in common: a name may look like another text.
      {"l3 x has duplicated IPv4 address ipv4 address 10.0.0.255/24 cannot be "
       "configured as broadcast address.",
       "\nBroadcast address (broadcast-address)\n"},
      // A number of the catalogue stands for any number.
      {"too many 'interface l3', 300 configured, at most 128 must be "
       "configured",
       "\n  <count> is 300\n\nToo many l3 interfaces ("},
      {"mgmt a vrf b vrf c and router ospf 1 vrf d cannot be associated with "
       "divergent VRF",
       "\n  <interface> is mgmt a, or mgmt a vrf b\n"
       "  <vrf> is b vrf c, or c\n"
       "  <process> is 1\n"
       "  <process-vrf> is d\n"},
      // A name that a terminal would interpret.
      {"l3 a\x1b[31m ipv4 address 10.0.0.0/24 cannot be configured as network "
       "address.",
       "l3 a\\x1b[31m ipv4 address 10.0.0.0/24 cannot be configured as network "
       "address.\n\n  <interface> is l3 a\\x1b[31m\n"},
      {"L3 interface name  is too short (minimum length: 1 character)",
       "\n  <name> is empty\n"}};
  for (const auto& [text, part] : rows) {
    EXPECT_THAT(OutputOf({"explain", text}), HasSubstr(part));
  }
}

TEST_F(ExplainTest, SuggestsWhatIsNearestToAnUnknownTopic) {
  const std::pair<std::string, const char*> rows[] = {
      {"overlp", " (nearest: overlap)\n"},
      {"ospf-vrf-difers", " (nearest: ospf-vrf-differs"},
      {"hop next own", " (nearest: next-hop-is-an-own-address; black-hole-"},
      {"Lifetime must be above maximum interval",
       " (nearest: Lifetime must be greater than maximum router advertisement "
       "interval"},
      {"xyzzy", "\n"}};
  for (const auto& [topic, nearest] : rows) {
    EXPECT_THAT(Ipav({"explain", topic}),
                IsBadInput(kUnknown + topic + nearest));
  }
  EXPECT_THAT(Shell("printf 'xyzzy\n' | " IPAV_PROGRAM " explain -"),
              IsBadInput(kUnknown + std::string("xyzzy\n")));
}

TEST_F(ExplainTest, ExplainsTheKnownOnesAmongUnknownTopics) {
  EXPECT_EQ(Ipav({"explain", "xyzzy", "network-address"}),
            (ProcessResult{2, kNetworkAddress,
                           "ipav: " + (kUnknown + std::string("xyzzy\n"))}));
}

}  // namespace

}  // namespace ipav::testing
