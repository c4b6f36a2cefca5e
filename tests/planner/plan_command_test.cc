// ipav plan beside the plans themselves: its limits, its files, and a plug-in
// that fails.

#include <csignal>
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

TEST_F(PlanTest, WritesIntoANewOrEmptyFolderOnly) {
  const std::string steps = in() + "/a/steps";
  const Words plan = ToExample("floor-7-added.xml", {"--output", steps});
  EXPECT_EQ(Ipav(plan).status, 0);
  EXPECT_TRUE(std::filesystem::exists(steps + "/plan.json"));
  const ProgramResult again = Ipav(plan);
  EXPECT_EQ(again.status, 2);
  EXPECT_EQ(again.err, "ipav: " + steps + ": is not an empty folder\n");
}

TEST_F(PlanTest, WritesTheStepsToAGoalInJsonAsJson) {
  const std::string goal = in() + "/goal.json";
  std::ofstream(goal) << OutputOf(
      {"convert", "--to", "json", kBranch + "floor-7-added.xml"});
  const std::string steps = in() + "/steps";
  const ProgramResult result =
      Ipav({"plan", "--running", kRunning, "--output", steps, goal});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(Ipav({"diff", steps + "/step-1.json", goal}).out,
              StartsWith("no changes\n"));
  EXPECT_TRUE(std::filesystem::exists(steps + "/step-1.edit.xml"));
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

TEST_F(PlanTest, RefusesANumberOfVerdictsOutOfRange) {
  for (const char* number : {"-1", "1.5", "1000000001", "all"}) {
    const ProgramResult result = Ipav({"plan", "--verdicts", number, kRunning});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, StartsWith("ipav: --verdicts: "));
  }
}

// Three devices: one reaches its goal, one does not, one cannot be read.
class PlanFleetTest : public PlanTest {
 protected:
  void SetUp() override {
    PlanTest::SetUp();
    WriteAccepted("fleet/site/r1/candidate.xml");
    WriteRefused("fleet/site/r2.xml");
    WriteBad("fleet/site/r3.xml");
  }

  ProgramResult Plan(const Words& more = {}) const {
    return Ipav(Joined({"plan", fleet_}, more));
  }

  const std::string fleet_ = in() + "/fleet";
  const std::string r1_ = fleet_ + "/site/r1/candidate.xml";
};

TEST_F(PlanFleetTest, EachDeviceHasAPlanAndTheWorstOneIsTheStatus) {
  WriteAccepted("fleet/site/r4/running.xml");
  const std::string page = in() + "/page.html";
  const ProgramResult result = Plan({"--report", page});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.out,
              StartsWith(r1_ + ": 1 commit (fewest, 2 verdicts)\n"));
  EXPECT_THAT(result.out, HasSubstr("\n\n" + fleet_ + "/site/r2.xml: its "));
  EXPECT_THAT(result.out, HasSubstr("\n\n" + fleet_ +
                                    "/site/r3.xml: not planned, bad input\n  " +
                                    fleet_ + "/site/r3.xml:"));
  EXPECT_THAT(
      result.out,
      HasSubstr("/site/r4/running.xml: not planned, bad input\n  " + fleet_ +
                "/site/r4: holds a running configuration, and "
                "no goal\n"));
  EXPECT_THAT(result.out, EndsWith("\n\n4 devices: 1 reached, 1 not reached, 2 "
                                   "bad input, 0 failed\n"));
  // In the same words.
  EXPECT_THAT(ReadFile(page), HasSubstr("4 goals: 1 reached, 1 not reached, 2 "
                                        "bad input"));
}

TEST_F(PlanFleetTest, FailedOnlyOmitsThePlansThatReachTheirGoalAndWritesThem) {
  const std::string plans = in() + "/plans";
  const ProgramResult result =
      Plan({"--failed-only", "--jobs", "1", "--output", plans});
  EXPECT_THAT(result.out, StartsWith(fleet_ + "/site/r2.xml: its "));
  EXPECT_THAT(result.out, HasSubstr("3 devices: 1 reached"));
  EXPECT_TRUE(std::filesystem::exists(plans + "/site/r1/step-1.xml"));
  EXPECT_TRUE(std::filesystem::exists(plans + "/site/r1/plan.json"));
  EXPECT_TRUE(std::filesystem::exists(plans + "/site/r2/plan.json"));
  EXPECT_FALSE(std::filesystem::exists(plans + "/site/r3"));
}

TEST_F(PlanFleetTest, ADocumentHasTheDevicesOfAShardOneALine) {
  const ProgramResult result = Plan({"--format", "json", "--shard", "2/2"});
  EXPECT_EQ(result.status, 1);
  const json plans = json::parse(result.out);
  EXPECT_EQ(plans["format"], "ipav plans");
  EXPECT_EQ(plans["shard"]["listSize"], 3);
  ASSERT_EQ(plans["devices"].size(), 1U);
  EXPECT_THAT(result.out, HasSubstr("\n{\"number\":2,\"goal\":"));
  EXPECT_EQ(plans["devices"][0]["reached"], false);
  EXPECT_EQ(plans["summary"]["notReached"], 1);
  EXPECT_EQ(plans["summary"]["devices"], 1);
}

TEST_F(PlanFleetTest, DevicesThatWouldShareAFolderAreRefused) {
  const ProgramResult result = Ipav({"plan", "--output", in() + "/plans", r1_,
                                     WriteAccepted("other/candidate.xml")});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: the folder candidate of --output would be that "
            "of " +
                r1_ + " and of " + in() + "/other/candidate.xml\n");
  EXPECT_FALSE(std::filesystem::exists(in() + "/plans"));
  const std::string odd = Write("...xml", "");  // without its ending: ..
  EXPECT_THAT(Ipav({"plan", "--output", in() + "/plans", r1_, odd}),
              IsBadInput(odd + ": has no name for a folder of --output"));
}

TEST_F(PlanFleetTest, ADeviceWhoseProcessIsKilledIsOneResult) {
  Program program = Start(Joined(ToDeeds("", "<hang>x</hang>"), {"-j", "1"}));
  ASSERT_EQ(AwaitProcesses(4), 4U);
  kill(DeviceProcesses().at(0), SIGKILL);
  const ProgramResult result = program.Wait();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(
      result.out,
      HasSubstr("goal.xml: not planned, failed\n  the device's process gave no "
                "report, killed by signal: Killed\n"));
  ExpectNoProcess();
}

}  // namespace

}  // namespace ipav::testing
