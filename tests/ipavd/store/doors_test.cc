// Every door into the running configuration says what ipav check says, of every
// example of the branch router, and lets nothing in that is refused.
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

// A door: takes a configuration into running, or says why not.
using Door = std::function<Result(Router*, const std::string&)>;

void ExpectDoorSaysWhatCheckSays(const Door& door, bool only_says = false) {
  Router router;
  const std::string running = router.running();
  std::size_t refused = 0;
  for (const Example& example : Examples()) {
    SCOPED_TRACE(example.name);
    const Result error = door(&router, example.xml);
    EXPECT_EQ(InWords(error), example.refusal);
    if (error.has_value()) ++refused;
    const bool is_in = !error.has_value() && !only_says;
    EXPECT_EQ(router.running(), is_in ? example.xml : running);
    if (!is_in) continue;
    // Back to where the next one starts, by a door that is not judged.
    router.Stop();
    fs::remove_all(router.path());
    fs::create_directory(router.path());
    std::ofstream(router.path() + "/startup.xml") << RunningXml();
    router.Start();
  }
  EXPECT_EQ(refused, 27U);
}

TEST(Doors, CommitSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays([](Router* router, const std::string& xml) {
    SetCandidate(router, xml);
    Result error = (*router)->Commit(1);
    ExpectPathIsThere(error, *router->operator->());
    return error;
  });
}

TEST(Doors, ConfirmedCommitSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays([](Router* router, const std::string& xml) {
    SetCandidate(router, xml);
    CommitRequest request;
    request.confirmed = true;
    return (*router)->Commit(1, request);
  });
}

TEST(Doors, ValidateOfTheCandidateSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays(
      [](Router* router, const std::string& xml) {
        SetCandidate(router, xml);
        return (*router)->Validate(Datastore::kCandidate);
      },
      true);
}

TEST(Doors, ValidateOfAConfigurationSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays(
      [](Router* router, const std::string& xml) {
        return (*router)->Validate(InlineConfig{xml});
      },
      true);
}

TEST(Doors, ACopyOfAConfigurationToRunningSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays([](Router* router, const std::string& xml) {
    return (*router)->CopyConfig(1, InlineConfig{xml}, Datastore::kRunning);
  });
}

TEST(Doors, ACopyOfTheCandidateToRunningSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays([](Router* router, const std::string& xml) {
    SetCandidate(router, xml);
    return (*router)->CopyConfig(1, Datastore::kCandidate, Datastore::kRunning);
  });
}

TEST(Doors, ACopyOfStartupToRunningSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays([](Router* router, const std::string& xml) {
    EXPECT_EQ(InWords((*router)->CopyConfig(1, InlineConfig{xml},
                                            Datastore::kStartup)),
              "");
    return (*router)->CopyConfig(1, Datastore::kStartup, Datastore::kRunning);
  });
}

TEST(Doors, AnEditOfRunningSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays([](Router* router, const std::string& xml) {
    EditRequest request;
    request.target = Datastore::kRunning;
    request.default_operation = Operation::kReplace;
    request.config = xml;
    const std::vector<RpcError> errors = (*router)->Edit(1, request);
    return errors.empty() ? Result() : Result(errors[0]);
  });
}

TEST(Doors, ATestOfAnEditSaysWhatCheckSays) {
  ExpectDoorSaysWhatCheckSays(
      [](Router* router, const std::string& xml) {
        EditRequest request;
        request.test_option = TestOption::kTestOnly;
        request.default_operation = Operation::kReplace;
        request.config = xml;
        const std::vector<RpcError> errors = (*router)->Edit(1, request);
        return errors.empty() ? Result() : Result(errors[0]);
      },
      true);
}

// Loading, which is a change from nothing.

// What a start says; empty: it starts.
std::string StartErrorOf(Router* router) {
  try {
    router->Start();
    return "";
  } catch (const StateError& error) {
    return error.what();
  }
}

void ExpectLoadingSaysWhatCheckSays(
    const std::function<void(Router*, const std::string&)>& put) {
  Router router;
  std::size_t refused = 0;
  for (const Example& example : Examples()) {
    SCOPED_TRACE(example.name);
    put(&router, example.xml);
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

TEST(Doors, TheLoadOfRunningSaysWhatCheckSaysOfAll) {
  ExpectLoadingSaysWhatCheckSays([](Router* router, const std::string& xml) {
    router->Stop();
    StateFolder(router->path()).Write("running.xml", xml);
  });
}

TEST(Doors, TheLoadOfStartupSaysWhatCheckSaysOfAll) {
  ExpectLoadingSaysWhatCheckSays([](Router* router, const std::string& xml) {
    router->Stop();
    StateFolder folder(router->path());
    folder.Remove("running.xml");
    folder.Write("startup.xml", xml);
  });
}

// The way back from a confirmed commit. It is bad where the plug-in is another
// one than it was.

class WayBack : public testing::Test {
 protected:
  // A plug-in of another validation set has no say in this model.
  WayBack() : router_(std::string(IPAV_TEST_PLUGINS) + "/obeys_opaque.so") {
    for (const Example& example : Examples()) {
      if (example.name == "ra-min-above-three-quarters.xml") {
        bad_ = example.xml;
      }
    }
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

TEST_F(WayBack, IsTakenWithThePluginThatAcceptedIt) {
  EXPECT_EQ(InWords(router_->CancelCommit(1)), "");
  EXPECT_EQ(router_.running(), bad_);
}

TEST_F(WayBack, IsClosedToACancelledCommit) {
  router_.UsePlugin(IPAV_PLUGIN);
  const Result error = router_->CancelCommit(1);
  EXPECT_EQ(InWords(error),
            "validate_ipv6_nd_ra_interval: Minimum interval must be no greater "
            "than maximum interval * 0.75");
  EXPECT_TRUE(router_->Deadline().has_value());
  ExpectItStays();
}

TEST_F(WayBack, IsClosedWhenTheTimeIsOver) {
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

TEST_F(WayBack, IsClosedWhenTheSessionEnds) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_->SessionEnded(1);
  ExpectItStays();
}

TEST_F(WayBack, IsClosedToARestart) {
  router_.UsePlugin(IPAV_PLUGIN);
  router_.Start();
  ExpectItStays();
}

}  // namespace
