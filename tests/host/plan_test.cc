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

// A change, and the calls that it makes.
struct Commit {
  std::string before;
  std::string after;
  Calls calls;
};

void ExpectCalls(const std::string& body, const std::vector<Commit>& commits) {
  const TestModel model(body);
  for (const auto& [before, after, calls] : commits) {
    EXPECT_EQ(PlanOf(model, before, after), calls) << before << " " << after;
  }
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
  const std::string data = C("<other>x</other>" + L("1") + L("2"));
  ExpectCalls(
      ListWith(Point("dot", DependsOn(".")) + Point("abs", DependsOn("/m:c")) +
               Point("up", DependsOn("../other"))),
      {{data, data, {}}});
}

TEST(Plan, RunsTheInstancesOfADependency) {
  // "." is the instance that changed.
  ExpectCalls(ListWith(Point("dot", DependsOn("."))),
              {{C(L("1") + L("2", "<v>a</v>") + L("3")),
                C(L("1") + L("2", "<v>b</v>") + L("3")),
                {"dot /c/l{2}"}},
               {C(L("1")), C(L("1") + L("2")), {"dot /c/l{2}"}},
               // A deleted instance gets no call.
               {C(L("1") + L("2")), C(L("1")), {}},
               {C(L("1")), "", {}}});
  // "." of a container changes with a deletion below it.
  ExpectCalls("container c { leaf v { type string; } " +
                  Point("dot", DependsOn(".")) + "}",
              {{C("<v>1</v>"), "", {"dot /c"}}});
  // An absolute path runs every instance.
  ExpectCalls(ListWith(Point("abs", DependsOn("/m:c/m:other"))),
              {{C("<other>x</other>" + L("1") + L("2")),
                C("<other>y</other>" + L("1") + L("2")),
                {"abs /c/l{1}", "abs /c/l{2}"}},
               {C(L("1") + L("2")), C(L("1", "<v>new</v>") + L("2")), {}}});
  // A path leads into every entry on its way.
  const std::string top = "<top NS>x</top>";
  ExpectCalls(ListWith(Point("abs", DependsOn("/m:c/m:l/m:v"))) +
                  "leaf top { type string; " +
                  Point("top", DependsOn("/m:c/m:l/m:v")) + "}",
              {{C(L("1") + L("2")) + top,
                C(L("1") + L("2", "<v>x</v>")) + top,
                {"abs /c/l{1}", "abs /c/l{2}", "top /top"}}});
  // A path up and down runs every entry.
  ExpectCalls(ListWith(Point("up", DependsOn("../l/v"))),
              {{C(L("1") + L("2")),
                C(L("1") + L("2", "<v>x</v>")),
                {"up /c/l{1}", "up /c/l{2}"}}});
}

TEST(Plan, DotSeesAChangeAtAnyDepth) {
  const auto deep = [](const char* w) {
    return std::string("<in><m><k>x</k><w>") + w + "</w></m></in>";
  };
  ExpectCalls(ListWith("container in { list m { key k; leaf k { type string; } "
                       "leaf w { type string; } } } " +
                       Point("dot", DependsOn("."))),
              {{C(L("1", deep("a")) + L("2", deep("a"))),
                C(L("1", deep("b")) + L("2", deep("a"))),
                {"dot /c/l{1}"}}});
}

TEST(Plan, UpDependencyStaysWithinTheInstance) {
  const std::string in = "<in><x>1</x></in>";
  ExpectCalls(ListWith("container in { leaf x { type string; " +
                       Point("up", DependsOn("../../v")) + "} }"),
              {{C(L("1", in) + L("2", in)),
                C(L("1", in) + L("2", "<v>x</v>" + in)),
                {"up /c/l{2}/in/x"}}});
}

TEST(Plan, RunsForAChangeOfADependency) {
  // What was deleted counts.
  ExpectCalls(ListWith("") + " container d { " +
                  Point("abs", DependsOn("/m:c/m:l/m:v")) + "}",
              {{C(L("1", "<v>x</v>")), C(L("1")), {"abs /d"}},
               {C(L("1", "<v>x</v>")), "", {"abs /d"}},
               {C(L("1")), "", {}}});
  // Of a path below the node, only that part counts.
  ExpectCalls(ListWith("container in { leaf x { type string; } } " +
                       Point("in", DependsOn("in/x"))),
              {{C(L("1")), C(L("1", "<v>x</v>")), {}},
               {C(L("1") + L("2")),
                C(L("1", "<in><x>1</x></in>") + L("2")),
                {"in /c/l{1}"}}});
  // A leaf depends on itself without saying so,
  ExpectCalls(
      "container c { leaf other { type string; } "
      "leaf v { type string; " +
          Point("leaf", DependsOn("../other")) + "} }",
      {{C("<v>1</v>"), C("<v>2</v>"), {"leaf /c/v"}},
       {C("<v>1</v>"), C("<v>1</v><other>x</other>"), {"leaf /c/v"}},
       {C("<v>1</v>"), C("<v>1</v>"), {}}});
  // a container does not.
  ExpectCalls("container c { leaf v { type string; } " +
                  Point("box", DependsOn("/m:d")) + "} leaf d { type string; }",
              {{C("<v>1</v>"), C("<v>2</v>"), {}}});
  // Below the root, every change counts.
  ExpectCalls(
      ListWith(Point("root", DependsOn("/"))) + "leaf top { type string; }",
      {{C(L("1")), C(L("1")) + "<top NS>x</top>", {"root /c/l{1}"}},
       {C(L("1")), C(L("1")), {}}});
}

TEST(Plan, AnyOfSeveralDependenciesIsEnoughAndMakesOneCall) {
  const std::string other = "<other>x</other>";
  ExpectCalls(
      ListWith(Point("two", DependsOn("v") + DependsOn("/m:c/m:other"))),
      {{C(L("1")), C(other + L("1")), {"two /c/l{1}"}},
       {C(L("1")), C(other + L("1", "<v>x</v>")), {"two /c/l{1}"}}});
}

TEST(Plan, WithoutDependencyAPointAlwaysRuns) {
  const std::string data = C(L("1") + L("2")) + "<top NS>x</top>";
  ExpectCalls(ListWith(Point("always", "")) + "leaf top { type string; " +
                  Point("top", "") + "}",
              {{data, data, {"always /c/l{1}", "always /c/l{2}", "top /top"}}});
}

TEST(Plan, RunsForNodesThatExist) {
  // An absent node gets no call, even without a dependency.
  ExpectCalls("container p { presence p; " + Point("p", "") +
                  "} leaf v { type string; " + Point("v", "") + "}",
              {{"", "", {}}, {"<p NS/><v NS>1</v>", "<p NS/>", {"p /p"}}});
  // A container without presence always exists.
  ExpectCalls("container c { leaf v { type string; } " + Point("box", "") + "}",
              {{"", "", {"box /c"}}});
  // A default in force is an instance.
  ExpectCalls("leaf v { type string; default x; " + Point("v", "") + "}",
              {{"", "", {"v /v"}}});
  // A default and the same written value are no change.
  ExpectCalls(
      "leaf v { type string; default x; " + Point("v", DependsOn(".")) + "}",
      {{"", "<v NS>x</v>", {}}, {"<v NS>y</v>", "", {"v /v"}}});
}

// --- Call-once

std::string Once(const std::string& opaque, const std::string& more) {
  return Point(opaque, "tailf:call-once \"true\"; " + more);
}

TEST(PlanCallOnce, IsACallForTheListItself) {
  // However many entries there are.
  ExpectCalls(ListWith(Once("once", "")),
              {{"", C(L("1") + L("2") + L("3")), {"once /c/l"}},
               {"", C(L("1")), {"once /c/l"}},
               {"", "", {"once /c/l"}}});
  // A path up starts at the parent of the list.
  ExpectCalls(ListWith(Once("once", DependsOn("../other"))),
              {{C(L("1")), C("<other>x</other>" + L("1")), {"once /c/l"}},
               {C(L("1")), C(L("1") + L("2")), {}}});
  // A list at the top.
  const std::string entry = "<t NS><k>1</k></t>";
  ExpectCalls(
      "list t { key k; leaf k { type string; } " +
          Once("once", DependsOn(".")) + "}",
      {{"", "", {}}, {"", entry, {"once /t"}}, {entry, "", {"once /t"}}});
  // A list in a list: a call for each outer entry.
  ExpectCalls(ListWith("list m { key k; leaf k { type string; } " +
                       Once("once", DependsOn(".")) + Once("always", "") + "}"),
              {{C(L("1") + L("2")),
                C(L("1", "<m><k>x</k></m>") + L("2")),
                {"once /c/l{1}/m", "always /c/l{1}/m", "always /c/l{2}/m"}}});
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
  const std::string data = C(L("1") + L("2"));
  ExpectCalls(ListWith(Once("once", DependsOn("."))),
              {{data, data, {}},
               {data, C(L("1") + L("2") + L("3")), {"once /c/l"}},
               {data, C(L("1") + L("2", "<v>x</v>")), {"once /c/l"}},
               {data, C(L("1")), {"once /c/l"}},
               {data, "", {"once /c/l"}},
               {data, C("<other>x</other>" + L("1") + L("2")), {}}});
}

TEST(PlanCallOnce, DependencyBelowSeesItInAnyEntry) {
  const std::string data = C(L("1") + L("2"));
  ExpectCalls(
      ListWith("leaf w { type string; } " + Once("once", DependsOn("v"))),
      {{data, C(L("1") + L("2", "<v>x</v>")), {"once /c/l"}},
       {data, C(L("1") + L("2", "<w>x</w>")), {}}});
}

// --- Order

TEST(PlanOrder, IsByPriorityThenModelThenDocument) {
  ExpectCalls(
      ListWith(Point("late", "tailf:priority 5;") + Point("a", "") +
               Point("early", "tailf:priority -5;")) +
          "leaf top { type string; " + Point("b", "") +
          Point("early-too", "tailf:priority -5;") + "}",
      {{"",
        C(L("2") + L("1")) + "<top NS>x</top>",
        {"early /c/l{2}", "early /c/l{1}", "early-too /top", "a /c/l{2}",
         "a /c/l{1}", "b /top", "late /c/l{2}", "late /c/l{1}"}}});
}

TEST(PlanOrder, OfInstancesInNestedListsIsThatOfTheDocument) {
  const auto m = [](const std::string& k) { return "<m><k>" + k + "</k></m>"; };
  ExpectCalls(ListWith("list m { key k; leaf k { type string; } " +
                       Point("m", "") + "}"),
              {{"",
                C(L("2", m("z") + m("a")) + L("1", m("b"))),
                {"m /c/l{2}/m{z}", "m /c/l{2}/m{a}", "m /c/l{1}/m{b}"}}});
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
