// ipav new: the configuration is accepted, and what its comments say holds.

#include <sstream>
#include <utility>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

using Edit = std::pair<std::string, std::string>;

class NewTest : public FolderTest {
 protected:
  void SetUp() override {
    text_ = OutputOf({"new"});
    file_ = Write("new.xml", text_);
  }

  // Edits the configuration after a comment, and compares what `check` says to
  // that: the operator's text, or "" if the edit is accepted. Without
  // `running`, it is a first configuration.
  void ExpectAnswer(const std::string& comment, const std::vector<Edit>& edits,
                    const std::string& answer,
                    const std::string& running = "") const {
    SCOPED_TRACE(comment);
    std::string text = text_;
    const std::size_t place = text.find(comment);
    ASSERT_NE(place, std::string::npos);
    for (const auto& [from, to] : edits) {
      const std::size_t at = text.find(from, place);
      ASSERT_NE(at, std::string::npos) << from;
      text.replace(at, from.size(), to);
    }
    Words arguments = {"check", Write("edited.xml", text)};
    if (!running.empty()) arguments = Joined(arguments, {"--running", running});
    const ProcessResult result = Ipav(arguments);
    EXPECT_EQ(result.status, answer.empty() ? 0 : 1) << result.out;
    const std::size_t line = result.out.find('\n') + 1;
    EXPECT_EQ(result.out.substr(line, result.out.find('\n', line) - line),
              answer);
  }

  std::string text_;
  std::string file_;
};

TEST_F(NewTest, IsAcceptedInBothFormats) {
  const std::string json =
      Write("new.json", OutputOf({"new", "--format", "json"}));
  for (const std::string& file : {file_, json}) {
    EXPECT_EQ(OutputOf({"check", file}),
              file + ": accepted (28 of 28 validation calls made)\n");
  }
  EXPECT_EQ(OutputOf({"diff", file_, json}),
            "no changes\n\nno validation calls\n");
}

TEST_F(NewTest, HasEveryKindOfConfigurationWithAComment) {
  for (const char* element :
       {"<l3 ", "<loopback ", "<mgmt ", "<vrf>", "<secondary>", "<ra>",
        "<vrf-config>", "<ospf-index-to-proc-id>", "<ospf-interface-l3>",
        "<ospfv3-interface-l3>", "<rtmStaticRtEntry>",
        "<rtmStaticRtEntry-global "}) {
    EXPECT_THAT(text_, HasSubstr(element));
  }
  EXPECT_EQ(CountOf("<!-- ", text_), 22U);
}

TEST_F(NewTest, HasShortLinesAndCommentsOfOneLine) {
  std::istringstream lines(text_);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80U) << line;
    EXPECT_EQ(CountOf("<!-- ", line), CountOf(" -->", line)) << line;
  }
}

TEST_F(NewTest, CommentsOnInterfacesHold) {
  ExpectAnswer("Another one of the same link",
               {{">10.1.11.1/24<", ">10.1.10.1/25<"}},
               "l3 users has duplicated IPv4 address 10.1.10.1");
  ExpectAnswer("Subnets of two interfaces",
               {{"<name>0</name>",
                 "<name>0</name><ipv6><address><ip>2001:db8:1:10::9/128</ip>"
                 "</address></ipv6>"}},
               "l3 users ipv6 address 2001:db8:1:10::1/64 overlaps with "
               "loopback 0 ipv6 address 2001:db8:1:10::9/128.");
  ExpectAnswer("A /31 has two", {{">192.0.2.0/31<", ">192.0.2.0/30<"}},
               "l3 uplink ipv4 address 192.0.2.0/30 cannot be configured as "
               "network address.");
  ExpectAnswer("In a VRF of its own", {{"<vrf>guest</vrf>", ""}},
               "l3 users vrf global ipv4 address 10.1.10.1/24 overlaps with "
               "l3 guests vrf global ipv4 address 10.1.10.1/24.");
  ExpectAnswer(
      "A loopback: all",
      {{"</address>", "</address><address><ip>198.51.100.2/32</ip></address>"}},
      "");
  ExpectAnswer("A management port", {{">172.16.0.2/24<", ">10.1.10.2/24<"}},
               "l3 users vrf global ipv4 address 10.1.10.1/24 overlaps with "
               "mgmt eth0 vrf mgmt ipv4 address 10.1.10.2/24.");
}

TEST_F(NewTest, CommentsOnTimersHold) {
  ExpectAnswer("Router advertisements",
               {{"<max-interval>600</max-interval>", ""}},
               "fail to get maximum router advertisement interval value");
  ExpectAnswer("At most three quarters", {{">200<", ">450<"}}, "");
  ExpectAnswer(
      "At most three quarters", {{">200<", ">451<"}},
      "Minimum interval must be no greater than maximum interval * 0.75");
  ExpectAnswer("0, or greater", {{">1800<", ">0<"}}, "");
  ExpectAnswer("0, or greater", {{">1800<", ">601<"}}, "");
  ExpectAnswer(
      "0, or greater", {{">1800<", ">600<"}},
      "Lifetime must be greater than maximum router advertisement interval");
}

TEST_F(NewTest, CommentsOnOspfHold) {
  ExpectAnswer("While OSPFv3 uses", {{">20<", ">21<"}},
               "vlan 20 cannot be changed, it is assigned to router "
               "ospfv3 1 area 0 (0.0.0.0)",
               file_);
  ExpectAnswer("While OSPFv3 uses", {{">20<", ">21<"}, {">1020<", ">1021<"}},
               "", file_);
  ExpectAnswer("An OSPFv2 process", {{">global<", ">guest<"}},
               "l3 uplink vrf global and router ospf 1 vrf guest cannot be "
               "associated with divergent VRF");
  ExpectAnswer("An interface in OSPFv2", {{">192.0.2.0<", ">192.0.2.9<"}},
               "192.0.2.9/31 cannot be modified nor deleted, it is assigned "
               "to router ospf 1 vrf global area 0 (0.0.0.0)");
}

TEST_F(NewTest, CommentsOnRoutesHold) {
  ExpectAnswer("The number by which routes name", {{">guest<", ">red<"}}, "");
  // In guest, 10.1.10.1 is an own address; in the VRF of number 3, which has no
  // row, it is one of global.
  for (const auto& [number, name] : {Edit{"2", "guests"}, Edit{"3", "users"}}) {
    ExpectAnswer("0.0.0.0/0 through",
                 {{"Index>0<", "Index>" + number + "<"},
                  {">c0:00:02:01<", ">0a:01:0a:01<"}},
                 "l3 " + name +
                     " ipv4 address 10.1.10.1/24 and static route 0.0.0.0/0 "
                     "next-hop 10.1.10.1 cannot have address conflict.");
  }
  ExpectAnswer("10.0.0.0/8 into a black hole",
               {{"<rtmStaticRtEntry>",
                 "<rtmStaticRtEntry><rtmStaticRtFteIndex>0"
                 "</rtmStaticRtFteIndex><rtmStaticRtDestType>ipv4"
                 "</rtmStaticRtDestType><rtmStaticRtDest>0a:00:00:00"
                 "</rtmStaticRtDest><rtmStaticRtDestPfxLen>8"
                 "</rtmStaticRtDestPfxLen><rtmStaticRtNextHopType>ipv4"
                 "</rtmStaticRtNextHopType><rtmStaticRtNextHop>c0:00:02:01"
                 "</rtmStaticRtNextHop></rtmStaticRtEntry><rtmStaticRtEntry>"}},
               "Prefix 10.0.0.0/8 cannot be black-hole and have next-hop at "
               "the same time");
  ExpectAnswer("An uplink in OSPFv2", {{"<vlan>20</vlan>", ""}},
               "l3 uplink is being used by a static route. Lower-layer-if "
               "cannot be removed from this interface");
}

}  // namespace

}  // namespace ipav::testing
