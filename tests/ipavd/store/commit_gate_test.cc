#include "ipavd/store/commit_gate.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <system_error>

#include "tests/ipavd/store/store_fixtures.h"

namespace ipav::store {
namespace {

using commit::Outcome;
using commit::Verdict;

Judgement Judge(const std::string& config,
                const std::string& plugin = "obeys_opaque",
                const std::string& running = "",
                base::TimeLimit limit = std::chrono::seconds(60)) {
  const auto nodes = [](const std::string& xml) {
    return EditConfig(*SmallModel(), nullptr, Xml(xml), {}).nodes;
  };
  const CommitGate gate(*SmallModel(), {PluginFile(plugin), limit});
  return gate.Judge(gate.Complete(nodes(running)).configuration, nodes(config));
}

TEST(CommitGate, AcceptsAGoodConfiguration) {
  const Judgement judgement = Judge("<top NS><a>1</a></top>");
  EXPECT_EQ(Text(judgement.error), "");
  ASSERT_NE(judgement.configuration, nullptr);
  EXPECT_EQ(Print(judgement.configuration->FirstChild(nullptr)),
            "<top><a>1</a></top>");
}

TEST(CommitGate, JudgesOnlyWhatChanges) {
  const std::string config = "<top NS><refuse>x</refuse></top>";
  EXPECT_EQ(Text(Judge(config, "obeys_opaque", config).error), "");
}

TEST(CommitGate, AsksTheEngineThatItIsGivenAndNoPlugin) {
  Outcome outcome;
  GateOptions options;
  options.plugin = "no such file";
  options.engine = [&outcome](const auto&, const auto&) { return outcome; };
  const CommitGate gate(*SmallModel(), options);
  EXPECT_EQ(Text(gate.Judge(nullptr, Nodes()).error), "");

  outcome.verdict = Verdict::kRefused;
  outcome.answers = {{"point", "/top", -1, "a text", std::nullopt}};
  const auto error = gate.Judge(nullptr, Nodes()).error;
  EXPECT_EQ(Text(error), "operation-failed /m:top: a text");
  EXPECT_EQ(error->app_tag, "point");
  EXPECT_FALSE(error->is_plugin_failure);
}

struct RefusedCase {
  const char* name;
  std::string content;   // of top
  std::string expected;  // with the path from top on
  std::string app_tag;
};

TEST(CommitGate, RefusesWhenThePluginHangs) {
  const auto error = Judge("<top NS><hang>x</hang></top>", "obeys_opaque", "",
                           std::chrono::seconds(2))
                         .error;
  EXPECT_EQ(Text(error),
            "operation-failed /m:top/hang: the plug-in failed: did not answer "
            "within 2 seconds");
  EXPECT_EQ(error->app_tag, "hang");
}

class CommitGateRefuses : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(CommitGateRefuses, WithTextPointAndPath) {
  const Judgement judgement = Judge("<top NS>" + GetParam().content + "</top>");
  EXPECT_EQ(judgement.configuration, nullptr);
  EXPECT_EQ(Text(judgement.error), GetParam().expected);
  ASSERT_TRUE(judgement.error.has_value());
  EXPECT_EQ(judgement.error->app_tag, GetParam().app_tag);
  EXPECT_EQ(judgement.error->type, ErrorType::kApplication);
}

INSTANTIATE_TEST_SUITE_P(
    Plugin, CommitGateRefuses,
    ::testing::Values(
        RefusedCase{"Refuses", "<refuse>x</refuse>",
                    "operation-failed /m:top/refuse: refused for a reason.",
                    "refuse"},
        RefusedCase{"RefusesAnEntry", "<l><k>a b}'</k><point>x</point></l>",
                    "operation-failed /m:top/l[k=\"a b}'\"]/point: refused for "
                    "a reason.",
                    "refuse"},
        RefusedCase{"RefusesWithoutAText", "<silent>x</silent>",
                    "operation-failed /m:top/silent: refused without a text",
                    "refuse-silently"},
        RefusedCase{"Dies", "<die>x</die>",
                    "operation-failed /m:top/die: the plug-in failed: killed "
                    "by signal: Aborted",
                    "print-and-abort"},
        RefusedCase{"Throws", "<throw>x</throw>",
                    "operation-failed /m:top/throw: the plug-in failed: it "
                    "threw an exception: thrown for a reason",
                    "throw"}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Model, CommitGateRefuses,
    ::testing::Values(
        RefusedCase{"Must", "<must>x</must>",
                    "operation-failed /m:top/must: Must condition \"../a\" not "
                    "satisfied.",
                    "must-violation"},
        RefusedCase{"ReferenceToNothing", "<ref>x</ref>",
                    "data-missing /m:top/ref: Invalid leafref value \"x\" - no "
                    "target instance \"../b\" with the same value.",
                    "instance-required"},
        RefusedCase{
            "NotUnique", "<l><k>a</k><u>1</u></l><l><k>b</k><u>1</u></l>",
            "operation-failed /m:top/l[k='b']: Unique data leaf(s) \"u\" not "
            "satisfied in \"/m:top/l[k='a']\" and \"/m:top/l[k='b']\".",
            "data-not-unique"}),
    [](const auto& test) { return test.param.name; });

TEST(CommitGate, RefusesWithoutAPlugin) {
  const auto error = Judge("<top NS><a>1</a></top>", "is-not-there").error;
  EXPECT_TRUE(host_test::StartsWith(Text(error),
                                    "operation-failed: the plug-in failed: "));
  EXPECT_TRUE(host_test::Contains(Text(error), "is-not-there.so"));
  EXPECT_EQ(error->app_tag, "");
  EXPECT_TRUE(error->is_plugin_failure);
}

TEST(CommitGate, TellsWhyThereIsNoProcessForThePlugin) {
  GateOptions options;
  options.engine = [](const auto&, const auto&) -> Outcome {
    throw std::system_error(EAGAIN, std::generic_category(), "fork");
  };
  const CommitGate gate(*SmallModel(), options);
  const auto error = gate.Judge(nullptr, Nodes()).error;
  EXPECT_EQ(Text(error),
            "operation-failed: the plug-in failed: no process for it: fork: "
            "Resource temporarily unavailable");
  EXPECT_TRUE(error->is_plugin_failure);
}

}  // namespace
}  // namespace ipav::store
