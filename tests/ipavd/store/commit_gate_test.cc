#include "ipavd/store/commit_gate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "tests/ipavd/store/store_fixtures.h"

namespace {

using ipav::commit::Outcome;
using ipav::commit::Verdict;
using ipav::store::CommitGate;
using ipav::store::EditConfig;
using ipav::store::ErrorTag;
using ipav::store::ErrorType;
using ipav::store::GateOptions;
using ipav::store::Judgement;
using ipav::store::Nodes;
using ipav::store::RpcError;
using store_test::PluginFile;
using store_test::SmallModel;
using store_test::Xml;

CommitGate Gate(const std::string& plugin = "obeys_opaque") {
  return {*SmallModel(), {PluginFile(plugin), std::chrono::milliseconds(500)}};
}

Judgement Judge(const std::string& config,
                const std::string& plugin = "obeys_opaque",
                const std::string& running = "") {
  const auto nodes = [](const std::string& xml) {
    return EditConfig(*SmallModel(), nullptr, Xml(xml), {}).nodes;
  };
  return Gate(plugin).Judge(
      running.empty() ? nullptr : Gate().Complete(nodes(running)).configuration,
      nodes(config));
}

RpcError ErrorOf(const std::string& config,
                 const std::string& plugin = "obeys_opaque") {
  const Judgement judgement = Judge(config, plugin);
  EXPECT_EQ(judgement.configuration, nullptr);
  EXPECT_TRUE(judgement.error.has_value());
  return judgement.error.value_or(RpcError{});
}

TEST(CommitGate, LetsAGoodConfigurationPass) {
  const Judgement judgement = Judge("<top NS><a>1</a></top>");
  EXPECT_FALSE(judgement.error.has_value());
  ASSERT_NE(judgement.configuration, nullptr);
  EXPECT_EQ(store_test::Print(judgement.configuration->FirstChild(nullptr)),
            "<top><a>1</a></top>");
}

TEST(CommitGate, TellsTheTextThePointAndThePathOfARefusal) {
  const RpcError error = ErrorOf("<top NS><refuse>x</refuse></top>");
  EXPECT_EQ(error.type, ErrorType::kApplication);
  EXPECT_EQ(error.tag, ErrorTag::kOperationFailed);
  EXPECT_EQ(error.message, "refused for a reason.");
  EXPECT_EQ(error.app_tag, "refuse");
  EXPECT_EQ(error.path, "/m:top/refuse");
}

TEST(CommitGate, TellsThePathOfAnEntryByItsKeys) {
  EXPECT_EQ(ErrorOf("<top NS><l><k>a b}'</k><point>x</point></l></top>").path,
            "/m:top/l[k=\"a b}'\"]/point");
}

TEST(CommitGate, RefusesWithoutATextAllTheSame) {
  const RpcError error = ErrorOf("<top NS><silent>x</silent></top>");
  EXPECT_EQ(error.message, "refused without a text");
  EXPECT_EQ(error.app_tag, "refuse-silently");
}

TEST(CommitGate, JudgesOnlyWhatChanges) {
  const std::string config = "<top NS><refuse>x</refuse></top>";
  EXPECT_FALSE(Judge(config, "obeys_opaque", config).error.has_value());
}

TEST(CommitGate, AsksTheEngineThatItIsGivenAndNoPlugin) {
  Outcome outcome;
  GateOptions options;
  options.plugin = "no such file";
  options.engine = [&outcome](const auto&, const auto&) { return outcome; };
  const CommitGate gate(*SmallModel(), options);
  EXPECT_FALSE(gate.Judge(nullptr, Nodes()).error.has_value());

  outcome.verdict = Verdict::kRefused;
  outcome.answers = {{"point", "/top", -1, "a text", std::nullopt}};
  const auto error = gate.Judge(nullptr, Nodes()).error;
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->message, "a text");
  EXPECT_EQ(error->app_tag, "point");
  EXPECT_EQ(error->path, "/m:top");
}

TEST(CommitGate, RefusesWhenThePluginDies) {
  const RpcError error = ErrorOf("<top NS><die>x</die></top>");
  EXPECT_EQ(error.message, "the plug-in failed: killed by signal: Aborted");
  EXPECT_EQ(error.tag, ErrorTag::kOperationFailed);
  EXPECT_EQ(error.app_tag, "print-and-abort");
  EXPECT_EQ(error.path, "/m:top/die");
}

TEST(CommitGate, RefusesWhenThePluginHangs) {
  const RpcError error = ErrorOf("<top NS><hang>x</hang></top>", "runs_wild");
  EXPECT_EQ(error.message,
            "the plug-in failed: did not answer within 0.5 seconds");
  EXPECT_EQ(error.app_tag, "hang");
}

TEST(CommitGate, RefusesWhenThePluginThrows) {
  const RpcError error = ErrorOf("<top NS><throw>x</throw></top>");
  EXPECT_EQ(error.message,
            "the plug-in failed: it threw an exception: thrown for a reason");
  EXPECT_EQ(error.app_tag, "throw");
}

TEST(CommitGate, RefusesWithoutAPlugin) {
  const RpcError error = ErrorOf("<top NS><a>1</a></top>", "is-not-there");
  EXPECT_TRUE(host_test::StartsWith(error.message, "the plug-in failed: "));
  EXPECT_TRUE(host_test::Contains(error.message, "is-not-there.so"));
  EXPECT_EQ(error.app_tag, "");
}

// What the model says of the whole.

TEST(CommitGate, RefusesWhatAMustForbids) {
  const RpcError error = ErrorOf("<top NS><must>x</must></top>");
  EXPECT_EQ(error.tag, ErrorTag::kOperationFailed);
  EXPECT_EQ(error.app_tag, "must-violation");
  EXPECT_EQ(error.path, "/m:top/must");
}

TEST(CommitGate, RefusesAReferenceToNothing) {
  const RpcError error = ErrorOf("<top NS><ref>x</ref></top>");
  EXPECT_EQ(error.tag, ErrorTag::kDataMissing);
  EXPECT_EQ(error.app_tag, "instance-required");
  EXPECT_EQ(error.path, "/m:top/ref");
}

TEST(CommitGate, RefusesWhatIsNotUnique) {
  const RpcError error =
      ErrorOf("<top NS><l><k>a</k><u>1</u></l><l><k>b</k><u>1</u></l></top>");
  EXPECT_EQ(error.tag, ErrorTag::kOperationFailed);
  EXPECT_EQ(error.app_tag, "data-not-unique");
}

}  // namespace
