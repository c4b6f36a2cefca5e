// ipav compare: the product's plug-in and an altered build of it on the
// examples, and misbehaving plug-ins.

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/cli/devices_fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const std::string kAcceptedNow = kBranch + "ra-lifetime-equal-to-max.xml";
const std::string kSame = kBranch + "ra-min-above-three-quarters.xml";
const std::string kOtherText = kBranch + "ra-min-without-max.xml";

std::string LastLine(int same, int different, int other_verdict, int bad = 0,
                     int failed = 0) {
  const int devices = same + different + bad + failed;
  return std::to_string(devices) + (devices == 1 ? " device: " : " devices: ") +
         std::to_string(same) + " the same, " + std::to_string(different) +
         " different (" + std::to_string(other_verdict) +
         " with another verdict), " + std::to_string(bad) + " bad input, " +
         std::to_string(failed) + " failed\n";
}

class CompareTest : public DevicesTest {
 protected:
  // Two builds of the product's plug-in.
  ProgramResult Compare(const Words& more) const {
    return Ipav(Joined({"compare", "--plugin", IPAV_PLUGIN, "--plugin",
                        IPAV_ALTERED_PLUGIN, "--running", kRunning},
                       more));
  }

  // Two misbehaving plug-ins, or one of them twice.
  ProgramResult CompareWild(const std::string& older, const std::string& newer,
                            const Words& more) const {
    return Ipav(Joined({"compare", "--yang", folder_ / "yang", "--plugin",
                        IPAV_TEST_PLUGINS "/" + older + ".so", "--plugin",
                        IPAV_TEST_PLUGINS "/" + newer + ".so"},
                       more));
  }

  // A copy of the data model with a part of its text replaced.
  std::string OtherModel(const std::string& part,
                         const std::string& replacement) const {
    fs::copy(folder_ / "yang", folder_ / "new-yang",
             fs::copy_options::recursive);
    std::string text = ReadFile(folder_ / "yang/m.yang");
    const std::size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part;
    std::ofstream(folder_ / "new-yang/m.yang")
        << text.replace(at, part.size(), replacement);
    return folder_ / "new-yang";
  }

  ProgramResult CompareModels(const std::string& newer,
                              const Words& more) const {
    return Ipav(
        Joined({"compare", "--plugin", IPAV_TEST_PLUGINS "/obeys_opaque.so",
                "--yang", folder_ / "yang", "--yang", newer},
               more));
  }
};

TEST_F(CompareTest, ListsWhatAnAlteredPluginSaysOfTheExamples) {
  const std::string ra = "/ipv6/nd/ra\n";
  const std::string texts =
      "  old: fail to get maximum router advertisement interval value\n"
      "  new: cannot read the maximum router advertisement interval value\n";
  EXPECT_EQ(Compare({kAcceptedNow, kSame, kOtherText}),
            (ProcessResult{
                1,
                kAcceptedNow +
                    ": refused by the old version, accepted by the new one\n"
                    "  validation point: validate_ipv6_nd_ra_lifetime\n"
                    "  data path: /config/interface/l3{printers}" +
                    ra +
                    "  old: Lifetime must be greater than maximum router "
                    "advertisement interval\n"
                    "  new: (accepted)\n" +
                    kOtherText +
                    ": refused by both versions, with different answers\n"
                    "  validation point: validate_ipv6_nd_ra_interval\n"
                    "  data path: /config/interface/l3{meeting-rooms}" +
                    ra + texts +
                    "  validation point: validate_ipv6_nd_ra_lifetime\n"
                    "  data path: /config/interface/l3{meeting-rooms}" +
                    ra + texts + LastLine(1, 2, 1),
                ""}));
}

TEST_F(CompareTest, JsonHasTheReportsOfBothVersions) {
  const std::string file = folder_ / "report.json";
  EXPECT_EQ(Compare({"--format", "json", "--output", file, "--shard", "2/2",
                     kSame, kAcceptedNow}),
            (ProcessResult{1, "", ""}));
  const json report = json::parse(ReadFile(file));
  EXPECT_EQ(report.at("old").at("plugin"), IPAV_PLUGIN);
  EXPECT_EQ(report.at("new").at("plugin"), IPAV_ALTERED_PLUGIN);
  EXPECT_EQ(report.at("shard").at("listSize"), 2);
  EXPECT_EQ(report.at("summary"), json::parse(R"({
    "devices": 1, "same": 0, "different": 1, "otherVerdict": 1, "badInput": 0,
    "pluginFailed": 0, "status": 1})"));
  const json& device = report.at("devices").at(0);
  EXPECT_EQ(device.at("candidate"), kAcceptedNow);
  EXPECT_EQ(device.at("differences"), json::parse(R"json([{
    "point": "validate_ipv6_nd_ra_lifetime",
    "path": "/config/interface/l3{printers}/ipv6/nd/ra",
    "old": "Lifetime must be greater than maximum router advertisement interval",
    "new": "(accepted)"}])json"));
  EXPECT_EQ(device.at("old").at("verdict"), "refused");
  EXPECT_EQ(device.at("new").at("verdict"), "accepted");
}

TEST_F(CompareTest, ADifferenceIsAResultOfSarifAndAFailureOfJunit) {
  const std::string sarif = Compare({"--format", "sarif", kAcceptedNow}).out;
  const json run = json::parse(sarif).at("runs").at(0);
  ASSERT_EQ(run.at("results").size(), 1U);
  const json& difference = run.at("results").at(0);
  EXPECT_EQ(difference.at("message").at("text"),
            "old: Lifetime must be greater than maximum router advertisement "
            "interval\nnew: (accepted)");
  EXPECT_EQ(
      difference.at(
          "/locations/0/physicalLocation/region/snippet/text"_json_pointer),
      "600");
  EXPECT_EQ(run.at("invocations").at(0).at("exitCode"), 1);

  const std::string junit =
      Compare({"--format", "junit", kSame, kAcceptedNow}).out;
  EXPECT_THAT(junit, HasSubstr("<testsuite name=\"" + kSame +
                               "\" tests=\"2\" failures=\"0\""));
  EXPECT_THAT(junit, HasSubstr("<testsuite name=\"" + kAcceptedNow +
                               "\" tests=\"2\" failures=\"1\""));
}

TEST_F(CompareTest, ATerminalSeesHowManyVerdictsThereAre) {
  const std::string command = IPAV_PROGRAM " compare --plugin " IPAV_PLUGIN
                                           " --plugin " IPAV_PLUGIN " " +
                              kSame;
  EXPECT_THAT(OnTerminal(command), HasSubstr(" of 2 verdicts, "));
}

TEST_F(CompareTest, ShowsEveryKindOfAnswer) {
  struct Case {
    const char* deed;
    const char* judgement;
    const char* old_lines;
    int other_verdict = 1;
  };
  for (const Case& each :
       {Case{"return-1", "refused by the old version, accepted by the new one",
             "  old: (refused with result 1) a number of its own\n"},
        Case{"warn", "accepted by both versions, with different answers",
             "  old: (accepted with a warning) think again\n", 0},
        Case{"spawn-and-crash",
             "not judged (the plug-in failed) by the old version, accepted by "
             "the new one",
             "  old: the plug-in failed: killed by signal: Aborted\n"},
        Case{"throw",
             "not judged (the plug-in failed) by the old version, accepted by "
             "the new one",
             "  old: the plug-in threw an exception: thrown for a reason\n"},
        Case{"refuse-in-odd-bytes",
             "refused by the old version, accepted by the new one",
             "  old: one\n  old: \"two\\r\"\n  old: \"\"\n"
             "  old: \"\\ttab {} %s\\x1b[31mred\\x07\\xff\\xc3( "
             "\\xed\\xa0\\x80\"\n"}}) {
    SCOPED_TRACE(each.deed);
    const std::string file = WriteDeed("a.xml", each.deed);
    const ProgramResult result = CompareWild("obeys_opaque", "accepts", {file});
    EXPECT_EQ(result.out, file + ": " + each.judgement + "\n" +
                              DeedLines(each.deed) + each.old_lines +
                              "  new: (accepted)\n" +
                              LastLine(0, 1, each.other_verdict));
    EXPECT_EQ(result.status, 1);
  }
}

TEST_F(CompareTest,
       AFailureOutsideOfACallIsShownWithRefusalsByTheOtherVersion) {
  const std::string file =
      WriteData("\x1b.xml", "<warn>x</warn><return-1>x</return-1>");
  EXPECT_EQ(CompareWild("obeys_opaque", "fails_in_init", {file}).out,
            in() +
                "/\\x1b.xml: refused by the old version, not judged (the "
                "plug-in failed) by the new one\n" +
                DeedLines("return-1") +
                "  old: (refused with result 1) a number of its own\n"
                "  new: (not called)\n"
                "  failure\n"
                "  old: (none)\n"
                "  new: the plug-in failed: lib_init failed\n" +
                LastLine(0, 1, 1));
}

TEST_F(CompareTest, WhatNeitherVersionJudgesIsListedAndIsNoDifference) {
  const std::string bad = WriteBad("a.xml");
  const std::string crash = WriteData(
      "b.xml", "<return-1>x</return-1><spawn-and-crash>x</spawn-and-crash>");
  const std::string same = WriteDeed("c.xml", "return-1");
  const std::string bad_lines = bad + ": not judged, bad input\n  " + bad +
                                ":1:1: neither XML nor JSON\n";
  const std::string twice = "obeys_opaque";
  EXPECT_EQ(CompareWild(twice, twice, {same}),
            (ProcessResult{0, LastLine(1, 0, 0), ""}));
  EXPECT_EQ(CompareWild(twice, twice, {bad, same}),
            (ProcessResult{2, bad_lines + LastLine(1, 0, 0, 1), ""}));
  const ProgramResult all = CompareWild(twice, twice, {bad, crash, same});
  EXPECT_THAT(all.out, HasSubstr("killed by signal: Aborted"));
  EXPECT_THAT(all.out, EndsWith(LastLine(1, 0, 0, 1, 1)));
  EXPECT_EQ(all.status, 3);
  EXPECT_THAT(
      CompareWild(twice, twice, {"--format", "junit", bad, crash, same}).out,
      Not(HasSubstr("<failure")));
  // A difference elsewhere is the answer.
  EXPECT_EQ(CompareWild(twice, "accepts", {bad, same}).status, 1);
}

TEST_F(CompareTest, TwoDataModelsDifferInInputErrorsCallsAndTheirOrder) {
  const std::string file = WriteDeed("a.xml", "nothing");
  const std::string leaf = "leaf nothing { type string; }";
  const std::string none = OtherModel(leaf, "");
  EXPECT_EQ(
      CompareModels(none, {file}).out,
      file +
          ": accepted by the old version, not judged (bad input) by the "
          "new one\n"
          "  input errors\n"
          "  old: (none)\n"
          "  new: " +
          file +
          ":1:20: Node \"nothing\" not found as a child of \"top\" node.\n" +
          LastLine(0, 1, 1));

  fs::remove_all(none);
  const std::string validated = OtherModel(
      leaf,
      "leaf nothing { type string; tailf:validate test_set { tailf:opaque "
      "warn; tailf:dependency \".\"; } }");
  EXPECT_EQ(CompareModels(validated, {file}).out,
            file +
                ": accepted by both versions, with different answers\n"
                "  validation point: warn\n"
                "  data path: /top/nothing\n"
                "  old: (not called)\n"
                "  new: (accepted with a warning) think again\n" +
                LastLine(0, 1, 0));

  fs::remove_all(validated);
  const std::string reordered =
      OtherModel("tailf:opaque warn;", "tailf:priority 5; tailf:opaque warn;");
  const std::string both =
      WriteData("b.xml", "<warn>x</warn><return-1>x</return-1>");
  EXPECT_EQ(CompareModels(reordered, {both}).out,
            both +
                ": refused by both versions, with different answers\n"
                "  order of the calls\n"
                "  old: warn /top/warn\n"
                "  new: return-1 /top/return-1\n" +
                LastLine(0, 1, 0));
}

TEST_F(CompareTest, TheCommandLineNamesTwoVersions) {
  const std::string no_two =
      "two --plugin or two --yang are needed, the old version first (see ipav "
      "compare --help)\n";
  const Words plugin = {"--plugin", IPAV_PLUGIN};
  const Words yang = {"--yang", IPAV_ROOT "/yang"};
  const Words two = Joined(plugin, plugin);
  for (const Words& options :
       {Words{}, Joined(plugin, yang), Joined(two, plugin),
        Joined(two, Joined(yang, Joined(yang, yang)))}) {
    EXPECT_THAT(Ipav(Joined({"compare", kSame}, options)), IsBadInput(no_two));
  }
  EXPECT_THAT(Ipav(Joined({"compare", kSame, "--plugin", "/none.so"}, plugin)),
              IsBadInput("/none.so: "));
  const std::string copy = folder_ / "copy.so";
  fs::copy(IPAV_PLUGIN, copy);
  EXPECT_THAT(Compare({kSame, "--output", kSame}),
              IsBadInput(kSame + ": would be replaced"));
  EXPECT_THAT(
      Ipav(Joined({"compare", kSame, "--plugin", copy, "--output", copy},
                  plugin)),
      IsBadInput(copy + ": would be replaced"));
}

}  // namespace

}  // namespace ipav::testing
