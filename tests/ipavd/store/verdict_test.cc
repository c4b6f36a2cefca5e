// Every operation that changes or validates running gives the verdict of ipav
// check, for every example of the branch router, and a refused configuration
// never becomes running.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "ipavd/store/datastores.h"
#include "tests/host/fixtures.h"

namespace {

namespace fs = std::filesystem;

using host_test::ProjectModel;
using host_test::TempDir;
using ipav::commit::Answer;
using ipav::commit::Outcome;
using ipav::commit::Verdict;
using ipav::datastore::DataTree;
using ipav::store::CommitGate;
using ipav::store::CommitRequest;
using ipav::store::Datastore;
using ipav::store::Datastores;
using ipav::store::EditRequest;
using ipav::store::InlineConfig;
using ipav::store::Operation;
using ipav::store::Result;
using ipav::store::RpcError;
using ipav::store::StateError;
using ipav::store::StateFolder;
using ipav::store::TestOption;
using ipav::store::TextOf;

constexpr const char* kExamples = IPAV_EXAMPLES "/branch-router/";

// For texts that a validation point says.
constexpr std::chrono::seconds kLimit(60);

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
      ipav::commit::RunCommit(running, candidate, {IPAV_PLUGIN, false, kLimit});
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

std::string RunningXml() { return TextOf(RunningTree().FirstChild(nullptr)); }

// A server whose plug-in can be replaced while it runs.
class Router {
 public:
  explicit Router(const std::string& plugin = IPAV_PLUGIN) {
    UsePlugin(plugin);
    fs::create_directory(path());
    std::ofstream(path() + "/startup.xml") << RunningXml();
    Start();
  }

  void UsePlugin(const std::string& plugin) {
    std::error_code none;
    fs::remove(link(), none);
    fs::create_symlink(plugin, link());
  }

  void Stop() {
    datastores_.reset();
    folder_.reset();
  }

  void Start() {
    Stop();
    folder_ = std::make_unique<StateFolder>(path());
    datastores_ = std::make_unique<Datastores>(
        CommitGate(ProjectModel(), {link(), kLimit}), folder_.get(),
        [this] { return now_; });
  }

  void Pass(std::chrono::seconds time) { now_ += time; }

  Datastores* operator->() { return datastores_.get(); }
  StateFolder& folder() { return *folder_; }
  std::string path() const { return dir_.path() + "/state"; }
  std::string running() const {
    return TextOf(datastores_->Tree(Datastore::kRunning));
  }

 private:
  std::string link() const { return dir_.path() + "/plugin.so"; }

  TempDir dir_;
  ipav::store::TimePoint now_{};
  std::unique_ptr<StateFolder> folder_;
  std::unique_ptr<Datastores> datastores_;
};

void SetCandidate(Router* router, const std::string& xml) {
  const Result error =
      (*router)->CopyConfig(1, InlineConfig{xml}, Datastore::kCandidate);
  ASSERT_FALSE(error.has_value()) << error->message;
}

std::string InWords(const Result& error) {
  return error.has_value() ? error->app_tag + ": " + error->message : "";
}

// The path of an error leads to nodes of the configuration, if to any.
void ExpectPathIsThere(const Result& error, const Datastores& datastores) {
  if (!error.has_value()) return;
  ly_set* nodes = nullptr;
  EXPECT_EQ(lyd_find_xpath(datastores.Tree(Datastore::kCandidate),
                           error->path.c_str(), &nodes),
            LY_SUCCESS)
      << error->path;
  ASSERT_NE(nodes, nullptr);
  EXPECT_GT(nodes->count, 0U) << error->path;
  ly_set_free(nodes, nullptr);
}

// Takes a configuration into running, or says why not.
struct Way {
  const char* name;
  bool only_validates;
  std::function<Result(Router*, const std::string&)> take;
};

Result ReplaceBy(Router* router, const std::string& xml,
                 const EditRequest& what) {
  EditRequest request = what;
  request.default_operation = Operation::kReplace;
  request.config = xml;
  const std::vector<RpcError> errors = (*router)->Edit(1, request);
  return errors.empty() ? Result() : Result(errors[0]);
}

const std::vector<Way>& Ways() {
  static const std::vector<Way> kAll = {
      {"commit", false,
       [](Router* router, const std::string& xml) {
         SetCandidate(router, xml);
         Result error = (*router)->Commit(1);
         ExpectPathIsThere(error, *router->operator->());
         return error;
       }},
      {"confirmed commit", false,
       [](Router* router, const std::string& xml) {
         SetCandidate(router, xml);
         CommitRequest request;
         request.confirmed = true;
         return (*router)->Commit(1, request);
       }},
      {"validate of the candidate", true,
       [](Router* router, const std::string& xml) {
         SetCandidate(router, xml);
         return (*router)->Validate(Datastore::kCandidate);
       }},
      {"validate of a configuration", true,
       [](Router* router, const std::string& xml) {
         return (*router)->Validate(InlineConfig{xml});
       }},
      {"copy of a configuration", false,
       [](Router* router, const std::string& xml) {
         return (*router)->CopyConfig(1, InlineConfig{xml},
                                      Datastore::kRunning);
       }},
      {"copy of the candidate", false,
       [](Router* router, const std::string& xml) {
         SetCandidate(router, xml);
         return (*router)->CopyConfig(1, Datastore::kCandidate,
                                      Datastore::kRunning);
       }},
      {"copy of startup", false,
       [](Router* router, const std::string& xml) {
         EXPECT_EQ(InWords((*router)->CopyConfig(1, InlineConfig{xml},
                                                 Datastore::kStartup)),
                   "");
         return (*router)->CopyConfig(1, Datastore::kStartup,
                                      Datastore::kRunning);
       }},
      {"edit of running", false,
       [](Router* router, const std::string& xml) {
         EditRequest request;
         request.target = Datastore::kRunning;
         return ReplaceBy(router, xml, request);
       }},
      {"test of an edit", true,
       [](Router* router, const std::string& xml) {
         EditRequest request;
         request.test_option = TestOption::kTestOnly;
         return ReplaceBy(router, xml, request);
       }},
  };
  return kAll;
}

void ExpectVerdictOfCheck(const Way& way) {
  Router router;
  const std::string running = router.running();
  std::size_t refused = 0;
  for (const Example& example : Examples()) {
    SCOPED_TRACE(example.name);
    const Result error = way.take(&router, example.xml);
    EXPECT_EQ(InWords(error), example.refusal);
    if (error.has_value()) ++refused;
    const bool is_in = !error.has_value() && !way.only_validates;
    EXPECT_EQ(router.running(), is_in ? example.xml : running);
    if (!is_in) continue;
    // The next example starts from the same configuration again.
    router.Stop();
    fs::remove_all(router.path());
    fs::create_directory(router.path());
    std::ofstream(router.path() + "/startup.xml") << RunningXml();
    router.Start();
  }
  EXPECT_EQ(refused, 27U);
}

TEST(VerdictTest, OfEachOperationIsThatOfCheck) {
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    ExpectVerdictOfCheck(way);
  }
}

// What a start says; empty: it succeeds.
std::string StartErrorOf(Router* router) {
  try {
    router->Start();
    return "";
  } catch (const StateError& error) {
    return error.what();
  }
}

// Loading is a change from nothing.
TEST(VerdictTest, OfAStartIsThatOfCheckWithoutARunningConfiguration) {
  for (const bool has_running : {true, false}) {
    SCOPED_TRACE(has_running ? "running.xml" : "startup.xml");
    Router router;
    std::size_t refused = 0;
    for (const Example& example : Examples()) {
      SCOPED_TRACE(example.name);
      router.Stop();
      {
        StateFolder folder(router.path());
        if (!has_running) folder.Remove("running.xml");
        folder.Write(has_running ? "running.xml" : "startup.xml", example.xml);
      }
      const std::string error = StartErrorOf(&router);
      if (example.refusal_of_all.empty()) {
        ASSERT_EQ(error, "");
        EXPECT_EQ(router.running(), example.xml);
        continue;
      }
      ++refused;
      const std::string& refusal = example.refusal_of_all;
      EXPECT_TRUE(host_test::Contains(
          error, "is refused: " + refusal.substr(refusal.find(": ") + 2)));
    }
    EXPECT_EQ(refused, 25U);
  }
}

// A rollback is judged as well: it is refused when the plug-in has been
// replaced by a stricter one.
class RollbackTest : public testing::Test {
 protected:
  // obeys_opaque knows none of the validation points of this model.
  RollbackTest()
      : router_(std::string(IPAV_TEST_PLUGINS) + "/obeys_opaque.so") {
    const DataTree bad = DataTree::FromFile(
        ProjectModel(),
        std::string(kExamples) + "ra-min-above-three-quarters.xml");
    bad_ = TextOf(bad.FirstChild(nullptr));
    good_ = router_.running();
    SetCandidate(&router_, bad_);
    EXPECT_EQ(InWords(router_->Commit(1)), "");
    SetCandidate(&router_, good_);
    CommitRequest request;
    request.confirmed = true;
    EXPECT_EQ(InWords(router_->Commit(1, request)), "");
    EXPECT_EQ(router_.running(), good_);
    static_cast<void>(router_->TakeNotices());
  }

  void ExpectItStays() {
    EXPECT_EQ(router_.running(), good_);
    router_.Start();
    EXPECT_EQ(router_.running(), good_);
  }

  Router router_;
  std::string bad_;
  std::string good_;
};

TEST_F(RollbackTest, SucceedsWithThePluginThatAcceptedIt) {
  EXPECT_EQ(InWords(router_->CancelCommit(1)), "");
  EXPECT_EQ(router_.running(), bad_);
}

TEST_F(RollbackTest, IsRefusedToCancelCommit) {
  router_.UsePlugin(IPAV_PLUGIN);
  const Result error = router_->CancelCommit(1);
  EXPECT_EQ(InWords(error),
            "validate_ipv6_nd_ra_interval: Minimum interval must be no greater "
            "than maximum interval * 0.75");
  EXPECT_TRUE(router_->Deadline().has_value());
  ExpectItStays();
}

TEST_F(RollbackTest, IsRefusedWhenTheTimeIsOver) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_.Pass(std::chrono::seconds(600));
  router_->CheckTime();
  EXPECT_EQ(router_->TakeNotices(),
            std::vector<std::string>{
                "the confirmed commit stays, although it was not confirmed in "
                "time: Minimum interval must be no greater than maximum "
                "interval * 0.75"});
  EXPECT_FALSE(router_->Deadline().has_value());
  ExpectItStays();
}

TEST_F(RollbackTest, IsRefusedWhenTheSessionEnds) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_->SessionEnded(1);
  ExpectItStays();
}

TEST_F(RollbackTest, IsRefusedAtARestart) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_.Start();
  ExpectItStays();
}

}  // namespace
