// The engine judges edits as a commit of the edited configuration is judged.
#include "host/engine/engine.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/diff.h"
#include "host/engine/edits.h"
#include "host/plugin/plugin.h"
#include "host/view/change_list.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::Contains;
using host_test::L3With;
using host_test::ProjectModel;
using host_test::ProjectTree;
using host_test::TestModel;
using ipav::commit::Answer;
using ipav::commit::Options;
using ipav::commit::Outcome;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;
using ipav::engine::Edit;
using ipav::engine::Edited;
using ipav::engine::EditError;
using ipav::engine::Engine;

using Edits = std::vector<Edit>;

constexpr ipav::base::TimeLimit kLimit{20000};

void ExpectSame(const Outcome& outcome, const Outcome& expected) {
  const auto fields = [](const Outcome& of) {
    std::vector<std::string> texts = {of.failure, of.failed_point,
                                      of.failed_path, of.output};
    for (const Answer& answer : of.answers) {
      texts.insert(texts.end(),
                   {answer.opaque, answer.path, std::to_string(answer.result),
                    answer.text.value_or("no text"),
                    answer.exception.value_or("none thrown")});
    }
    for (const auto* more : {&of.faults, &of.left_open, &of.debug_lines}) {
      texts.insert(texts.end(), more->begin(), more->end());
    }
    return std::make_tuple(of.verdict, of.planned, of.calls, std::move(texts));
  };
  EXPECT_EQ(fields(outcome), fields(expected));
}

// Each change with its values.
std::vector<std::string> ChangesOf(const Diff& diff) {
  std::vector<std::string> texts;
  for (const auto& change : ipav::view::ListChanges(diff)) {
    texts.push_back(change.path);
    for (const auto* values : {&change.before, &change.after}) {
      texts.insert(texts.end(), values->begin(), values->end());
    }
  }
  return texts;
}

std::string ErrorOf(Engine& engine, const Edits& edits) {
  try {
    engine.Judge(edits);
  } catch (const EditError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no EditError";
  return "";
}

// --- Edits

constexpr char kL3[] = "/config/interface/l3{a}";

std::string Running() {
  return L3With(
      "<mtu>1400</mtu><ipv4><address><ip>10.0.0.1/24</ip><secondary>"
      "<ip>10.1.0.1/24</ip></secondary></address></ipv4>");
}

TEST(Edits, LeadToTheConfigurationThatAFileWouldHold) {
  const std::string a = kL3;
  const std::string b = "/config/interface/l3{b}";
  const std::string addresses =
      "<ipv4><address><ip>10.0.0.1/24</ip><secondary><ip>10.1.0.1/24</ip>"
      "</secondary></address></ipv4>";
  const struct {
    Edits edits;
    std::string text;
  } cases[] = {
      {{}, Running()},
      {{{a + "/mtu", "1300"}}, L3With("<mtu>1300</mtu>" + addresses)},
      {{{a + "/mtu", "1300"}, {a + "/vrf", "blue"}, {a + "/mtu", "1200"}},
       L3With("<vrf>blue</vrf><mtu>1200</mtu>" + addresses)},
      {{{a + "/mtu", "1400"}}, Running()},
      {{{a + "/mtu", std::nullopt}}, L3With(addresses)},  // has a default
      {{{a + "/vrf", "blue"}},
       L3With("<vrf>blue</vrf><mtu>1400</mtu>" + addresses)},
      {{{a + "/ipv4/address/secondary{10.1.0.1/24}", std::nullopt},
        {a + "/ipv4/address/secondary{10.2.0.1/24}", ""}},
       L3With("<mtu>1400</mtu><ipv4><address><ip>10.0.0.1/24</ip><secondary>"
              "<ip>10.2.0.1/24</ip></secondary></address></ipv4>")},
      {{{a, std::nullopt}, {b + "/mtu", "1300"}},
       "<config xmlns=\"urn:vorplex:config\"><interface>"
       "<l3 xmlns=\"urn:vorplex:ipapp\"><name>b</name><mtu>1300</mtu></l3>"
       "</interface></config>"},
      {{{"/config", std::nullopt}}, ""},
      {{{"/config", std::nullopt}, {a + "/mtu", "1400"}},
       L3With("<mtu>1400</mtu>")}};
  const DataTree running = ProjectTree(Running());
  int with_leaves_only = 0;
  for (const auto& one : cases) {
    SCOPED_TRACE(one.text);
    const DataTree expected = one.text.empty() ? DataTree::Empty(ProjectModel())
                                               : ProjectTree(one.text);
    ipav::datastore::Leaves leaves;
    const DataTree edited = Edited(ProjectTree(Running()), one.edits, &leaves);
    EXPECT_TRUE(Diff(expected, edited).top().empty());
    EXPECT_TRUE(Diff(edited, expected).top().empty());
    with_leaves_only += leaves.has_value() ? 1 : 0;
    EXPECT_EQ(ChangesOf(Diff(running, edited, leaves)),
              ChangesOf(Diff(running, edited)));
  }
  EXPECT_EQ(with_leaves_only, 5);
}

// An address of IPv6 has many texts, and is one key.
TEST(Edits, NameAnEntryByAnyTextOfItsKey) {
  const std::string list = std::string(kL3) + "/ipv6/address";
  const std::string as_written = list + "{2001:DB8:0::1/64}";
  const std::string other = list + "{2001:db8::1/64}";
  const auto with = [](const std::string& addresses) {
    return L3With("<mtu>1400</mtu><ipv6>" + addresses + "</ipv6>");
  };
  const std::string one = "<address><ip>2001:DB8:0::1/64</ip></address>";
  const std::string two = "<address><ip>2001:db8::2/64</ip></address>";
  const struct {
    Edits edits;
    std::string text;
  } cases[] = {
      {{{other, ""}}, with(one)},
      {{{other + "/ip", "2001:db8:0:0::1/64"}}, with(one)},
      {{{other, std::nullopt}}, L3With("<mtu>1400</mtu>")},
      {{{as_written, std::nullopt}}, L3With("<mtu>1400</mtu>")},
      {{{list + "{2001:DB8::2/64}", ""}, {list + "{2001:db8:0::2/64}", ""}},
       with(one + two)},
      {{{list + "{2001:DB8::2/64}/ip", "2001:db8::2/64"}}, with(one + two)}};
  for (const auto& [edits, text] : cases) {
    SCOPED_TRACE(edits[0].path);
    const DataTree expected = ProjectTree(text);
    const DataTree edited = Edited(ProjectTree(with(one)), edits);
    EXPECT_TRUE(Diff(expected, edited).top().empty());
    EXPECT_TRUE(Diff(edited, expected).top().empty());
  }
}

// Nodes that only a data model of another kind has.
TEST(Edits, ReplaceDefaultsAndFindEveryKey) {
  const TestModel model(
      "container c { leaf-list l { type string; default x; default y; } "
      "list e { key k; leaf k { type string; } leaf v { type string; } } }");
  const auto with = [&](const std::string& v, const std::string& more) {
    return model.Tree("<c NS><e><k>'\"</k><v>" + v + "</v></e>" + more +
                      "</c>");
  };
  const struct {
    Edit edit;
    DataTree expected;
  } cases[] = {{{"/c/l", "1"}, with("a", "<l>1</l>")},
               {{"/c/e{\"'\\\"\"}/v", "b"}, with("b", "")}};
  for (const auto& [edit, expected] : cases) {
    SCOPED_TRACE(edit.path);
    const DataTree edited = Edited(with("a", ""), {edit});
    EXPECT_TRUE(Diff(expected, edited).top().empty());
    EXPECT_FALSE(Diff(with("a", ""), edited).top().empty());
  }
}

TEST(Edits, AreRefusedWithTheReason) {
  const std::string a = kL3;
  const DataTree running = ProjectTree(Running());
  Engine engine(running, {IPAV_PLUGIN, true, kLimit});
  const struct {
    Edit edit;
    const char* reason;
  } cases[] = {
      {{a + "/color", "red"},
       "/color: bad path: color is unknown to the model"},
      {{a + "/mtu", "many"}, "Invalid type"},
      {{a + "/mtu", "9999999"}, "9999999"},
      {{"mtu", "1400"}, "mtu: "},
      {{"", "1400"}, ": "},
      {{a + "/name", "b"}, "/name: it is the key of an entry"},
      {{a + "/name", std::nullopt}, "/name: it is the key of an entry"},
      {{"/config/interface/l3{b}/name", "a"},
       "l3{b}/name: it is the key of an entry"},
      {{a + "/ipv4/address/secondary{10.2.0.1/24}/ip", "10.3.0.1/24"},
       "secondary{10.2.0.1/24}/ip: it is the key of an entry"},
      {{a + "/ipv6/address{x}", ""}, "/ipv6/address{x}: "},
      {{a + "/vrf", std::nullopt}, "/vrf: there is no such node"},
      {{a + "/color", std::nullopt},
       "/color: bad path: color is unknown to the model"},
      {{"/config/interface/l3", ""}, "/l3: l3 needs its keys"},
      {{"/config/interface/l3{a b}", ""}, "wrong number of keys for l3"},
      {{a + "/ipv4", "10.0.0.1/24"}, "/ipv4: only a leaf has a value"},
      {{"/config/interface/l3{nam=b}/mtu", "1400"},
       "with the values of its keys only: l3{name}"},
      {{"/config/interface/l3[name='a']/mtu", "1400"},
       "with the values of its keys only: l3{name}"},
      {{"/config/interface/l3{\"'\\\"\"}", ""},
       "a key with both kinds of quotes"},
      {{a + "/vrf", std::string("a\0b", 3)}, "an edit with a NUL character"}};
  for (const auto& one : cases) {
    EXPECT_TRUE(Contains(ErrorOf(engine, {one.edit}), one.reason));
  }
}

TEST(Edits, AreRefusedWhereTheModelRefusesTheWhole) {
  const TestModel model(
      "container top { leaf a { type string; } "
      "leaf b { type string; must \"../a\" { error-message \"b needs a\"; } } "
      "}");
  const DataTree tree = model.Tree("<top NS><a>1</a><b>2</b></top>");
  Engine engine(tree, {IPAV_PLUGIN, true, kLimit});
  EXPECT_EQ(ErrorOf(engine, {{"/top/a", std::nullopt}}), "/top/b: b needs a");
}

// --- Verdicts

TEST(Engine, JudgesEditsLikeACommit) {
  const std::string a = kL3;
  const std::string b = "/config/interface/l3{b}";
  const Edits cases[] = {
      {},
      {{a + "/mtu", "1300"}},
      {{a + "/ipv4/address/ip", "10.0.0.0/24"}},
      {{a + "/ipv4/address/ip", "10.1.0.1/24"}},
      {{a + "/ipv4/address/ip", "10.3.0.1/24"}},
      {{a + "/ipv4/address/secondary{10.1.0.1/24}", std::nullopt}},
      {{b + "/ipv4/address/ip", "10.0.0.2/24"}},
      {{a, std::nullopt}}};
  const DataTree running = ProjectTree(Running());
  const Options options{IPAV_PLUGIN, true, kLimit};
  Engine engine(running, options);
  for (int i = 0; i < 2; ++i) {
    for (const Edits& edits : cases) {
      SCOPED_TRACE(edits.empty() ? "" : edits[0].path);
      const DataTree candidate = Edited(ProjectTree(Running()), edits);
      ExpectSame(engine.Judge(edits),
                 ipav::commit::RunCommit(running, candidate, options));
    }
  }
}

// What a plug-in does wrong is told as in a commit, and harms no later verdict.
TEST(Engine, OutlivesThePlugin) {
  const std::vector<std::string> deeds = {
      "accept",         "refuse",        "throw",       "print-and-abort",
      "null",           "exit-0",        "_exit",       "overflow-stack",
      "leave-open",     "close-all",     "close-files", "kill-parent",
      "spawn-and-hang", "write-for-ever"};
  std::string leaves;
  for (const std::string& deed : deeds) {
    leaves += "leaf " + deed +
              " { type string; tailf:validate test_set { tailf:opaque " + deed +
              "; tailf:dependency \".\"; } } ";
  }
  const TestModel model("container top { " + leaves + "}");
  const DataTree running = model.Tree("");
  const Options options{std::string(IPAV_TEST_PLUGINS) + "/obeys_opaque.so",
                        false, ipav::base::TimeLimit(2000)};
  Engine engine(running, options);
  for (const std::string& deed : deeds) {
    SCOPED_TRACE(deed);
    const Edits edits = {{"/top/" + deed, "x"}};
    const DataTree candidate = Edited(model.Tree(""), edits);
    Outcome expected = ipav::commit::RunCommit(running, candidate, options);
    Outcome outcome = engine.Judge(edits);
    for (Outcome* each : {&outcome, &expected}) {  // names processes
      if (deed == "spawn-and-hang") each->debug_lines.clear();
    }
    ExpectSame(outcome, expected);
    EXPECT_EQ(engine.Judge({{"/top/accept", "x"}}).verdict,
              ipav::commit::Verdict::kAccepted);
  }
}

TEST(Engine, LeavesNoProcess) {
  const DataTree running = ProjectTree(Running());
  {
    Engine engine(running, {IPAV_PLUGIN, true, kLimit});
    for (int i = 0; i < 3; ++i) engine.Judge({});
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(Engine, RefusesAFileThatIsNoPlugin) {
  const DataTree running = ProjectTree(Running());
  Engine engine(running, {"/no/such/plugin.so", true, kLimit});
  EXPECT_THROW(engine.Judge({}), ipav::plugin::PluginError);
  EXPECT_THROW(engine.Judge({}), ipav::plugin::PluginError);
}

}  // namespace
