#include "host/commit/commit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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
using host_test::TestModel;
using ipav::base::TimeLimit;
using ipav::commit::Answer;
using ipav::commit::Options;
using ipav::commit::Outcome;
using ipav::commit::RunCommit;
using ipav::commit::Verdict;
using ipav::datastore::DataTree;

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

constexpr TimeLimit kLongTime(20000);

// The commit of this data, with a model of that body, to an empty device.
Outcome RunData(const std::string& body, const std::string& data,
                bool all = false, const std::string& plugin = "obeys_opaque",
                TimeLimit limit = kLongTime) {
  const TestModel model(body);
  return Commit(model.Tree(""), model.Tree(data),
                {PluginFile(plugin), all, limit});
}

// The commit that sets the leaf of each of these opaque texts, which calls
// their points one after another.
Outcome RunOpaques(const Texts& opaques, bool all = false) {
  return RunData(BodyOf(opaques), DataOf(opaques), all);
}

// The commit that calls one point of another plug-in.
Outcome RunPlugin(const std::string& plugin, TimeLimit limit = kLongTime) {
  return RunData(BodyOf({"accept"}), DataOf({"accept"}), false, plugin, limit);
}

Texts AnsweredOf(const Outcome& outcome) {
  Texts answered;
  for (const Answer& answer : outcome.answers) {
    answered.push_back(answer.opaque + " " + answer.path);
  }
  return answered;
}

void ExpectNoFailure(const Outcome& outcome) {
  EXPECT_NE(outcome.verdict, Verdict::kPluginFailed);
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

void ExpectFailureOutsideOfPoints(const Outcome& outcome,
                                  const Texts& answered) {
  EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
  EXPECT_EQ(AnsweredOf(outcome), answered);
  EXPECT_EQ(outcome.failed_point, "");
  EXPECT_EQ(outcome.failed_path, "");
}

void ExpectAnswer(const Answer& answer, std::int32_t result,
                  const std::optional<std::string>& text) {
  EXPECT_EQ(answer.result, result);
  EXPECT_EQ(answer.text, text);
  EXPECT_EQ(answer.exception, std::nullopt);
}

// --- Verdicts

TEST(CommitRun, ThatEveryPointAcceptsIsAccepted) {
  const Outcome outcome = RunOpaques({"accept", "accept"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  EXPECT_EQ(AnsweredOf(outcome), (Texts{"accept /top/p0", "accept /top/p1"}));
  EXPECT_EQ(outcome.planned, 2U);
  for (const Answer& answer : outcome.answers) ExpectAnswer(answer, 0, {});
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
  ExpectAnswer(outcome.answers.at(1), CONFD_ERR, "refused for a reason.");
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

TEST(CommitRun, KeepsResultAndTextVerbatim) {
  const struct {
    const char* opaque;
    std::int32_t result;
    std::optional<std::string> text;
  } cases[] = {
      {"refuse-silently", CONFD_ERR, {}},
      {"refuse-oddly", CONFD_ERR, "first line\n100% sure, not %s %n\n"},
      {"refuse-at-length", CONFD_ERR, std::string(1000000, 'x')},
      {"refuse-in-odd-bytes", CONFD_ERR,
       "one\ntwo\r\n\n\ttab {} %s\x1b[31mred\x07\xff\xc3( \xed\xa0\x80"},
      {"return-5", 5, {}}};
  for (const auto& [opaque, result, text] : cases) {
    const Outcome outcome = RunOpaques({opaque});
    EXPECT_EQ(outcome.verdict, Verdict::kRefused) << opaque;
    ExpectAnswer(outcome.answers.at(0), result, text);
  }
}

TEST(CommitRun, ContinuesAfterAWarning) {
  const Outcome outcome = RunOpaques({"warn", "warn-silently"});
  EXPECT_EQ(outcome.verdict, Verdict::kAccepted);
  ASSERT_EQ(outcome.answers.size(), 2U);
  ExpectAnswer(outcome.answers[0], CONFD_VALIDATION_WARN, "think again");
  ExpectAnswer(outcome.answers[1], CONFD_VALIDATION_WARN, {});
  EXPECT_TRUE(Accepts(outcome.answers[0]));
}

TEST(CommitRun, IsRefusedByAnAnswerAfterAWarning) {
  const Outcome outcome = RunOpaques({"warn", "return-1", "return--2"}, true);
  EXPECT_EQ(outcome.verdict, Verdict::kRefused);
  ASSERT_EQ(outcome.answers.size(), 3U);
  ExpectAnswer(outcome.answers[1], 1, "a number of its own");
  ExpectAnswer(outcome.answers[2], -2, "a number of its own");
  EXPECT_FALSE(Accepts(outcome.answers[1]));
  EXPECT_FALSE(Accepts(outcome.answers[2]));
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
      "<a NS>x</a><b NS>x</b>", true);
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
  const Texts opaques = {"sticky", "sticky"};
  const std::string bad = DataOf(opaques, "<bad>x</bad>");
  for (const std::string& data : {bad, DataOf(opaques), bad}) {
    const Outcome outcome = RunData(BodyOf(opaques), data, true);
    EXPECT_EQ(outcome.verdict,
              data == bad ? Verdict::kRefused : Verdict::kAccepted);
    // All points of a commit have the same context.
    EXPECT_EQ(AnsweredOf(outcome), (Texts{"sticky /top/p0", "sticky /top/p1"}));
    EXPECT_EQ(outcome.calls.at("maapi_exists"), 1U);
  }
}

TEST(CommitRun, StartsAndFinishesThePluginOnceEachTime) {
  const Texts opaques = {"count-lives", "count-lives"};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(RunOpaques(opaques).faults,
              (Texts{"call in life 1", "lib_finish 1"}));
    EXPECT_EQ(RunOpaques(opaques, true).faults,
              (Texts{"call in life 1", "call in life 1", "lib_finish 1"}));
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
  const std::pair<const char*, const char*> cases[] = {
      {"throw", "thrown for a reason"}, {"throw-int", "not a std::exception"}};
  for (const auto& [opaque, exception] : cases) {
    const Outcome outcome = RunOpaques({opaque, "accept"});
    EXPECT_EQ(outcome.verdict, Verdict::kPluginFailed);
    EXPECT_EQ(AnsweredOf(outcome), Texts{opaque + std::string(" /top/p0")});
    EXPECT_EQ(outcome.answers.at(0).exception, exception);
    EXPECT_FALSE(outcome.answers.at(0).text.has_value());
    EXPECT_FALSE(Contains(outcome.output, "escaped"));
  }
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

TEST(Misbehaving, EndOfTheProcessIsReportedWithItsPointAndReason) {
  const std::pair<const char*, const char*> cases[] = {
      {"null", "killed by signal: Segmentation fault"},
      {"overflow-stack", "killed by signal: Segmentation fault"},
      {"print-and-abort", "killed by signal: Aborted"},
      {"kill-parent", "killed by signal: Killed"},
      {"exit-0", "ended the process with status 0"},
      {"exit-7", "ended the process with status 7"},
      {"_exit", "ended the process with status 0"},
      {"write-for-ever", "wrote without end, and was stopped"},
      {"report-for-ever", "wrote without end, and was stopped"}};
  for (const auto& [opaque, failure] : cases) {
    const Outcome outcome = RunOpaques({opaque});
    ExpectFailureAtPoint(outcome, opaque);
    EXPECT_EQ(outcome.failure, failure);
    if (opaque == std::string("print-and-abort")) {
      EXPECT_TRUE(Contains(outcome.output, "last words\n"));
    }
  }
  // Its end is not the same with every tool that watches it.
  ExpectFailureAtPoint(RunOpaques({"close-files"}), "close-files");
  // The host has survived all of this.
  EXPECT_EQ(RunOpaques({"accept"}).verdict, Verdict::kAccepted);
}

// Enough to come to the place of the hang on a busy machine.
constexpr TimeLimit kShortTime(1000);

Outcome RunBriefly(const Texts& opaques) {
  return RunData(BodyOf(opaques), DataOf(opaques), false, "obeys_opaque",
                 kShortTime);
}

TEST(Misbehaving, HangingPointIsReportedWithItsTimeLimit) {
  for (const char* deed : {"hang", "spin", "spawn-and-hang"}) {
    const Outcome outcome = RunBriefly({deed});
    ExpectFailureAtPoint(outcome, deed);
    EXPECT_EQ(outcome.failure, "did not answer within 1 second");
  }
}

TEST(Misbehaving, FailureOutsideOfAPointIsReportedWithItsPlace) {
  const Texts answered = {"accept /top/p0"};
  const std::string aborted = "killed by signal: Aborted, ";
  const std::string late = "did not answer within 1 second, ";
  const struct {
    const char* plugin;
    std::size_t planned;
    std::string failure;
    Texts answered;
  } cases[] = {
      {"throws_in_name", 0, "no name today", {}},
      {"fails_in_init", 1, "lib_init failed", {}},
      {"throws_in_init", 1, "lib_init threw: no memory for the snapshot", {}},
      {"throws_int_in_init", 1, "lib_init threw: not a std::exception", {}},
      {"throws_in_finish", 1, "lib_finish threw: nothing to free", answered},
      {"aborts_in_init", 1, aborted + "in lib_init", {}},
      {"aborts_in_finish", 1, aborted + "in lib_finish", answered},
      {"aborts_on_unload", 1, aborted + "while it was unloaded", answered},
      {"hangs_on_load", 0, late + "while it was loaded", {}},
      {"hangs_in_name", 0, late + "in get_validation_point", {}},
      {"hangs_in_init", 1, late + "in lib_init", {}},
      {"hangs_in_finish", 1, late + "in lib_finish", answered},
      {"hangs_on_unload", 1, late + "while it was unloaded", answered}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.plugin);
    const bool hangs = one.failure.rfind(late, 0) == 0;
    const Outcome outcome =
        RunPlugin(one.plugin, hangs ? kShortTime : kLongTime);
    ExpectFailureOutsideOfPoints(outcome, one.answered);
    EXPECT_EQ(outcome.failure, one.failure);
    EXPECT_EQ(outcome.planned, one.planned);
    EXPECT_FALSE(Contains(outcome.output, "escaped"));
  }
}

Outcome RunWithRows(const std::string& deed) {
  return RunData(
      "container top { list row { key k; leaf k { type string; } } "
      "leaf p0 { type string; tailf:validate test_set { tailf:opaque \"" +
          deed + "\"; tailf:dependency \".\"; } } }",
      "<top NS><row><k>a</k></row><p0>x</p0></top>");
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
