// Reports as SARIF 2.1.0.
#include "cli/report/sarif/sarif.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "cli/report/json/json.h"
#include "tests/cli/report/sample_reports.h"

namespace ipav::testing {

namespace {

using cli::report::DeviceReport;
using cli::report::Format;
using cli::report::Json;
using datastore::Novelty;
using messages::Culprit;

Json RunOf(const std::vector<DeviceReport>& devices) {
  const Json log = Json::parse(Written(Format::kSarif, devices));
  EXPECT_EQ(log.at("version"), "2.1.0");
  EXPECT_EQ(log.at("runs").size(), 1U);
  return log.at("runs").at(0);
}

Json At(const Json& json, const std::string& pointer) {
  return json.at(Json::json_pointer(pointer));
}

Json ResultOf(const DeviceReport& device) {
  return At(RunOf({device}), "/results/0");
}

TEST(SarifReport, OfARefusalNamesRuleTextAndPlaces) {
  const Json result = ResultOf(Refused("router/candidate.xml"));
  EXPECT_EQ(result.at("ruleId"), "interface-overlap");
  EXPECT_EQ(result.at("level"), "error");
  EXPECT_EQ(result.at("message").at("text"),
            "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b vrf "
            "global ipv4 address 10.0.0.2/24.");
  const Json expected = Json::parse(R"({
    "physicalLocation": {
      "artifactLocation": {"uri": "router/candidate.xml"},
      "region": {"startLine": 4, "startColumn": 13, "endColumn": 24,
                 "snippet": {"text": "10.0.0.1/24"}},
      "contextRegion": {
        "startLine": 4,
        "snippet": {"text": "  ä <ip>    10.0.0.1/24</ip>"}}},
    "logicalLocations": [
      {"fullyQualifiedName": "/config/interface/l3{a}/ipv4/address/ip",
       "kind": "member"}],
    "message": {"text": "address 10.0.0.1/24"}})");
  ASSERT_EQ(result.at("locations").size(), 1U);
  EXPECT_EQ(result.at("locations").at(0), expected)
      << result.at("locations").dump(2);
}

TEST(SarifReport, NamesFurtherCulpritsAsRelatedPlaces) {
  const Json related = ResultOf(Refused("a.xml")).at("relatedLocations");
  ASSERT_EQ(related.size(), 1U);
  EXPECT_EQ(related.at(0).at("id"), 1);
  EXPECT_EQ(At(related, "/0/physicalLocation/region/startLine"), 9);
  EXPECT_EQ(At(related, "/0/message/text"), "overlaps with 10.0.0.2/24");
}

TEST(SarifReport, LeadsToTheCulpritThatTheCandidateTouched) {
  DeviceReport device = Refused("a.xml");
  std::vector<Culprit>& culprits = device.findings.front().culprits;
  std::swap(culprits[0], culprits[1]);
  const Json result = ResultOf(device);
  const std::string line = "/0/physicalLocation/region/startLine";
  EXPECT_EQ(At(result, "/locations" + line), 4);
  EXPECT_EQ(At(result, "/relatedLocations" + line), 9);
}

TEST(SarifReport, WithoutAPlaceLeadsToTheFile) {
  DeviceReport device = Refused("a.xml");
  device.findings.front().culprits.clear();
  const Json location = At(ResultOf(device), "/locations/0");
  EXPECT_EQ(location.at("physicalLocation"),
            Json::parse(R"({"artifactLocation": {"uri": "a.xml"}})"));
  EXPECT_EQ(At(location, "/logicalLocations/0/fullyQualifiedName"),
            "/config/interface/l3");
}

TEST(SarifReport, TellsWhetherTheRunningConfigurationHasTheFindingToo) {
  DeviceReport device = Refused("a.xml");
  EXPECT_EQ(ResultOf(device).at("baselineState"), "new");
  EXPECT_FALSE(ResultOf(device).at("properties").contains("standing"));
  messages::Finding& finding = device.findings.front();
  finding.culprits[0].novelty = Novelty::kUnchanged;
  EXPECT_FALSE(ResultOf(device).contains("baselineState"));
  finding.is_standing = true;
  EXPECT_EQ(ResultOf(device).at("baselineState"), "unchanged");
  EXPECT_EQ(ResultOf(device).at("properties").at("standing"), true);
  EXPECT_EQ(
      ResultOf(device).at("message").at("text"),
      finding.text + "\nnot caused by this change: the fault was there before");
}

TEST(SarifReport, TheRunningConfigurationIsTheBaselineAfterARestart) {
  const Json results = RunOf({Restarted("a.xml")}).at("results");
  const std::string after =
      "\nafter a restart, the device would refuse this configuration";
  const struct {
    std::string message;
    const char* state;
    const char* level;
  } rows[] = {// The one of the change is listed once.
              {Refused("a.xml").findings.front().text, "new", "error"},
              {"fresh" + after, "new", "error"},
              {"stands" + after + ", and the running one (stands already)",
               "unchanged", "warning"},
              {"healed\nhealed by this change: after a restart, the device "
               "would refuse the running configuration",
               "absent", "note"}};
  ASSERT_EQ(results.size(), std::size(rows));
  for (std::size_t i = 0; i < results.size(); ++i) {
    const Json& result = results.at(i);
    EXPECT_EQ(result.at("message").at("text"), rows[i].message);
    EXPECT_EQ(result.at("baselineState"), rows[i].state);
    EXPECT_EQ(result.at("level"), rows[i].level);
    EXPECT_EQ(result.at("properties").contains("afterRestart"), i > 0);
  }
  // A node that has no place is in that configuration.
  EXPECT_EQ(At(results,
               "/3/relatedLocations/0/physicalLocation/artifactLocation/uri"),
            "running.xml");
}

TEST(SarifReport, FingerprintsStayWhenLinesMoveAndDifferBetweenFindings) {
  const auto fingerprint = [](const DeviceReport& device) {
    return ResultOf(device).at("partialFingerprints").at("ipavFinding/v1");
  };
  const DeviceReport device = Refused("a.xml");
  DeviceReport moved = device;
  moved.findings.front().culprits[0].place->line = 400;
  EXPECT_EQ(fingerprint(moved), fingerprint(device));
  DeviceReport other = device;
  other.findings.front().culprits[1].path = "/config/interface/l3{c}";
  EXPECT_NE(fingerprint(other), fingerprint(device));
  EXPECT_NE(fingerprint(Refused("b.xml")), fingerprint(device));
}

TEST(SarifReport, ListsARuleOnceWithItsHelp) {
  DeviceReport unknown = Refused("c.xml");
  unknown.findings.front().rule.clear();
  const Json run = RunOf({Refused("a.xml"), unknown, Refused("b.xml")});
  const Json rules = At(run, "/tool/driver/rules");
  ASSERT_EQ(rules.size(), 2U);
  EXPECT_EQ(At(rules, "/0/id"), "interface-overlap");
  EXPECT_EQ(At(rules, "/0/shortDescription/text"), "Overlap");
  // That of the catalogue, which holds for all findings of the rule.
  const std::string advice =
      "Change one of the two addresses, narrow its prefix, or move one "
      "interface to another VRF.";
  EXPECT_EQ(At(rules, "/0/help/text"), advice + "\ndocs/messages.md#overlap");
  EXPECT_EQ(
      At(rules, "/0/help/markdown"),
      advice + "\n\n[docs/messages.md#overlap](docs/messages.md#overlap)");
  // A text that nobody knows goes by its validation point.
  EXPECT_EQ(rules.at(1).at("id"), "ipv4_addr_validation");
  EXPECT_EQ(At(run, "/results/0/ruleIndex"), 0);
  EXPECT_EQ(At(run, "/results/1/ruleIndex"), 1);
  EXPECT_EQ(At(run, "/results/2/ruleIndex"), 0);
}

TEST(SarifReport, AWarningIsAResultOfThatLevel) {
  const Json run = RunOf({PluginFailed("a.xml")});
  ASSERT_EQ(run.at("results").size(), 1U);
  EXPECT_EQ(At(run, "/results/0/level"), "warning");
  EXPECT_EQ(At(run, "/results/0/ruleId"), "warns");
  EXPECT_EQ(At(run, "/results/0/message/text"), "think again");
}

TEST(SarifReport, AdviceIsANotificationOfThatLevel) {
  DeviceReport device = Accepted("a.xml");
  device.advice = {"a VRF"};
  const Json run = RunOf({device});
  const Json& invocation = run.at("invocations").at(0);
  EXPECT_EQ(invocation.at("executionSuccessful"), true);
  EXPECT_EQ(invocation.at("toolExecutionNotifications"), Json::parse(R"([{
    "descriptor": {"id": "advice"}, "level": "note",
    "message": {"text": "a VRF"},
    "locations": [{"physicalLocation": {
      "artifactLocation": {"uri": "a.xml"}}}]}])"));
}

TEST(SarifReport, EachInputErrorIsANotificationWithItsPlace) {
  const Json run = RunOf({BadInput("a.xml")});
  EXPECT_TRUE(run.at("results").empty());
  const Json& invocation = run.at("invocations").at(0);
  EXPECT_EQ(invocation.at("executionSuccessful"), false);
  EXPECT_EQ(invocation.at("exitCode"), 2);
  EXPECT_EQ(invocation.at("toolExecutionNotifications"), Json::parse(R"([{
    "descriptor": {"id": "bad-input"}, "level": "error",
    "message": {"text": "a.xml:3:7: Node \"frob\" not found"},
    "locations": [{"physicalLocation": {
      "artifactLocation": {"uri": "a.xml"},
      "region": {"startLine": 3, "startColumn": 7, "endColumn": 8}}}]}, {
    "descriptor": {"id": "bad-input"}, "level": "error",
    "message": {"text": "a.xml: another reason"},
    "locations": [{"physicalLocation": {
      "artifactLocation": {"uri": "a.xml"}}}]}])"));
}

TEST(SarifReport, BadInputOfTheRunningConfigurationIsShownThere) {
  DeviceReport device = BadInput("a.xml");
  device.input_errors = {"running.xml:12:1: contains a NUL byte"};
  const Json invocation = At(RunOf({device}), "/invocations/0");
  const Json place = At(
      invocation, "/toolExecutionNotifications/0/locations/0/physicalLocation");
  EXPECT_EQ(At(place, "/artifactLocation/uri"), "running.xml");
  EXPECT_EQ(At(place, "/region/startLine"), 12);
}

TEST(SarifReport, AFailedPlugInIsANotificationForEachReason) {
  const Json invocation = At(RunOf({PluginFailed("a.xml")}), "/invocations/0");
  EXPECT_EQ(invocation.at("executionSuccessful"), false);
  EXPECT_EQ(invocation.at("exitCode"), 3);
  const Json& notifications = invocation.at("toolExecutionNotifications");
  ASSERT_EQ(notifications.size(), 2U);
  EXPECT_EQ(notifications.at(0).at("message").at("text"),
            "the plug-in failed: killed by signal: Aborted");
  EXPECT_EQ(notifications.at(1).at("message").at("text"),
            "the plug-in threw an exception: Invalid input");
}

TEST(SarifReport, WithAVerdictForEveryDeviceIsOfASuccessfulExecution) {
  const Json accepted = At(RunOf({Accepted("a.xml")}), "/invocations/0");
  EXPECT_EQ(accepted.at("executionSuccessful"), true);
  EXPECT_EQ(accepted.at("exitCode"), 0);
  const Json refused = At(RunOf({Refused("a.xml")}), "/invocations/0");
  EXPECT_EQ(refused.at("executionSuccessful"), true);
  EXPECT_EQ(refused.at("exitCode"), 1);
  EXPECT_TRUE(refused.at("toolExecutionNotifications").empty());
}

TEST(SarifReport, EscapesWhatAMessageTakesForPlaceholdersAndLinks) {
  DeviceReport device = Refused("a.xml");
  std::string& text = device.findings.front().text;
  text = "l3{a} [1] |~";
  EXPECT_EQ(ResultOf(device).at("message").at("text"), "l3{{a}} [1] |~");
  text = "[here](0)";
  EXPECT_EQ(ResultOf(device).at("message").at("text"), "\\[here\\](0)");
  EXPECT_EQ(ResultOf(device).at("properties").at("text"), text);
  text.clear();
  EXPECT_EQ(ResultOf(device).at("message").at("text"),
            "(refused without a text)");
}

TEST(SarifReport, NamesFilesByUris) {
  const auto uri = [](const std::string& file) {
    return At(ResultOf(Refused(file)),
              "/locations/0/physicalLocation/artifactLocation/uri");
  };
  EXPECT_EQ(uri("/srv/a b/c#d.xml"), "file:///srv/a%20b/c%23d.xml");
  EXPECT_EQ(uri("x:y%z\xff.xml"), "x%3Ay%25z%FF.xml");
  EXPECT_EQ(uri("../r-1/candidate_2.json"), "../r-1/candidate_2.json");
}

TEST(SarifReport, KeepsTheBytesOfAnOddText) {
  const Json properties = ResultOf(Odd()).at("properties");
  EXPECT_EQ(properties.at("textHex").get<std::string>().substr(0, 16),
            "6f6e650a74776f0d");
}

}  // namespace

}  // namespace ipav::testing
