#include "host/commit/commit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <string>
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

// Calls the points of these opaque texts one after another.
Outcome RunOpaques(const Texts& opaques, bool all = false,
                   const std::string& plugin = "obeys_opaque") {
  const TestModel model(BodyOf(opaques));
  return Commit(model.Tree(""), model.Tree(DataOf(opaques)),
                {PluginFile(plugin), all});
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

TEST(CommitRun, MayBeRefusedWithoutAText) {
  const Outcome outcome = RunOpaques({"refuse-silently"});
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  EXPECT_EQ(outcome.answers.at(0).result, CONFD_ERR);
  EXPECT_FALSE(outcome.answers.at(0).text.has_value());
}

TEST(CommitRun, KeepsTheTextVerbatim) {
  const Outcome outcome = RunOpaques({"refuse-oddly"});
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  EXPECT_EQ(outcome.answers.at(0).text, "first line\n100% sure, not %s %n\n");
}

TEST(CommitRun, AnyOtherResultThanZeroRefuses) {
  const Outcome outcome = RunOpaques({"return-5"});
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  EXPECT_EQ(outcome.answers.at(0).result, 5);
}

// --- What a point is given

TEST(CommitRun, HandsOverKeyPathAndNewValue) {
  const TestModel model(
      "container top { list l { key \"k n\"; leaf k { type string; } "
      "leaf n { type uint8; } leaf v { type int32; tailf:validate test_set "
      "{ tailf:opaque describe; tailf:dependency \".\"; } } } }");
  const Outcome outcome =
      Commit(model.Tree(""),
             model.Tree("<top NS><l><k>a b</k><n>3</n><v>-7</v></l></top>"),
             {PluginFile("obeys_opaque"), false});
  ASSERT_EQ(outcome.answers.size(), 1U);
  EXPECT_EQ(outcome.answers[0].text, "v a b 3 l top = -7");
  EXPECT_EQ(outcome.answers[0].path, "/top/l{\"a b\" 3}/v");
}

TEST(CommitRun, HandsOverTheListItselfWhereCalledOnce) {
  const TestModel model(
      "container top { list l { key k; leaf k { type string; } "
      "tailf:validate test_set { tailf:opaque describe; "
      "tailf:call-once \"true\"; } } }");
  const Outcome outcome =
      Commit(model.Tree(""), model.Tree("<top NS><l><k>a</k></l></top>"),
             {PluginFile("obeys_opaque"), false});
  ASSERT_EQ(outcome.answers.size(), 1U);
  EXPECT_TRUE(StartsWith(outcome.answers[0].text.value_or(""), "l top = "));
  EXPECT_EQ(outcome.answers[0].path, "/top/l");
}

TEST(CommitRun, HandsOverNoOpaqueTextWhereThereIsNone) {
  const TestModel model("leaf v { type string; tailf:validate test_set; }");
  const Outcome outcome = Commit(model.Tree(""), model.Tree("<v NS>x</v>"),
                                 {PluginFile("obeys_opaque"), false});
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
  const TestModel model(
      "leaf a { type string; tailf:validate test_set { tailf:opaque accept; "
      "} } leaf b { type string; tailf:validate another_set { "
      "tailf:opaque refuse; } }");
  const Outcome outcome = Commit(model.Tree(""),
                                 model.Tree("<a NS>x</a><b NS>x"
                                            "</b>"),
                                 {PluginFile("obeys_opaque"), true});
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
  const TestModel model(BodyOf({"a", "b"}));
  const Outcome outcome =
      Commit(model.Tree(""), model.Tree(DataOf({"a", "b"}, "<bad>x</bad>")),
             {PluginFile("sticky"), true});
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

TEST(Misbehaving, NullDereferenceIsReportedWithItsPointAndSignal) {
  const Outcome outcome = RunOpaques({"null"});
  ExpectFailureAtPoint(outcome, "null");
  EXPECT_TRUE(Contains(outcome.failure, "signal"));
  EXPECT_TRUE(Contains(outcome.failure, "Segmentation fault"));
}

TEST(Misbehaving, ExitIsReportedWithItsPointAndStatus) {
  const Outcome zero = RunOpaques({"exit-0"});
  ExpectFailureAtPoint(zero, "exit-0");
  EXPECT_TRUE(Contains(zero.failure, "status 0"));
  const Outcome seven = RunOpaques({"exit-7"});
  ExpectFailureAtPoint(seven, "exit-7");
  EXPECT_TRUE(Contains(seven.failure, "status 7"));
}

TEST(Misbehaving, LinePrintedBeforeACrashIsReported) {
  const Outcome outcome = RunOpaques({"print-and-abort"});
  ExpectFailureAtPoint(outcome, "print-and-abort");
  EXPECT_TRUE(Contains(outcome.output, "last words\n"));
}

TEST(Misbehaving, HostGoesOnBehindEveryCrash) {
  for (const char* opaque :
       {"assert", "null", "exit-0", "exit-7", "throw", "throw-int"}) {
    EXPECT_EQ(RunOpaques({opaque}).verdict, Verdict::kPluginFailed) << opaque;
  }
  EXPECT_EQ(RunOpaques({"accept"}).verdict, Verdict::kAccepted);
}

// --- Plug-ins that hang, leave things behind, or answer oddly

constexpr ipav::base::TimeLimit kShortTime(300);

Outcome RunWild(const Texts& deeds, bool all = false) {
  const TestModel model(BodyOf(deeds));
  const DataTree running = model.Tree("");
  return Commit(running, model.Tree(DataOf(deeds)),
                {PluginFile("runs_wild"), all, std::chrono::seconds(20)});
}

Outcome RunBriefly(const std::string& plugin, const std::string& deed) {
  const TestModel model(BodyOf({deed}));
  return Commit(model.Tree(""), model.Tree(DataOf({deed})),
                {PluginFile(plugin), false, kShortTime});
}

TEST(Misbehaving, HangingPointIsReportedWithItsTimeLimit) {
  for (const char* deed : {"hang", "spin", "spawn-and-hang"}) {
    const Outcome outcome = RunBriefly("runs_wild", deed);
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
    const Outcome outcome = RunBriefly(plugin, "accept");
    ExpectFailureOutsideOfPoints(outcome);
    EXPECT_EQ(outcome.failure, "did not answer within 0.3 seconds, " + place);
  }
}

TEST(Misbehaving, AnswersBeforeAHangAreKept) {
  const TestModel model(BodyOf({"warn-silently", "hang"}));
  const Outcome outcome =
      Commit(model.Tree(""), model.Tree(DataOf({"warn-silently", "hang"})),
             {PluginFile("runs_wild"), false, kShortTime});
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_EQ(AnsweredOf(outcome), Texts{"warn-silently /top/p0"});
  EXPECT_EQ(outcome.planned, 2U);
  EXPECT_EQ(outcome.failed_point, "hang");
  EXPECT_EQ(outcome.failed_path, "/top/p1");
}

TEST(Misbehaving, CrashOutsideOfAPointIsReportedWithItsPlace) {
  EXPECT_EQ(RunPlugin("aborts_in_init").failure,
            "killed by signal: Aborted, in lib_init");
  EXPECT_EQ(RunPlugin("aborts_in_finish").failure,
            "killed by signal: Aborted, in lib_finish");
  const Outcome outcome = RunPlugin("aborts_on_unload");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_EQ(outcome.failure,
            "killed by signal: Aborted, while it was unloaded");
  EXPECT_EQ(AnsweredOf(outcome), Texts{"accept /top/p0"});
}

TEST(Misbehaving, ExitWithoutCeremonyIsReported) {
  const Outcome outcome = RunWild({"_exit"});
  ExpectFailureAtPoint(outcome, "_exit");
  EXPECT_EQ(outcome.failure, "ended the process with status 0");
}

TEST(Misbehaving, StackOverflowIsReported) {
  const Outcome outcome = RunWild({"overflow-stack"});
  ExpectFailureAtPoint(outcome, "overflow-stack");
  EXPECT_EQ(outcome.failure, "killed by signal: Segmentation fault");
}

TEST(Misbehaving, ProcessesLeftBehindChangeNoVerdict) {
  const Outcome outcome = RunWild({"spawn-and-return"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(AnsweredOf(outcome), Texts{"spawn-and-return /top/p0"});
}

TEST(Misbehaving, EndOfItsSupervisorIsReported) {
  const Outcome outcome = RunWild({"kill-parent"});
  ExpectFailureAtPoint(outcome, "kill-parent");
  EXPECT_EQ(outcome.failure, "killed by signal: Killed");
}

TEST(Misbehaving, EndlessOutputIsCutOffAndReported) {
  for (const char* deed : {"write-for-ever", "report-for-ever"}) {
    const Outcome outcome = RunWild({deed});
    ExpectFailureAtPoint(outcome, deed);
    EXPECT_EQ(outcome.failure, "wrote without end, and was stopped");
  }
}

TEST(Misbehaving, ClosedFilesOfTheHostAreReported) {
  const Outcome outcome = RunWild({"close-files"});
  ExpectFailureAtPoint(outcome, "close-files");
}

TEST(CommitRun, GivesThePluginNothingToRead) {
  EXPECT_EQ(RunWild({"read-input"}).verdict, Verdict::kAccepted);
}

Outcome RunWithRows(const std::string& deed) {
  const TestModel model(
      "container top { list row { key k; leaf k { type string; } } "
      "leaf p0 { type string; tailf:validate test_set { tailf:opaque \"" +
      deed + "\"; tailf:dependency \".\"; } } }");
  return Commit(model.Tree(""),
                model.Tree("<top NS><row><k>a</k></row><p0>x</p0></top>"),
                {PluginFile("runs_wild"), false});
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

TEST(CommitRun, KeepsALongText) {
  EXPECT_EQ(RunWild({"refuse-at-length"}).answers.at(0).text,
            std::string(1000000, 'x'));
}

TEST(CommitRun, KeepsATextThatIsNoUtf8) {
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

TEST(Misbehaving, FailureOfLibInitIsReported) {
  const Outcome outcome = RunPlugin("fails_in_init");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_TRUE(Contains(outcome.failure, "lib_init"));
  EXPECT_TRUE(outcome.answers.empty());
}

TEST(Misbehaving, ExceptionOfLibInitIsReportedWithItsText) {
  const Outcome outcome = RunPlugin("throws_in_init");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_TRUE(Contains(outcome.failure, "lib_init"));
  EXPECT_TRUE(Contains(outcome.failure, "no memory for the snapshot"));
}

TEST(Misbehaving, NumberThrownByLibInitIsReported) {
  const Outcome outcome = RunPlugin("throws_int_in_init");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_FALSE(Contains(outcome.output, "escaped"));
}

TEST(Misbehaving, AbortInLibInitIsReportedWithoutAPoint) {
  const Outcome outcome = RunPlugin("aborts_in_init");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_TRUE(Contains(outcome.failure, "Aborted"));
  EXPECT_EQ(outcome.planned, 1U);
}

TEST(Misbehaving, ExceptionOfLibFinishIsReported) {
  const Outcome outcome = RunPlugin("throws_in_finish");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_EQ(AnsweredOf(outcome), Texts{"accept /top/p0"});
  EXPECT_FALSE(Contains(outcome.output, "escaped"));
}

TEST(Misbehaving, AbortInLibFinishIsReportedBesideTheAnswers) {
  const Outcome outcome = RunPlugin("aborts_in_finish");
  ExpectFailureOutsideOfPoints(outcome);
  EXPECT_TRUE(Contains(outcome.failure, "Aborted"));
  EXPECT_EQ(AnsweredOf(outcome), Texts{"accept /top/p0"});
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
  const TestModel model(
      "container top { leaf d { type decimal64 { fraction-digits 1; } "
      "tailf:validate test_set { tailf:opaque accept; } } }");
  const Outcome outcome =
      Commit(model.Tree(""), model.Tree("<top NS><d>1.5</d></top>"),
             {PluginFile("obeys_opaque"), false});
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_NE(outcome.failure, "");
  EXPECT_EQ(outcome.failed_point, "accept");
  EXPECT_EQ(outcome.failed_path, "/top/d");
  EXPECT_FALSE(Contains(outcome.output, "escaped"));
}

}  // namespace
