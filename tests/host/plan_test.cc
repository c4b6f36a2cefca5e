#include "host/commit/plan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using host_test::TestModel;
using ipav::commit::PathOf;
using ipav::commit::PlanCalls;
using ipav::commit::PointCall;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;

using Calls = std::vector<std::string>;

// "OPAQUE PATH" of each call, in order.
Calls PlanOf(const TestModel& model, const std::string& before,
             const std::string& after) {
  const DataTree running = model.Tree(before);
  const DataTree candidate = model.Tree(after);
  const Diff diff(running, candidate);
  Calls calls;
  for (const PointCall& call : PlanCalls(candidate, diff)) {
    calls.push_back(call.site->opaque + " " + PathOf(call));
  }
  return calls;
}

std::string Point(const std::string& opaque, const std::string& more) {
  return "tailf:validate test_set { tailf:opaque \"" + opaque + "\"; " + more +
         " } ";
}

std::string DependsOn(const std::string& path) {
  return "tailf:dependency \"" + path + "\"; ";
}

// A list `l` in a container `c`, its entries with `leaves` besides the key.
std::string ListWith(const std::string& statements) {
  return "container c { leaf other { type string; } list l { key k; "
         "leaf k { type string; } leaf v { type string; } " +
         statements + " } }";
}

std::string C(const std::string& inside) { return "<c NS>" + inside + "</c>"; }

std::string L(const std::string& k, const std::string& more = "") {
  return "<l><k>" + k + "</k>" + more + "</l>";
}

// --- Dependencies

TEST(Plan, WithoutAChangeNothingThatNamesADependencyRuns) {
  const TestModel model(ListWith(Point("dot", DependsOn(".")) +
                                 Point("abs", DependsOn("/m:c")) +
                                 Point("up", DependsOn("../other"))));
  const std::string data = C("<other>x</other>" + L("1") + L("2"));
  EXPECT_EQ(PlanOf(model, data, data), Calls{});
}

TEST(Plan, DotRunsTheChangedInstanceOnly) {
  const TestModel model(ListWith(Point("dot", DependsOn("."))));
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2", "<v>a</v>") + L("3")),
                   C(L("1") + L("2", "<v>b</v>") + L("3"))),
            Calls{"dot /c/l{2}"});
}

TEST(Plan, DotSeesAChangeAtAnyDepth) {
  const TestModel model(
      ListWith("container in { list m { key k; leaf k { type string; } "
               "leaf w { type string; } } } " +
               Point("dot", DependsOn("."))));
  const auto deep = [](const char* w) {
    return std::string("<in><m><k>x</k><w>") + w + "</w></m></in>";
  };
  EXPECT_EQ(PlanOf(model, C(L("1", deep("a")) + L("2", deep("a"))),
                   C(L("1", deep("b")) + L("2", deep("a")))),
            Calls{"dot /c/l{1}"});
}

TEST(Plan, DotRunsACreatedInstance) {
  const TestModel model(ListWith(Point("dot", DependsOn("."))));
  EXPECT_EQ(PlanOf(model, C(L("1")), C(L("1") + L("2"))), Calls{"dot /c/l{2}"});
}

TEST(Plan, DeletedInstanceGetsNoCall) {
  const TestModel model(ListWith(Point("dot", DependsOn("."))));
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")), C(L("1"))), Calls{});
  EXPECT_EQ(PlanOf(model, C(L("1")), ""), Calls{});
}

TEST(Plan, DotOfAContainerSeesADeletionBelow) {
  const TestModel model("container c { leaf v { type string; } " +
                        Point("dot", DependsOn(".")) + "}");
  EXPECT_EQ(PlanOf(model, C("<v>1</v>"), ""), Calls{"dot /c"});
}

TEST(Plan, AbsoluteDependencyRunsEveryInstance) {
  const TestModel model(ListWith(Point("abs", DependsOn("/m:c/m:other"))));
  EXPECT_EQ(PlanOf(model, C("<other>x</other>" + L("1") + L("2")),
                   C("<other>y</other>" + L("1") + L("2"))),
            (Calls{"abs /c/l{1}", "abs /c/l{2}"}));
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")), C(L("1", "<v>new</v>") + L("2"))),
            Calls{});
}

TEST(Plan, DependencyReachesIntoEveryEntryOnItsWay) {
  const TestModel model(ListWith(Point("abs", DependsOn("/m:c/m:l/m:v"))) +
                        "leaf top { type string; " +
                        Point("top", DependsOn("/m:c/m:l/m:v")) + "}");
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")) + "<top NS>x</top>",
                   C(L("1") + L("2", "<v>x</v>")) + "<top NS>x</top>"),
            (Calls{"abs /c/l{1}", "abs /c/l{2}", "top /top"}));
}

TEST(Plan, UpAndDownDependencyRunsEveryEntry) {
  const TestModel model(ListWith(Point("up", DependsOn("../l/v"))));
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")), C(L("1") + L("2", "<v>x</v>"))),
            (Calls{"up /c/l{1}", "up /c/l{2}"}));
}

TEST(Plan, UpDependencyStaysWithinTheInstance) {
  const TestModel model(ListWith("container in { leaf x { type string; " +
                                 Point("up", DependsOn("../../v")) + "} }"));
  const std::string in = "<in><x>1</x></in>";
  EXPECT_EQ(PlanOf(model, C(L("1", in) + L("2", in)),
                   C(L("1", in) + L("2", "<v>x</v>" + in))),
            Calls{"up /c/l{2}/in/x"});
}

TEST(Plan, DependencySeesWhatWasDeleted) {
  const TestModel model(
      "container c { list l { key k; leaf k { type string; } "
      "leaf v { type string; } } } container d { " +
      Point("abs", DependsOn("/m:c/m:l/m:v")) + "}");
  EXPECT_EQ(PlanOf(model, C(L("1", "<v>x</v>")), C(L("1"))), Calls{"abs /d"});
  EXPECT_EQ(PlanOf(model, C(L("1", "<v>x</v>")), ""), Calls{"abs /d"});
  EXPECT_EQ(PlanOf(model, C(L("1")), ""), Calls{});
}

TEST(Plan, DependencyBelowTheNodeSeesThatPartOnly) {
  const TestModel model(ListWith("container in { leaf x { type string; } } " +
                                 Point("in", DependsOn("in/x"))));
  EXPECT_EQ(PlanOf(model, C(L("1")), C(L("1", "<v>x</v>"))), Calls{});
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")),
                   C(L("1", "<in><x>1</x></in>") + L("2"))),
            Calls{"in /c/l{1}"});
}

TEST(Plan, AnyOfSeveralDependenciesIsEnoughAndMakesOneCall) {
  const TestModel model(
      ListWith(Point("two", DependsOn("v") + DependsOn("/m:c/m:other"))));
  EXPECT_EQ(PlanOf(model, C(L("1")), C("<other>x</other>" + L("1"))),
            Calls{"two /c/l{1}"});
  EXPECT_EQ(
      PlanOf(model, C(L("1")), C("<other>x</other>" + L("1", "<v>x</v>"))),
      Calls{"two /c/l{1}"});
}

TEST(Plan, LeafDependsOnItselfWithoutSayingSo) {
  const TestModel model(
      "container c { leaf other { type string; } "
      "leaf v { type string; " +
      Point("leaf", DependsOn("../other")) + "} }");
  EXPECT_EQ(PlanOf(model, C("<v>1</v>"), C("<v>2</v>")), Calls{"leaf /c/v"});
  EXPECT_EQ(PlanOf(model, C("<v>1</v>"), C("<v>1</v><other>x</other>")),
            Calls{"leaf /c/v"});
  EXPECT_EQ(PlanOf(model, C("<v>1</v>"), C("<v>1</v>")), Calls{});
}

TEST(Plan, ContainerDoesNotDependOnItselfWithoutSayingSo) {
  const TestModel model("container c { leaf v { type string; } " +
                        Point("box", DependsOn("/m:d")) +
                        "} leaf d { type string; }");
  EXPECT_EQ(PlanOf(model, C("<v>1</v>"), C("<v>2</v>")), Calls{});
}

TEST(Plan, WithoutDependencyAPointAlwaysRuns) {
  const TestModel model(ListWith(Point("always", "")) +
                        "leaf top { "
                        "type string; " +
                        Point("top", "") + "}");
  const std::string data = C(L("1") + L("2")) + "<top NS>x</top>";
  EXPECT_EQ(PlanOf(model, data, data),
            (Calls{"always /c/l{1}", "always /c/l{2}", "top /top"}));
}

TEST(Plan, AbsentNodeGetsNoCallEvenWithoutDependency) {
  const TestModel model("container p { presence p; " + Point("p", "") +
                        "} leaf v { type string; " + Point("v", "") + "}");
  EXPECT_EQ(PlanOf(model, "", ""), Calls{});
  EXPECT_EQ(PlanOf(model, "<p NS/><v NS>1</v>", "<p NS/>"), Calls{"p /p"});
}

TEST(Plan, PlainContainerExistsAlways) {
  const TestModel model("container c { leaf v { type string; } " +
                        Point("box", "") + "}");
  EXPECT_EQ(PlanOf(model, "", ""), Calls{"box /c"});
}

TEST(Plan, DefaultInForceIsAnInstance) {
  const TestModel model("leaf v { type string; default x; " + Point("v", "") +
                        "}");
  EXPECT_EQ(PlanOf(model, "", ""), Calls{"v /v"});
}

TEST(Plan, DefaultAndTheSameExplicitValueAreNoChange) {
  const TestModel model("leaf v { type string; default x; " +
                        Point("v", DependsOn(".")) + "}");
  EXPECT_EQ(PlanOf(model, "", "<v NS>x</v>"), Calls{});
  EXPECT_EQ(PlanOf(model, "<v NS>y</v>", ""), Calls{"v /v"});
}

TEST(Plan, RootDependencySeesEveryChange) {
  const TestModel model(ListWith(Point("root", DependsOn("/"))) +
                        "leaf top { type string; }");
  EXPECT_EQ(PlanOf(model, C(L("1")), C(L("1")) + "<top NS>x</top>"),
            Calls{"root /c/l{1}"});
  EXPECT_EQ(PlanOf(model, C(L("1")), C(L("1"))), Calls{});
}

// --- Call-once

std::string Once(const std::string& opaque, const std::string& more) {
  return Point(opaque, "tailf:call-once \"true\"; " + more);
}

TEST(PlanCallOnce, IsOneCallHoweverManyEntriesWithThePathOfTheList) {
  const TestModel model(ListWith(Once("once", "")));
  EXPECT_EQ(PlanOf(model, "", C(L("1") + L("2") + L("3"))), Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, "", C(L("1"))), Calls{"once /c/l"});
}

TEST(PlanCallOnce, IsMadeWithoutAnyEntry) {
  const TestModel model(ListWith(Once("once", "")));
  EXPECT_EQ(PlanOf(model, "", ""), Calls{"once /c/l"});
}

TEST(PlanCallOnce, HasNoInstance) {
  const TestModel model(ListWith(Once("once", "")));
  const DataTree tree = model.Tree(C(L("1")));
  const Diff diff(tree, tree);
  const std::vector<PointCall> plan = PlanCalls(tree, diff);
  ASSERT_EQ(plan.size(), 1U);
  EXPECT_EQ(plan[0].instance, nullptr);
  EXPECT_EQ(plan[0].parent, host_test::NodeAt(tree, "/c"));
}

TEST(PlanCallOnce, DotSeesAnyEntryComeChangeOrGo) {
  const TestModel model(ListWith(Once("once", DependsOn("."))));
  const std::string data = C(L("1") + L("2"));
  EXPECT_EQ(PlanOf(model, data, data), Calls{});
  EXPECT_EQ(PlanOf(model, data, C(L("1") + L("2") + L("3"))),
            Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, data, C(L("1") + L("2", "<v>x</v>"))),
            Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, data, C(L("1"))), Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, data, ""), Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, data, C("<other>x</other>" + L("1") + L("2"))),
            Calls{});
}

TEST(PlanCallOnce, DependencyBelowSeesItInAnyEntry) {
  const TestModel model(
      ListWith("leaf w { type string; } " + Once("once", DependsOn("v"))));
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")), C(L("1") + L("2", "<v>x</v>"))),
            Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")), C(L("1") + L("2", "<w>x</w>"))),
            Calls{});
}

TEST(PlanCallOnce, UpDependencyStartsAtTheParentOfTheList) {
  const TestModel model(ListWith(Once("once", DependsOn("../other"))));
  EXPECT_EQ(PlanOf(model, C(L("1")), C("<other>x</other>" + L("1"))),
            Calls{"once /c/l"});
  EXPECT_EQ(PlanOf(model, C(L("1")), C(L("1") + L("2"))), Calls{});
}

TEST(PlanCallOnce, OfATopList) {
  const TestModel model("list t { key k; leaf k { type string; } " +
                        Once("once", DependsOn(".")) + "}");
  EXPECT_EQ(PlanOf(model, "", ""), Calls{});
  EXPECT_EQ(PlanOf(model, "", "<t NS><k>1</k></t>"), Calls{"once /t"});
  EXPECT_EQ(PlanOf(model, "<t NS><k>1</k></t>", ""), Calls{"once /t"});
}

TEST(PlanCallOnce, OfAListInAListIsOneCallPerOuterEntry) {
  const TestModel model(ListWith("list m { key k; leaf k { type string; } " +
                                 Once("once", DependsOn(".")) +
                                 Once("always", "") + "}"));
  const std::string m = "<m><k>x</k></m>";
  EXPECT_EQ(PlanOf(model, C(L("1") + L("2")), C(L("1", m) + L("2"))),
            (Calls{"once /c/l{1}/m", "always /c/l{1}/m", "always /c/l{2}/m"}));
}

// --- Order

TEST(PlanOrder, IsByPriorityThenModelThenDocument) {
  const TestModel model(ListWith(Point("late", "tailf:priority 5;") +
                                 Point("a", "") +
                                 Point("early", "tailf:priority -5;")) +
                        "leaf top { type string; " + Point("b", "") +
                        Point("early-too", "tailf:priority -5;") + "}");
  EXPECT_EQ(
      PlanOf(model, "", C(L("2") + L("1")) + "<top NS>x</top>"),
      (Calls{"early /c/l{2}", "early /c/l{1}", "early-too /top", "a /c/l{2}",
             "a /c/l{1}", "b /top", "late /c/l{2}", "late /c/l{1}"}));
}

TEST(PlanOrder, OfInstancesInNestedListsIsThatOfTheDocument) {
  const TestModel model(ListWith("list m { key k; leaf k { type string; } " +
                                 Point("m", "") + "}"));
  const auto m = [](const std::string& k) { return "<m><k>" + k + "</k></m>"; };
  EXPECT_EQ(PlanOf(model, "", C(L("2", m("z") + m("a")) + L("1", m("b")))),
            (Calls{"m /c/l{2}/m{z}", "m /c/l{2}/m{a}", "m /c/l{1}/m{b}"}));
}

// --- Causes

// "OPAQUE: DEPENDENCY..." of each call, "itself" for a changed leaf.
Calls CausesOf(const TestModel& model, const std::string& before,
               const std::string& after) {
  const DataTree running = model.Tree(before);
  const DataTree candidate = model.Tree(after);
  const Diff diff(running, candidate);
  Calls causes;
  for (const PointCall& call : PlanCalls(candidate, diff)) {
    const ipav::commit::Cause cause = ipav::commit::CauseOf(diff, call);
    std::string text = call.site->opaque + ":";
    if (cause.by_itself) text += " itself";
    for (const auto* dependency : cause.dependencies) {
      text += " " + dependency->text;
    }
    causes.push_back(text);
  }
  return causes;
}

TEST(PlanCause, IsEachDependencyWithAChangeAndNoOther) {
  const TestModel model(ListWith(
      Point("some", DependsOn("v") + DependsOn("k") + DependsOn("../other"))));
  const std::string before = C("<other>x</other>" + L("1", "<v>a</v>"));
  EXPECT_EQ(CausesOf(model, before, C("<other>y</other>" + L("1"))),
            Calls{"some: v ../other"});
  EXPECT_EQ(CausesOf(model, "", C(L("1"))), Calls{"some: k"});
}

TEST(PlanCause, OfALeafIsItselfWhereItChanged) {
  const TestModel model("container c { leaf a { type string; " +
                        Point("leaf", DependsOn("../b")) +
                        "} leaf b { type string; } }");
  EXPECT_EQ(CausesOf(model, C("<a>1</a>"), C("<a>2</a>")),
            Calls{"leaf: itself"});
  EXPECT_EQ(CausesOf(model, C("<a>1</a>"), C("<a>1</a><b>x</b>")),
            Calls{"leaf: ../b"});
}

TEST(PlanCause, OfAPointThatAlwaysRunsIsNone) {
  const TestModel model("container c { leaf a { type string; " +
                        Point("leaf", "") + "} }");
  EXPECT_EQ(CausesOf(model, C("<a>1</a>"), C("<a>2</a>")), Calls{"leaf:"});
}

}  // namespace
