// ipav plan beside the plans themselves: its limits, its files, and a plug-in
// that fails.

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

using nlohmann::json;

class PlanTest : public DevicesTest {
 protected:
  // The arguments of ipav plan for an example.
  static Words ToExample(const std::string& goal, const Words& more = {}) {
    return Joined({"plan", "--running", kRunning, kBranch + goal}, more);
  }
  // The same with a plug-in that does what the leaves of the goal are named.
  Words ToDeeds(const std::string& running, const std::string& goal) const {
    return {"plan",
            "--yang",
            folder_ / "yang",
            "--plugin",
            IPAV_TEST_PLUGINS "/obeys_opaque.so",
            "--running",
            WriteData("running.xml", running),
            WriteData("goal.xml", goal)};
  }
};

TEST_F(PlanTest, EndsAtTheLimitOfVerdictsAndSaysSo) {
  const ProgramResult result =
      Ipav(ToExample("route-through-own-address.xml", {"--verdicts", "3"}));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("no plan found before the search ended at "
                                    "--timeout or --verdicts (3 verdicts)"));
  EXPECT_THAT(result.out, Not(HasSubstr("refused in any order")));
}

TEST_F(PlanTest, FindsTheSamePlanAgain) {
  const Words plan = ToExample("floor-6-moved-under-ospfv3.xml");
  EXPECT_EQ(Ipav(plan).out, Ipav(plan).out);
}

TEST_F(PlanTest, WritesIntoANewOrEmptyFolderOnly) {
  const std::string steps = in() + "/a/steps";
  const Words plan = ToExample("floor-7-added.xml", {"--output", steps});
  EXPECT_EQ(Ipav(plan).status, 0);
  EXPECT_TRUE(std::filesystem::exists(steps + "/plan.json"));
  const ProgramResult again = Ipav(plan);
  EXPECT_EQ(again.status, 2);
  EXPECT_EQ(again.err, "ipav: " + steps + ": is not an empty folder\n");
}

TEST_F(PlanTest, NamesThePlugInsFailureWhenItDiesInTheSearch) {
  const ProgramResult result =
      Ipav(ToDeeds("", "<_exit>x</_exit><nothing>y</nothing>"));
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.out,
              HasSubstr("refused in any order:\n  + /top/_exit: x\n"));
  EXPECT_THAT(result.out, HasSubstr("the plug-in failed: "));
  // What does not need the plug-in can be committed.
  EXPECT_THAT(result.out, HasSubstr("commit 1: accepted (0 validation calls)\n"
                                    "  + /top/nothing: y\n"));
  ExpectNoProcess();
}

TEST_F(PlanTest, EndsWithoutAProcessWhenThePlugInHangs) {
  const ProgramResult result =
      Ipav(Joined(ToDeeds("", "<hang>x</hang>"), {"--timeout", "1"}));
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_THAT(result.out, HasSubstr("no plan found before the search ended"));
  ExpectNoProcess();
}

TEST_F(PlanTest, ShowsHostileNamesWithoutControlCharacters) {
  const ProgramResult result = Ipav(ToDeeds("",
                                            "<nothing>\xC2\x9B"
                                            "2J \xE2\x80\xAE</nothing>"));
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, Not(HasSubstr("\xC2\x9B")));
  EXPECT_THAT(result.out, Not(HasSubstr("\xE2\x80\xAE")));
}

TEST_F(PlanTest, ShowsTheFaultOfARestartThatTheGoalAdds) {
  // The running configuration has a fault of a route already. The goal moves a
  // row of OSPFv3, which only a restart judges.
  const std::string starter = OutputOf({"new"});
  const auto replaced = [](std::string text, const std::string& from,
                           const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
  };
  const std::string running =
      replaced(starter, "<vlan>20</vlan>", "<!-- no VLAN -->");
  const std::string name = "<ospfv3-pm-if-name>l3-";
  const std::string goal = replaced(running, name + "uplink", name + "guests");
  std::ofstream(in() + "/running.xml") << running;
  std::ofstream(in() + "/goal.xml") << goal;
  const ProgramResult result =
      Ipav({"plan", "--running", in() + "/running.xml", in() + "/goal.xml"});
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_THAT(result.out, HasSubstr("after a restart"));
  EXPECT_THAT(result.out, HasSubstr("docs/messages.md#vrf-under-ospfv3"));
}

TEST_F(PlanTest, NeedsTheNameOfAGoal) {
  const ProgramResult result = Ipav({"plan", "--running", kRunning, ""});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "ipav: no file is named as goal\n");
}

TEST_F(PlanTest, RefusesInputAsCheckDoes) {
  const ProgramResult result =
      Ipav({"plan", "--running", kRunning, WriteBad("bad.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, StartsWith("ipav: " + in() + "/bad.xml:"));
}

}  // namespace

}  // namespace ipav::testing
