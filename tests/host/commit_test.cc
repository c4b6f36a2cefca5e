#include "host/commit/commit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/plugin/plugin.h"
#include "tests/host/fixtures.h"

// A sanitizer must not step in between a plug-in's crash and the host.
// The names are the sanitizers'. NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "handle_segv=0:handle_abort=0:allow_user_segv_handler=1";
}
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "handle_segv=0"; }
// NOLINTEND(bugprone-reserved-identifier)

namespace {

using host_test::Contains;
using host_test::StartsWith;
using host_test::TempDir;
using host_test::TestModel;
using ipav::base::kNoTimeLimit;
using ipav::base::TimeLimit;
using ipav::commit::Answer;
using ipav::commit::Options;
using ipav::commit::Outcome;
using ipav::commit::RunCommit;
using ipav::commit::Verdict;
using ipav::datastore::DataTree;
using ipav::plugin::PluginError;

using Texts = std::vector<std::string>;

std::string PluginFile(const std::string& name) {
  return std::string(IPAV_TEST_PLUGINS) + "/" + name + ".so";
}

// A model in which leaf pI of the container top has a validation point with
// the I-th opaque text, and nothing more to depend on than itself.
std::string BodyOf(const Texts& opaques) {
  std::string body =
      "container top { leaf number { type int32; } "
      "leaf bad { type string; } ";
  for (std::size_t i = 0; i < opaques.size(); ++i) {
    body += "leaf p" + std::to_string(i) +
            " { type string; tailf:validate test_set { tailf:opaque \"" +
            opaques[i] + "\"; tailf:dependency \".\"; } } ";
  }
  return body + "}";
}

// Every leaf pI set.
std::string DataOf(const Texts& opaques, const std::string& more = "") {
  std::string xml = "<top NS>" + more;
  for (std::size_t i = 0; i < opaques.size(); ++i) {
    const std::string leaf = "p" + std::to_string(i);
    xml += "<" + leaf + ">x</" + leaf + ">";
  }
  return xml + "</top>";
}

// Runs a commit; the copy of this process that an escaped exception would make
// ends at once.
Outcome Commit(const DataTree& running, const DataTree& candidate,
               const Options& options) {
  const pid_t host = getpid();
  try {
    return RunCommit(running, candidate, options);
  } catch (...) {
    if (getpid() != host) {
      static_cast<void>(write(2, "escaped", 7) == 7);
      _exit(99);
    }
    throw;
  }
}

// The commit that sets the leaf of each of these opaque texts, which calls
// their points one after another.
Outcome RunOpaques(const Texts& opaques, bool all = false,
                   const std::string& plugin = "obeys_opaque",
                   TimeLimit limit = kNoTimeLimit,
                   const std::string& more = "") {
  const TestModel model(BodyOf(opaques));
  return Commit(model.Tree(""), model.Tree(DataOf(opaques, more)),
                {PluginFile(plugin), all, limit});
}

// The commit that makes this data of a model of that body.
Outcome RunData(const std::string& body, const std::string& data,
                const std::string& plugin = "obeys_opaque", bool all = false) {
  const TestModel model(body);
  return Commit(model.Tree(""), model.Tree(data), {PluginFile(plugin), all});
}

Outcome RunPlugin(const std::string& plugin) {
  return RunOpaques({"accept"}, false, plugin);
}

Texts AnsweredOf(const Outcome& outcome) {
  Texts answered;
  for (const Answer& answer : outcome.answers) {
    answered.push_back(answer.opaque + " " + answer.path);
  }
  return answered;
}

void ExpectNoFailure(const Outcome& outcome) {
  EXPECT_EQ(outcome.failure, "");
  EXPECT_EQ(outcome.failed_point, "");
  EXPECT_EQ(outcome.failed_path, "");
}

// The plug-in's fault outside of an answer, at the only point.
void ExpectFailureAtPoint(const Outcome& outcome, const std::string& opaque) {
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_TRUE(outcome.answers.empty());
  EXPECT_EQ(outcome.planned, 1U);
  EXPECT_EQ(outcome.failed_point, opaque);
  EXPECT_EQ(outcome.failed_path, "/top/p0");
}

void ExpectFailureOutsideOfPoints(const Outcome& outcome) {
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_NE(outcome.failure, "");
  EXPECT_EQ(outcome.failed_point, "");
  EXPECT_EQ(outcome.failed_path, "");
}

// --- Verdicts

TEST(CommitRun, ThatEveryPointAcceptsIsAccepted) {
  const Outcome outcome = RunOpaques({"accept", "accept"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(AnsweredOf(outcome), (Texts{"accept /top/p0", "accept /top/p1"}));
  EXPECT_EQ(outcome.planned, 2U);
  for (const Answer& answer : outcome.answers) {
    EXPECT_EQ(answer.result, 0);
    EXPECT_FALSE(answer.text.has_value());
    EXPECT_FALSE(answer.exception.has_value());
  }
  ExpectNoFailure(outcome);
  EXPECT_EQ(outcome.output, "");
  EXPECT_TRUE(outcome.faults.empty());
  EXPECT_TRUE(outcome.debug_lines.empty());
}

TEST(CommitRun, WithoutAChangeMakesNoCall) {
  const TestModel model(BodyOf({"refuse"}));
  const DataTree tree = model.Tree(DataOf({"refuse"}));
  const Outcome outcome =
      Commit(tree, tree, {PluginFile("obeys_opaque"), false});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(outcome.planned, 0U);
  EXPECT_TRUE(outcome.answers.empty());
  EXPECT_TRUE(outcome.calls.empty());
}

TEST(CommitRun, EndsAtTheFirstRefusal) {
  const Outcome outcome = RunOpaques({"accept", "refuse", "accept"});
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  EXPECT_EQ(AnsweredOf(outcome), (Texts{"accept /top/p0", "refuse /top/p1"}));
  EXPECT_EQ(outcome.planned, 3U);
  EXPECT_EQ(outcome.answers.at(1).result, CONFD_ERR);
  EXPECT_EQ(outcome.answers.at(1).text, "refused for a reason.");
  EXPECT_FALSE(outcome.answers.at(1).exception.has_value());
  ExpectNoFailure(outcome);
}

TEST(CommitRun, GoesOnBehindARefusalWhenAskedForAll) {
  const Outcome outcome =
      RunOpaques({"refuse", "accept", "refuse-silently", "accept"}, true);
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  EXPECT_EQ(AnsweredOf(outcome),
            (Texts{"refuse /top/p0", "accept /top/p1",
                   "refuse-silently /top/p2", "accept /top/p3"}));
  EXPECT_EQ(outcome.answers.at(0).text, "refused for a reason.");
  EXPECT_FALSE(outcome.answers.at(1).text.has_value());
  EXPECT_FALSE(outcome.answers.at(2).text.has_value());
}

TEST(CommitRun, RefusesForAnyOtherResultThanZeroAndKeepsTheTextVerbatim) {
  const struct {
    const char* opaque;
    int result;
    std::optional<std::string> text;
  } cases[] = {
      {"refuse-silently", CONFD_ERR, {}},
      {"refuse-oddly", CONFD_ERR, "first line\n100% sure, not %s %n\n"}};
  for (const auto& one : cases) {
    const Outcome outcome = RunOpaques({one.opaque});
    EXPECT_EQ(outcome.verdict, Verdict::kRefused);
    EXPECT_EQ(outcome.answers.at(0).result, one.result);
    EXPECT_EQ(outcome.answers.at(0).text, one.text);
  }
  const Outcome five = RunOpaques({"return-5"});
  EXPECT_EQ(five.verdict, Verdict::kRefused);
  EXPECT_EQ(five.answers.at(0).result, 5);
}

// --- What a point is given

TEST(CommitRun, HandsOverKeyPathAndNewValue) {
  const Outcome outcome = RunData(
      "container top { list l { key \"k n\"; leaf k { type string; } "
      "leaf n { type uint8; } leaf v { type int32; tailf:validate test_set "
      "{ tailf:opaque describe; tailf:dependency \".\"; } } } }",
      "<top NS><l><k>a b</k><n>3</n><v>-7</v></l></top>");
  ASSERT_EQ(outcome.answers.size(), 1U);
  EXPECT_EQ(outcome.answers[0].text, "v a b 3 l top = -7");
  EXPECT_EQ(outcome.answers[0].path, "/top/l{\"a b\" 3}/v");
}

TEST(CommitRun, HandsOverTheListItselfWhereCalledOnce) {
  const Outcome outcome = RunData(
      "container top { list l { key k; leaf k { type string; } "
      "tailf:validate test_set { tailf:opaque describe; "
      "tailf:call-once \"true\"; } } }",
      "<top NS><l><k>a</k></l></top>");
  ASSERT_EQ(outcome.answers.size(), 1U);
  EXPECT_TRUE(StartsWith(outcome.answers[0].text.value_or(""), "l top = "));
  EXPECT_EQ(outcome.answers[0].path, "/top/l");
}

TEST(CommitRun, HandsOverNoOpaqueTextWhereThereIsNone) {
  const Outcome outcome = RunData(
      "leaf v { type string; tailf:validate test_set; }", "<v NS>x</v>");
  ASSERT_EQ(outcome.answers.size(), 1U);
  EXPECT_EQ(outcome.answers[0].text, "no opaque text");
  EXPECT_EQ(outcome.answers[0].opaque, "");
}

TEST(CommitRun, LetsThePluginReadTheRunningConfiguration) {
  const Texts opaques = {"read-cdb"};
  const TestModel model(BodyOf(opaques));
  const Outcome outcome =
      Commit(model.Tree("<top NS><number>1</number></top>"),
             model.Tree(DataOf(opaques, "<number>2</number>")),
             {PluginFile("obeys_opaque"), false});
  EXPECT_EQ(outcome.answers.at(0).text, "1");
}

TEST(CommitRun, CallsTheUseSitesOfThePluginsOwnSetOnly) {
  const Outcome outcome = RunData(
      "leaf a { type string; tailf:validate test_set { tailf:opaque accept; "
      "} } leaf b { type string; tailf:validate another_set { "
      "tailf:opaque refuse; } }",
      "<a NS>x</a><b NS>x</b>", "obeys_opaque", true);
  EXPECT_EQ(AnsweredOf(outcome), Texts{"accept /a"});
  EXPECT_EQ(outcome.planned, 1U);
}

TEST(CommitRun, OfAPluginThatNamesAnotherSetMakesNoCall) {
  const Outcome outcome = RunPlugin("names_another_set");
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(outcome.planned, 0U);
  EXPECT_TRUE(outcome.answers.empty());
  ExpectNoFailure(outcome);
}

// --- What is heard besides

TEST(CommitRun, CollectsOutputFaultsAndDebugLines) {
  const Outcome outcome = RunOpaques({"chatter"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_TRUE(Contains(outcome.output, "to standard output\n"));
  EXPECT_TRUE(Contains(outcome.output, "to standard error\n"));
  EXPECT_EQ(outcome.faults, (Texts{"first fault", "second fault"}));
  EXPECT_EQ(outcome.debug_lines, (Texts{"line 1 of two", "line 2 of two"}));
}

TEST(CommitRun, CountsTheCallsOfThePlatform) {
  const Outcome outcome = RunOpaques({"refuse", "refuse-oddly"}, true);
  EXPECT_EQ(outcome.calls,
            (std::map<std::string, std::uint64_t>{{"confd_trans_seterr", 2}}));
}

TEST(CommitRun, KeepsWhatWasHeardBeforeACrash) {
  const Outcome outcome = RunOpaques({"chatter", "refuse", "null"}, true);
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_EQ(AnsweredOf(outcome), (Texts{"chatter /top/p0", "refuse /top/p1"}));
  EXPECT_EQ(outcome.answers.at(1).text, "refused for a reason.");
  EXPECT_EQ(outcome.faults, (Texts{"first fault", "second fault"}));
  EXPECT_EQ(outcome.debug_lines, (Texts{"line 1 of two", "line 2 of two"}));
  EXPECT_EQ(outcome.planned, 3U);
  EXPECT_EQ(outcome.failed_point, "null");
  EXPECT_EQ(outcome.failed_path, "/top/p2");
}

// --- A life per commit

TEST(CommitRun, GivesEveryCommitAFreshContext) {
  const TestModel model(BodyOf({"sticky"}));
  const DataTree running = model.Tree("");
  const DataTree bad = model.Tree(DataOf({"sticky"}, "<bad>x</bad>"));
  const DataTree good = model.Tree(DataOf({"sticky"}));
  const Options options{PluginFile("sticky"), false};
  EXPECT_EQ(Commit(running, bad, options).verdict, Verdict::kRefused);
  EXPECT_EQ(Commit(running, good, options).verdict, Verdict::kAccepted);
  EXPECT_EQ(Commit(running, bad, options).verdict, Verdict::kRefused);
}

TEST(CommitRun, KeepsOneContextForAllItsPoints) {
  const Outcome outcome =
      RunOpaques({"a", "b"}, true, "sticky", kNoTimeLimit, "<bad>x</bad>");
  EXPECT_EQ(AnsweredOf(outcome), (Texts{"a /top/p0", "b /top/p1"}));
  EXPECT_EQ(outcome.calls.at("maapi_exists"), 1U);
}

TEST(CommitRun, StartsAndFinishesThePluginOnceEachTime) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(RunOpaques({"a", "b"}, false, "counts_lives").faults,
              (Texts{"lib_init 1", "validate in life 1", "lib_finish 1"}));
    EXPECT_EQ(RunOpaques({"a", "b"}, true, "counts_lives").faults,
              (Texts{"lib_init 1", "validate in life 1", "validate in life 1",
                     "lib_finish 1"}));
  }
}

// --- Files that are no plug-in

std::string PluginErrorOf(const std::string& file) {
  const TestModel model(BodyOf({"accept"}));
  const DataTree tree = model.Tree("");
  try {
    Commit(tree, tree, {file, false});
  } catch (const PluginError& error) {
    EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    return error.what();
  }
  ADD_FAILURE() << "no PluginError";
  return "";
}

TEST(CommitWithoutPlugin, IsAnErrorThatNamesTheFile) {
  const TempDir dir;
  const std::string text = dir.Write("plugin.so", "just a text\n");
  for (const std::string& file :
       {std::string("/nowhere/plugin.so"), text, dir.path(),
        PluginFile("lacks_lib_init"), PluginFile("lacks_get_validation_point"),
        PluginFile("lacks_validate"), PluginFile("lacks_lib_finish"),
        PluginFile("names_nothing"), PluginFile("fails_to_name")}) {
    EXPECT_TRUE(Contains(PluginErrorOf(file), file));
  }
}

// --- Plug-ins that misbehave at a point

TEST(Misbehaving, AssertionIsReportedWithItsPointAndItsWholeLine) {
  const Outcome outcome = RunOpaques({"assert"});
  ExpectFailureAtPoint(outcome, "assert");
  EXPECT_TRUE(Contains(outcome.failure, "signal"));
  EXPECT_TRUE(Contains(outcome.failure, "Aborted"));
  EXPECT_TRUE(Contains(outcome.output, "obeys_opaque.cc:"));
  EXPECT_TRUE(Contains(outcome.output, "validate("));
  EXPECT_TRUE(
      Contains(outcome.output, "Assertion `keypath->len == 4711' failed.\n"));
}

TEST(Misbehaving, ExceptionIsReportedAsTheAnswer) {
  const Outcome outcome = RunOpaques({"throw", "accept"});
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  ASSERT_EQ(outcome.answers.size(), 1U);
  EXPECT_EQ(outcome.answers[0].opaque, "throw");
  EXPECT_EQ(outcome.answers[0].path, "/top/p0");
  EXPECT_EQ(outcome.answers[0].exception, "thrown for a reason");
  EXPECT_FALSE(outcome.answers[0].text.has_value());
}

TEST(Misbehaving, ExceptionDoesNotEndARunOverAllPoints) {
  const Outcome outcome = RunOpaques({"throw", "refuse", "accept"}, true);
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_EQ(AnsweredOf(outcome),
            (Texts{"throw /top/p0", "refuse /top/p1", "accept /top/p2"}));
}

TEST(Misbehaving, TextOfAPointThatThrewIsNotThatOfTheNext) {
  const Outcome outcome =
      RunOpaques({"set-text-and-throw", "refuse-silently"}, true);
  ASSERT_EQ(outcome.answers.size(), 2U);
  EXPECT_EQ(outcome.answers[0].exception, "thrown behind a text");
  EXPECT_EQ(outcome.answers[1].result, CONFD_ERR);
  EXPECT_FALSE(outcome.answers[1].text.has_value());
}

TEST(Misbehaving, ThrownNumberIsReportedAtItsPoint) {
  const Outcome outcome = RunOpaques({"throw-int"});
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_FALSE(Contains(outcome.output, "escaped"));
  if (outcome.answers.empty()) {
    EXPECT_EQ(outcome.failed_point, "throw-int");
    EXPECT_EQ(outcome.failed_path, "/top/p0");
  } else {
    EXPECT_TRUE(outcome.answers[0].exception.has_value());
  }
}

TEST(Misbehaving, EndOfTheProcessIsReportedWithItsPointAndReason) {
  const struct {
    const char* opaque;
    const char* failure;
    const char* output;
  } cases[] = {{"null", "signal: Segmentation fault", ""},
               {"exit-0", "status 0", ""},
               {"exit-7", "status 7", ""},
               {"print-and-abort", "signal", "last words\n"}};
  for (const auto& [opaque, failure, output] : cases) {
    const Outcome outcome = RunOpaques({opaque});
    ExpectFailureAtPoint(outcome, opaque);
    EXPECT_TRUE(Contains(outcome.failure, failure));
    EXPECT_TRUE(Contains(outcome.output, output));
  }
}

TEST(Misbehaving, HostGoesOnBehindEveryCrash) {
  for (const char* opaque :
       {"assert", "null", "exit-0", "exit-7", "throw", "throw-int"}) {
    EXPECT_EQ(RunOpaques({opaque}).verdict, Verdict::kPluginFailed) << opaque;
  }
  EXPECT_EQ(RunOpaques({"accept"}).verdict, Verdict::kAccepted);
}

// --- Plug-ins that hang, leave things behind, or answer oddly

constexpr TimeLimit kShortTime(300);

Outcome RunWild(const Texts& deeds, bool all = false) {
  return RunOpaques(deeds, all, "runs_wild", std::chrono::seconds(20));
}

Outcome RunBriefly(const std::string& plugin, const Texts& deeds) {
  return RunOpaques(deeds, false, plugin, kShortTime);
}

TEST(Misbehaving, HangingPointIsReportedWithItsTimeLimit) {
  for (const char* deed : {"hang", "spin", "spawn-and-hang"}) {
    const Outcome outcome = RunBriefly("runs_wild", {deed});
    ExpectFailureAtPoint(outcome, deed);
    EXPECT_EQ(outcome.failure, "did not answer within 0.3 seconds");
  }
}

TEST(Misbehaving, HangOutsideOfAPointIsReportedWithItsPlace) {
  const std::map<std::string, std::string> places = {
      {"hangs_on_load", "while it was loaded"},
      {"hangs_in_name", "in get_validation_point"},
      {"hangs_in_init", "in lib_init"},
      {"hangs_in_finish", "in lib_finish"},
      {"hangs_on_unload", "while it was unloaded"}};
  for (const auto& [plugin, place] : places) {
    const Outcome outcome = RunBriefly(plugin, {"accept"});
    ExpectFailureOutsideOfPoints(outcome);
    EXPECT_EQ(outcome.failure, "did not answer within 0.3 seconds, " + place);
  }
}

TEST(Misbehaving, AnswersBeforeAHangAreKept) {
  const Outcome outcome = RunBriefly("runs_wild", {"warn-silently", "hang"});
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_EQ(AnsweredOf(outcome), Texts{"warn-silently /top/p0"});
  EXPECT_EQ(outcome.planned, 2U);
  EXPECT_EQ(outcome.failed_point, "hang");
  EXPECT_EQ(outcome.failed_path, "/top/p1");
}

TEST(Misbehaving, CrashOutsideOfAPointIsReportedWithItsPlace) {
  const struct {
    const char* plugin;
    const char* place;
    Texts answered;
  } cases[] = {
      {"aborts_in_init", "in lib_init", {}},
      {"aborts_in_finish", "in lib_finish", {"accept /top/p0"}},
      {"aborts_on_unload", "while it was unloaded", {"accept /top/p0"}}};
  for (const auto& [plugin, place, answered] : cases) {
    const Outcome outcome = RunPlugin(plugin);
    ExpectFailureOutsideOfPoints(outcome);
    EXPECT_EQ(outcome.failure,
              std::string("killed by signal: Aborted, ") + place);
    EXPECT_EQ(AnsweredOf(outcome), answered);
    EXPECT_EQ(outcome.planned, 1U);
  }
}

TEST(Misbehaving, WildDeedIsReportedWithItsPoint) {
  const std::pair<const char*, const char*> cases[] = {
      {"_exit", "ended the process with status 0"},
      {"overflow-stack", "killed by signal: Segmentation fault"},
      {"kill-parent", "killed by signal: Killed"},
      {"write-for-ever", "wrote without end, and was stopped"},
      {"report-for-ever", "wrote without end, and was stopped"}};
  for (const auto& [deed, failure] : cases) {
    const Outcome outcome = RunWild({deed});
    ExpectFailureAtPoint(outcome, deed);
    EXPECT_EQ(outcome.failure, failure);
  }
  // Its end is not the same with every tool that watches it.
  ExpectFailureAtPoint(RunWild({"close-files"}), "close-files");
}

TEST(Misbehaving, ProcessesLeftBehindChangeNoVerdict) {
  const Outcome outcome = RunWild({"spawn-and-return"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(AnsweredOf(outcome), Texts{"spawn-and-return /top/p0"});
}

TEST(CommitRun, GivesThePluginNothingToRead) {
  EXPECT_EQ(RunWild({"read-input"}).verdict, Verdict::kAccepted);
}

Outcome RunWithRows(const std::string& deed) {
  return RunData(
      "container top { list row { key k; leaf k { type string; } } "
      "leaf p0 { type string; tailf:validate test_set { tailf:opaque \"" +
          deed + "\"; tailf:dependency \".\"; } } }",
      "<top NS><row><k>a</k></row><p0>x</p0></top>", "runs_wild");
}

TEST(Misbehaving, CursorsAndCdbSessionsLeftOpenAreCountedAndRefuseNothing) {
  const Outcome outcome = RunWithRows("leave-open");
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(outcome.left_open, (Texts{"2 cursors", "1 CDB session"}));
  ExpectNoFailure(outcome);
}

TEST(CommitRun, FindsNothingLeftOpenWhereAllIsClosed) {
  const Outcome outcome = RunWithRows("close-all");
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(outcome.calls.at("maapi_init_cursor"), 1U);
  EXPECT_TRUE(outcome.left_open.empty());
}

TEST(CommitRun, KeepsATextThatIsLongOrNoUtf8) {
  EXPECT_EQ(RunWild({"refuse-at-length"}).answers.at(0).text,
            std::string(1000000, 'x'));
  EXPECT_EQ(RunWild({"refuse-in-odd-bytes"}).answers.at(0).text,
            "one\ntwo\r\n\n\ttab {} %s\x1b[31mred\x07\xff\xc3( "
            "\xed\xa0\x80");
}

TEST(CommitRun, GoesOnBehindAWarning) {
  const Outcome outcome = RunWild({"warn", "warn-silently"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  ASSERT_EQ(outcome.answers.size(), 2U);
  EXPECT_EQ(outcome.answers[0].result, CONFD_VALIDATION_WARN);
  EXPECT_EQ(outcome.answers[0].text, "think again");
  EXPECT_EQ(outcome.answers[1].result, CONFD_VALIDATION_WARN);
  EXPECT_FALSE(outcome.answers[1].text.has_value());
  EXPECT_TRUE(Accepts(outcome.answers[0]));
}

TEST(CommitRun, IsRefusedByOneOfSeveralAnswersBehindAWarning) {
  const Outcome outcome = RunWild({"warn", "return-1", "return--2"}, true);
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  ASSERT_EQ(outcome.answers.size(), 3U);
  EXPECT_EQ(outcome.answers[1].result, 1);
  EXPECT_EQ(outcome.answers[2].result, -2);
  EXPECT_FALSE(Accepts(outcome.answers[1]));
  EXPECT_FALSE(Accepts(outcome.answers[2]));
}

// --- Plug-ins that misbehave outside of a point

TEST(Misbehaving, FailureOutsideOfAPointIsReported) {
  const struct {
    const char* plugin;
    Texts failure;  // parts of it
    Texts answered;
  } cases[] = {
      {"fails_in_init", {"lib_init"}, {}},
      {"throws_in_init", {"lib_init", "no memory for the snapshot"}, {}},
      {"throws_int_in_init", {}, {}},
      {"throws_in_finish", {}, {"accept /top/p0"}}};
  for (const auto& [plugin, failure, answered] : cases) {
    SCOPED_TRACE(plugin);
    const Outcome outcome = RunPlugin(plugin);
    ExpectFailureOutsideOfPoints(outcome);
    for (const std::string& part : failure) {
      EXPECT_TRUE(Contains(outcome.failure, part));
    }
    EXPECT_EQ(AnsweredOf(outcome), answered);
    EXPECT_FALSE(Contains(outcome.output, "escaped"));
  }
}

TEST(Misbehaving, ExceptionOfTheNameIsReported) {
  const TestModel model(BodyOf({"accept"}));
  const DataTree tree = model.Tree("");
  try {
    const Outcome outcome =
        Commit(tree, tree, {PluginFile("throws_in_name"), false});
    ExpectFailureOutsideOfPoints(outcome);
    EXPECT_FALSE(Contains(outcome.output, "escaped"));
  } catch (const PluginError& error) {
    EXPECT_TRUE(Contains(error.what(), PluginFile("throws_in_name")));
  }
}

// --- Nodes that the host cannot hand over

TEST(Misbehaving, PointOnALeafThatTheHostDoesNotCarryIsReported) {
  const Outcome outcome = RunData(
      "container top { leaf d { type decimal64 { fraction-digits 1; } "
      "tailf:validate test_set { tailf:opaque accept; } } }",
      "<top NS><d>1.5</d></top>");
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_NE(outcome.failure, "");
  EXPECT_EQ(outcome.failed_point, "accept");
  EXPECT_EQ(outcome.failed_path, "/top/d");
  EXPECT_FALSE(Contains(outcome.output, "escaped"));
}

}  // namespace
