// Every operation that changes or validates running gives the verdict of ipav
// check, for every example of the branch router, and a refused configuration
// never becomes running.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "tests/ipavd/store/store_fixtures.h"

namespace ipav::store {
namespace {

namespace fs = std::filesystem;

using commit::Answer;
using commit::Outcome;
using commit::Verdict;
using datastore::DataTree;
using host_test::ProjectModel;

constexpr Datastore kRunning = Datastore::kRunning;
constexpr Datastore kCandidate = Datastore::kCandidate;
constexpr const char* kExamples = IPAV_EXAMPLES "/branch-router/";

// For texts that a validation point says.
constexpr std::chrono::seconds kLimit(60);

// With a sanitizer, each way takes other ones of so many examples.
#ifdef IPAV_SANITIZED
constexpr std::size_t kShare = 8;
#else
constexpr std::size_t kShare = 1;
#endif

struct Example {
  std::string name;
  std::string xml;
  // What ipav check --running running.xml says; empty: accepted.
  std::string refusal;
  // And what it says where nothing is configured.
  std::string refusal_of_all;
};

const DataTree& RunningTree() {
  static const DataTree kTree = DataTree::FromFile(
      ProjectModel(), std::string(kExamples) + "running.xml");
  return kTree;
}

std::string RefusalOf(const DataTree& running, const DataTree& candidate) {
  const Outcome outcome =
      commit::RunCommit(running, candidate, {IPAV_PLUGIN, false, kLimit});
  EXPECT_NE(outcome.verdict, Verdict::kPluginFailed) << outcome.failure;
  if (outcome.verdict == Verdict::kAccepted) return "";
  const Answer& answer = outcome.answers.back();
  return answer.opaque + ": " + answer.text.value_or("");
}

const std::vector<Example>& Examples() {
  static const std::vector<Example> kAll = [] {
    const DataTree empty = DataTree::Empty(ProjectModel());
    std::vector<Example> examples;
    for (const auto& file : fs::directory_iterator(kExamples)) {
      const DataTree tree =
          DataTree::FromFile(ProjectModel(), file.path().string());
      examples.push_back(
          {file.path().filename().string(), TextOf(tree.FirstChild(nullptr)),
           RefusalOf(RunningTree(), tree), RefusalOf(empty, tree)});
    }
    return examples;
  }();
  return kAll;
}

// A server that runs the example.
Setting Router(const std::string& plugin = IPAV_PLUGIN) {
  return {ProjectModel(), plugin, kLimit,
          TextOf(RunningTree().FirstChild(nullptr))};
}

void SetCandidate(Datastores* datastores, const std::string& xml) {
  EXPECT_EQ(Text(datastores->CopyConfig(1, InlineConfig{xml}, kCandidate)), "");
}

std::string InWords(const Result& error) {
  return error.has_value() ? error->app_tag + ": " + error->message : "";
}

// The path of an error leads to nodes of the configuration, if to any.
void ExpectPathIsThere(const Result& error, const Datastores& datastores) {
  if (!error.has_value()) return;
  ly_set* nodes = nullptr;
  EXPECT_EQ(
      lyd_find_xpath(datastores.Tree(kCandidate), error->path.c_str(), &nodes),
      LY_SUCCESS)
      << error->path;
  ASSERT_NE(nodes, nullptr);
  EXPECT_GT(nodes->count, 0U) << error->path;
  ly_set_free(nodes, nullptr);
}

Result ReplaceBy(Datastores* datastores, const std::string& xml,
                 EditRequest request) {
  request.default_operation = Operation::kReplace;
  request.config = xml;
  const std::vector<RpcError> errors = datastores->Edit(1, request);
  return errors.empty() ? Result() : Result(errors[0]);
}

// Takes a configuration into running, or says why not.
struct Way {
  const char* name;
  bool only_validates;
  std::function<Result(Datastores*, const std::string&)> take;
};

const std::vector<Way>& Ways() {
  static const std::vector<Way> kAll = {
      {"commit", false,
       [](auto* datastores, const auto& xml) {
         SetCandidate(datastores, xml);
         Result error = datastores->Commit(1);
         ExpectPathIsThere(error, *datastores);
         return error;
       }},
      {"confirmed commit", false,
       [](auto* datastores, const auto& xml) {
         SetCandidate(datastores, xml);
         return datastores->Commit(1, Confirmed());
       }},
      {"validate of the candidate", true,
       [](auto* datastores, const auto& xml) {
         SetCandidate(datastores, xml);
         return datastores->Validate(kCandidate);
       }},
      {"validate of a configuration", true,
       [](auto* datastores, const auto& xml) {
         return datastores->Validate(InlineConfig{xml});
       }},
      {"copy of a configuration", false,
       [](auto* datastores, const auto& xml) {
         return datastores->CopyConfig(1, InlineConfig{xml}, kRunning);
       }},
      {"copy of the candidate", false,
       [](auto* datastores, const auto& xml) {
         SetCandidate(datastores, xml);
         return datastores->CopyConfig(1, kCandidate, kRunning);
       }},
      {"copy of startup", false,
       [](auto* datastores, const auto& xml) {
         const Datastore startup = Datastore::kStartup;
         EXPECT_EQ(Text(datastores->CopyConfig(1, InlineConfig{xml}, startup)),
                   "");
         return datastores->CopyConfig(1, startup, kRunning);
       }},
      {"edit of running", false,
       [](auto* datastores, const auto& xml) {
         EditRequest request;
         request.target = kRunning;
         return ReplaceBy(datastores, xml, request);
       }},
      {"test of an edit", true,
       [](auto* datastores, const auto& xml) {
         EditRequest request;
         request.test_option = TestOption::kTestOnly;
         return ReplaceBy(datastores, xml, request);
       }},
  };
  return kAll;
}

TEST(VerdictTest, OfEachOperationIsThatOfCheck) {
  std::size_t first = 0;
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    std::optional<Server> router;
    std::size_t refused = 0;
    for (std::size_t i = first++ % kShare; i < Examples().size(); i += kShare) {
      const Example& example = Examples()[i];
      SCOPED_TRACE(example.name);
      if (!router.has_value()) router.emplace(Router());
      const std::string running = TextOf((*router)->Tree(kRunning));
      const Result error = way.take(&**router, example.xml);
      EXPECT_EQ(InWords(error), example.refusal);
      if (error.has_value()) ++refused;
      const bool is_in = !error.has_value() && !way.only_validates;
      EXPECT_EQ(TextOf((*router)->Tree(kRunning)),
                is_in ? example.xml : running);
      // The next example starts from the same configuration again.
      if (is_in) router.reset();
    }
    EXPECT_GE(refused, kShare == 1 ? 27U : 1U);
  }
}

// Loading is a change from nothing.
TEST(VerdictTest, OfAStartIsThatOfCheckWithoutARunningConfiguration) {
  for (const bool has_running : {true, false}) {
    SCOPED_TRACE(has_running ? "running.xml" : "startup.xml");
    Server router(Router());
    std::size_t refused = 0;
    for (const Example& example : Examples()) {
      SCOPED_TRACE(example.name);
      router.Stop();
      {
        StateFolder folder(router.path());
        if (!has_running) folder.Remove("running.xml");
        folder.Write(has_running ? "running.xml" : "startup.xml", example.xml);
      }
      if (example.refusal_of_all.empty()) {
        router.Start();
        EXPECT_EQ(TextOf(router->Tree(kRunning)), example.xml);
        continue;
      }
      ++refused;
      const std::string error = router.StartError();
      const std::string& refusal = example.refusal_of_all;
      EXPECT_TRUE(host_test::Contains(
          error, "is refused: " + refusal.substr(refusal.find(": ") + 2)));
    }
    EXPECT_EQ(refused, 25U);
  }
}

// A rollback is judged as well: it is refused when the plug-in has been
// replaced by a stricter one.
class RollbackTest : public ::testing::Test {
 protected:
  RollbackTest() {
    const DataTree bad = DataTree::FromFile(
        ProjectModel(),
        std::string(kExamples) + "ra-min-above-three-quarters.xml");
    bad_ = TextOf(bad.FirstChild(nullptr));
    good_ = running();
    SetCandidate(&*router_, bad_);
    EXPECT_EQ(Text(router_->Commit(1)), "");
    SetCandidate(&*router_, good_);
    EXPECT_EQ(Text(router_->Commit(1, Confirmed())), "");
    EXPECT_EQ(running(), good_);
    router_.Notices();
  }

  std::string running() { return TextOf(router_->Tree(kRunning)); }

  void ExpectItStays() {
    EXPECT_EQ(running(), good_);
    router_.Restart();
    EXPECT_EQ(running(), good_);
  }

  // obeys_opaque knows none of the validation points of this model.
  Server router_{Router(PluginFile("obeys_opaque"))};
  std::string bad_;
  std::string good_;
};

TEST_F(RollbackTest, SucceedsWithThePluginThatAcceptedIt) {
  EXPECT_EQ(InWords(router_->CancelCommit(1)), "");
  EXPECT_EQ(running(), bad_);
}

TEST_F(RollbackTest, IsRefusedToCancelCommit) {
  router_.UsePlugin(IPAV_PLUGIN);
  EXPECT_EQ(InWords(router_->CancelCommit(1)),
            "validate_ipv6_nd_ra_interval: Minimum interval must be no greater "
            "than maximum interval * 0.75");
  EXPECT_TRUE(router_->Deadline().has_value());
  ExpectItStays();
}

TEST_F(RollbackTest, IsRefusedWhenTheTimeIsOver) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_.Pass(std::chrono::seconds(600));
  router_->CheckTime();
  EXPECT_EQ(router_.Notices(),
            "the confirmed commit stays, although it was not confirmed in "
            "time: Minimum interval must be no greater than maximum interval * "
            "0.75\n");
  EXPECT_FALSE(router_->Deadline().has_value());
  // A later confirmed commit is taken back to this configuration.
  EXPECT_EQ(Text(router_->Commit(1, Confirmed())), "");
  EXPECT_EQ(Text(router_->CancelCommit(1)), "");
  ExpectItStays();
}

TEST_F(RollbackTest, IsRefusedWhenTheSessionEnds) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_->SessionEnded(1);
  ExpectItStays();
}

}  // namespace
}  // namespace ipav::store
