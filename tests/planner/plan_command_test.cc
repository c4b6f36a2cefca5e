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

TEST_F(PlanTest, RefusesInputAsCheckDoes) {
  const ProgramResult result =
      Ipav({"plan", "--running", kRunning, WriteBad("bad.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, StartsWith("ipav: " + in() + "/bad.xml:"));
}

}  // namespace

}  // namespace ipav::testing
