#include "ipavd/store/edit_config.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using ipav::store::EditConfig;
using ipav::store::Edited;
using ipav::store::EditRules;
using ipav::store::ErrorTag;
using ipav::store::Nodes;
using ipav::store::OnError;
using ipav::store::Operation;
using ipav::store::RpcError;

constexpr const char* kBody = R"(
  identity color;
  identity red { base color; }
  container top {
    leaf a { type string; }
    leaf number { type uint8; }
    leaf d { type uint8; default "5"; }
    leaf color { type identityref { base color; } }
    leaf state { config false; type string; }
    leaf-list ll { type string; }
    leaf-list ul { ordered-by user; type string; }
    leaf-list dl { type string; default "x"; default "y"; }
    container in { leaf x { type string; } leaf e { type string; default "e"; } }
    container pc { presence "it is there"; leaf y { type string; } }
    list l {
      key "k1 k2";
      leaf k1 { type string; }
      leaf k2 { type uint8; }
      leaf v { type string; }
      container c { leaf w { type string; } }
    }
    list u { key "k"; ordered-by user; leaf k { type string; }
             leaf v { type string; } }
    choice ch {
      default two;
      case one { leaf c1 { type string; } leaf c1b { type string; }
                 choice deep { leaf d1 { type string; }
                               leaf d2 { type string; } } }
      case two { container c2 { leaf z { type string; }
                                leaf zd { type string; default "zd"; } } }
      leaf c3 { type string; }
    }
    anydata any;
    leaf w { when "../a = 'w'"; type string; default "dw"; }
    container wc { when "../a = 'w'"; leaf x { type string; default "dx"; } }
  }
  list tl { key "k"; leaf k { type string; } leaf v { type string; } }
  leaf single { type string; }
)";

// What an edit leaves, and what it says, on one small model.
class EditConfigTest : public testing::Test {
 protected:
  static const host_test::TestModel& TheModel() {
    static const host_test::TestModel kModel(kBody);
    return kModel;
  }

  // NS, NC and YANG stand for declarations of namespaces.
  static std::string Whole(std::string xml) {
    const std::vector<std::pair<std::string, std::string>> shorts = {
        {" NS", " xmlns=\"urn:m\""},
        {" NC:",
         " xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
         "nc:operation="},
        {" YANG", " xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\""}};
    for (const auto& [mark, text] : shorts) {
      for (std::size_t at = 0; (at = xml.find(mark, at)) != std::string::npos;
           at += text.size()) {
        xml.replace(at, mark.size(), text);
      }
    }
    return xml;
  }

  static std::string Print(const lyd_node* nodes) {
    char* text = nullptr;
    lyd_print_mem(
        &text, nodes, LYD_XML,
        LYD_PRINT_SHRINK | LYD_PRINT_WITHSIBLINGS | LYD_PRINT_WD_EXPLICIT);
    std::string result = text == nullptr ? "" : text;
    std::free(text);
    for (std::size_t at = 0;
         (at = result.find(" xmlns=\"urn:m\"")) != std::string::npos;) {
      result.erase(at, 14);
    }
    return result;
  }

  static Edited Apply(const Nodes& base, const std::string& edit,
                      const EditRules& rules = {}) {
    return EditConfig(*TheModel(), base.get(), Whole(edit), rules);
  }

  // A configuration, made of nothing.
  static Nodes Base(const std::string& config) {
    Edited made = Apply(nullptr, config);
    EXPECT_TRUE(made.errors.empty())
        << (made.errors.empty() ? "" : made.errors[0].message);
    return std::move(made.nodes);
  }

  // What the edit leaves of a configuration.
  static std::string After(const std::string& config, const std::string& edit,
                           const EditRules& rules = {}) {
    const Edited edited = Apply(Base(config), edit, rules);
    EXPECT_TRUE(edited.errors.empty())
        << (edited.errors.empty() ? "" : edited.errors[0].message);
    return Print(edited.nodes.get());
  }

  static RpcError ErrorOf(const std::string& config, const std::string& edit,
                          const EditRules& rules = {}) {
    const Nodes base = Base(config);
    const std::string before = Print(base.get());
    const Edited edited = Apply(base, edit, rules);
    EXPECT_EQ(Print(base.get()), before) << "the configuration is changed";
    EXPECT_EQ(edited.nodes, nullptr);
    EXPECT_EQ(edited.errors.size(), 1U);
    return edited.errors.empty() ? RpcError{} : edited.errors[0];
  }

  static EditRules Default(Operation operation) {
    EditRules rules;
    rules.default_operation = operation;
    return rules;
  }
};

std::string InfoOf(const RpcError& error, const std::string& name) {
  for (const auto& [element, text] : error.info) {
    if (element == name) return text;
  }
  return "(none)";
}

#define EXPECT_ERROR(error, expected_tag, expected_path) \
  do {                                                   \
    const RpcError& got = (error);                       \
    EXPECT_EQ(got.tag, expected_tag) << got.message;     \
    EXPECT_EQ(got.path, expected_path);                  \
    EXPECT_NE(got.message, "");                          \
  } while (false)

// Merge.

TEST_F(EditConfigTest, MergeAddsWhatIsNotThereAndKeepsTheRest) {
  EXPECT_EQ(After("<top NS><a>1</a><number>2</number></top>",
                  "<top NS><number>3</number><in><x>4</x></in></top>"),
            "<top><a>1</a><number>3</number><in><x>4</x></in></top>");
}

TEST_F(EditConfigTest, AnEmptyEditChangesNothing) {
  EXPECT_EQ(After("<single NS>s</single>", ""), "<single>s</single>");
}

TEST_F(EditConfigTest, MergeFindsAnEntryByAllItsKeys) {
  EXPECT_EQ(After("<top NS><l><k1>a</k1><k2>1</k2><v>old</v></l></top>",
                  "<top NS><l><k2>2</k2><k1>a</k1><v>other</v></l>"
                  "<l><k1>a</k1><k2>01</k2><v>new</v></l></top>"),
            "<top><l><k1>a</k1><k2>1</k2><v>new</v></l>"
            "<l><k1>a</k1><k2>2</k2><v>other</v></l></top>");
}

TEST_F(EditConfigTest, MergeOfAnEntryOfALeafListAddsItOnce) {
  EXPECT_EQ(
      After("<top NS><ll>a</ll></top>", "<top NS><ll>a</ll><ll>b</ll></top>"),
      "<top><ll>a</ll><ll>b</ll></top>");
}

TEST_F(EditConfigTest, MergeWorksOnTopLevelLists) {
  EXPECT_EQ(After("<tl NS><k>a</k><v>1</v></tl><tl NS><k>b</k></tl>",
                  "<tl NS><k>b</k><v>2</v></tl><tl NS><k>c</k></tl>"),
            "<tl><k>a</k><v>1</v></tl><tl><k>b</k><v>2</v></tl>"
            "<tl><k>c</k></tl>");
}

TEST_F(EditConfigTest, MergeOfAPresenceContainerMakesIt) {
  EXPECT_EQ(After("", "<top NS><pc/></top>"), "<top><pc/></top>");
}

TEST_F(EditConfigTest, MergeReplacesAnydataAsAWhole) {
  EXPECT_EQ(After("<top NS><any><b xmlns=\"urn:x\">1</b></any></top>",
                  "<top NS><any><c xmlns=\"urn:x\">2</c></any></top>"),
            "<top><any><c xmlns=\"urn:x\">2</c></any></top>");
}

TEST_F(EditConfigTest, AnIdentityIsFoundByThePrefixOfTheEdit) {
  EXPECT_EQ(After("",
                  "<p:top xmlns:p=\"urn:m\"><p:color>p:red</p:color>"
                  "</p:top>"),
            After("", "<top NS><color>red</color></top>"));
}

TEST_F(EditConfigTest, KeysWithBothQuotesAreKeys) {
  EXPECT_EQ(After("<tl NS><k>a'b\"c</k><v>1</v></tl>",
                  "<tl NS><k>a'b\"c</k><v>2</v></tl>"),
            "<tl><k>a'b\"c</k><v>2</v></tl>");
}

// Replace.

TEST_F(EditConfigTest, ReplaceOfAContainerLeavesNothingElseInIt) {
  EXPECT_EQ(After("<top NS><a>1</a><in><x>1</x></in></top>",
                  "<top NS NC:\"replace\"><number>3</number></top>"),
            "<top><number>3</number></top>");
}

TEST_F(EditConfigTest, ReplaceOfAnEntryLeavesItsKeysAndOtherEntries) {
  EXPECT_EQ(
      After("<top NS><l><k1>a</k1><k2>1</k2><v>v</v><c><w>w</w></c></l>"
            "<l><k1>b</k1><k2>1</k2><v>v</v></l></top>",
            "<top NS><l NC:\"replace\"><k1>a</k1><k2>1</k2><c/></l></top>"),
      "<top><l><k1>a</k1><k2>1</k2></l><l><k1>b</k1><k2>1</k2><v>v</v></l>"
      "</top>");
}

TEST_F(EditConfigTest, ReplaceMakesWhatIsNotThere) {
  EXPECT_EQ(After("",
                  "<top NS><a NC:\"replace\">1</a>"
                  "<l NC:\"replace\"><k1>a</k1><k2>1</k2></l>"
                  "<ll NC:\"replace\">b</ll></top>"),
            "<top><a>1</a><ll>b</ll><l><k1>a</k1><k2>1</k2></l></top>");
}

TEST_F(EditConfigTest, DefaultOperationReplaceReplacesTheWholeConfiguration) {
  EXPECT_EQ(
      After("<top NS><a>1</a></top><single NS>s</single>",
            "<top NS><number>2</number></top>", Default(Operation::kReplace)),
      "<top><number>2</number></top>");
}

// Create.

TEST_F(EditConfigTest, CreateMakesANodeWithAllThatIsInIt) {
  EXPECT_EQ(After("",
                  "<top NS NC:\"create\"><a>1</a><ll>b</ll>"
                  "<l><k1>a</k1><k2>1</k2><c><w>w</w></c></l></top>"),
            "<top><a>1</a><ll>b</ll><l><k1>a</k1><k2>1</k2><c><w>w</w></c></l>"
            "</top>");
}

TEST_F(EditConfigTest, CreateOfALeafThatExistsIsRefused) {
  const RpcError error =
      ErrorOf("<top NS><a>1</a></top>",
              "<top NS><number>1</number><a NC:\"create\">2</a></top>");
  EXPECT_ERROR(error, ErrorTag::kDataExists, "/m:top/a");
}

TEST_F(EditConfigTest, CreateOfAnEntryThatExistsIsRefused) {
  const RpcError error =
      ErrorOf("<top NS><l><k1>a</k1><k2>1</k2></l></top>",
              "<top NS><l NC:\"create\"><k1>a</k1><k2>1</k2></l></top>");
  EXPECT_ERROR(error, ErrorTag::kDataExists, "/m:top/l[k1='a'][k2='1']");
}

TEST_F(EditConfigTest, CreateOfAnEntryOfALeafListThatExistsIsRefused) {
  const RpcError error = ErrorOf("<top NS><ll>b</ll></top>",
                                 "<top NS><ll NC:\"create\">b</ll></top>");
  EXPECT_ERROR(error, ErrorTag::kDataExists, "/m:top/ll[.='b']");
}

TEST_F(EditConfigTest, CreateOfContainersThatExistIsRefused) {
  EXPECT_ERROR(
      ErrorOf("<top NS><pc/></top>", "<top NS><pc NC:\"create\"/></top>"),
      ErrorTag::kDataExists, "/m:top/pc");
  EXPECT_ERROR(ErrorOf("<top NS><in><x>1</x></in></top>",
                       "<top NS><in NC:\"create\"><x>2</x></in></top>"),
               ErrorTag::kDataExists, "/m:top/in");
}

TEST_F(EditConfigTest, WhatIsThereByDefaultCanBeCreated) {
  EXPECT_EQ(After("<top NS><a>1</a></top>",
                  "<top NS><d NC:\"create\">5</d>"
                  "<in NC:\"create\"><e>e</e></in>"
                  "<dl NC:\"create\">x</dl></top>"),
            "<top><a>1</a><d>5</d><dl>x</dl><in><e>e</e></in></top>");
}

TEST_F(EditConfigTest, CreateTwiceInOneEditIsRefused) {
  EXPECT_ERROR(ErrorOf("",
                       "<top NS><ll NC:\"create\">b</ll>"
                       "<ll NC:\"create\">b</ll></top>"),
               ErrorTag::kDataExists, "/m:top/ll[.='b']");
}

// Delete and remove.

TEST_F(EditConfigTest, DeleteTakesANodeWithAllThatIsInIt) {
  EXPECT_EQ(After("<top NS><a>1</a><in><x>1</x></in><pc><y>1</y></pc>"
                  "<ll>a</ll><ll>b</ll><l><k1>a</k1><k2>1</k2><v>v</v></l>"
                  "<any><b xmlns=\"urn:x\"/></any></top>",
                  "<top NS><a NC:\"delete\"/><in NC:\"delete\"/>"
                  "<pc NC:\"delete\"/><ll NC:\"delete\">a</ll>"
                  "<l NC:\"delete\"><k1>a</k1><k2>1</k2></l>"
                  "<any NC:\"delete\"/></top>"),
            "<top><ll>b</ll></top>");
}

TEST_F(EditConfigTest, DeleteOfWhatIsNotThereIsRefused) {
  EXPECT_ERROR(ErrorOf("", "<top NS><a NC:\"delete\"/></top>"),
               ErrorTag::kDataMissing, "/m:top/a");
  EXPECT_ERROR(ErrorOf("", "<top NS><in NC:\"delete\"/></top>"),
               ErrorTag::kDataMissing, "/m:top/in");
  EXPECT_ERROR(ErrorOf("", "<top NS><pc NC:\"delete\"/></top>"),
               ErrorTag::kDataMissing, "/m:top/pc");
  EXPECT_ERROR(ErrorOf("<top NS><ll>a</ll></top>",
                       "<top NS><ll NC:\"delete\">b</ll></top>"),
               ErrorTag::kDataMissing, "/m:top/ll[.='b']");
  EXPECT_ERROR(ErrorOf("", "<tl NS NC:\"delete\"><k>it's</k></tl>"),
               ErrorTag::kDataMissing, "/m:tl[k=\"it's\"]");
}

TEST_F(EditConfigTest, AValueByDefaultCannotBeDeleted) {
  EXPECT_ERROR(
      ErrorOf("<top NS><a>1</a></top>", "<top NS><d NC:\"delete\"/></top>"),
      ErrorTag::kDataMissing, "/m:top/d");
}

TEST_F(EditConfigTest, ADeletedValueGivesWayToItsDefault) {
  const Nodes base = Base("<top NS><d>7</d></top>");
  const Edited edited = Apply(base, "<top NS><d NC:\"delete\"/></top>");
  ASSERT_TRUE(edited.errors.empty());
  lyd_node* leaf = nullptr;
  ASSERT_EQ(lyd_find_path(edited.nodes.get(), "/m:top/d", 0, &leaf),
            LY_SUCCESS);
  EXPECT_STREQ(lyd_get_value(leaf), "5");
  EXPECT_NE(leaf->flags & LYD_DEFAULT, 0U);
}

TEST_F(EditConfigTest, RemoveOfWhatIsNotThereDoesNothing) {
  EXPECT_EQ(After("<top NS><number>1</number></top>",
                  "<top NS><a NC:\"remove\"/><in NC:\"remove\"/>"
                  "<pc NC:\"remove\"/><ll NC:\"remove\">b</ll>"
                  "<l NC:\"remove\"><k1>a</k1><k2>1</k2></l>"
                  "<any NC:\"remove\"/></top>"),
            "<top><number>1</number></top>");
}

TEST_F(EditConfigTest, RemoveTakesWhatIsThere) {
  EXPECT_EQ(After("<top NS><a>1</a><number>1</number></top>",
                  "<top NS><a NC:\"remove\"/></top>"),
            "<top><number>1</number></top>");
}

TEST_F(EditConfigTest, TheFirstTopNodeCanBeDeleted) {
  EXPECT_EQ(After("<tl NS><k>a</k></tl><single NS>s</single>",
                  "<tl NS NC:\"delete\"><k>a</k></tl>"),
            "<single>s</single>");
}

TEST_F(EditConfigTest, TheLastTopNodeCanBeDeleted) {
  EXPECT_EQ(After("<single NS>s</single>", "<single NS NC:\"delete\"/>"), "");
}

TEST_F(EditConfigTest, APlainContainerIsThereByDefaultWhenItsNodesAreGone) {
  const Nodes base = Base("<top NS><in><x>1</x></in></top>");
  const Edited edited =
      Apply(base, "<top NS><in><x NC:\"delete\"/></in></top>");
  ASSERT_TRUE(edited.errors.empty());
  EXPECT_EQ(Print(edited.nodes.get()), "");
  lyd_node* node = nullptr;
  ASSERT_EQ(lyd_find_path(edited.nodes.get(), "/m:top/in", 0, &node),
            LY_SUCCESS);
  EXPECT_NE(node->flags & LYD_DEFAULT, 0U);
}

// None, and operations within each other.

TEST_F(EditConfigTest, NoneChangesOnlyWhatHasAnOperation) {
  EXPECT_EQ(After("<top NS><a>1</a><number>1</number></top>",
                  "<top NS><a>2</a><number NC:\"merge\">3</number>"
                  "<in><x NC:\"merge\">x</x></in></top>",
                  Default(Operation::kNone)),
            "<top><a>1</a><number>3</number><in><x>x</x></in></top>");
}

TEST_F(EditConfigTest, NoneRefusesAPathThatIsNotThere) {
  const EditRules none = Default(Operation::kNone);
  EXPECT_ERROR(ErrorOf("",
                       "<top NS><l><k1>a</k1><k2>1</k2>"
                       "<v NC:\"remove\"/></l></top>",
                       none),
               ErrorTag::kDataMissing, "/m:top/l[k1='a'][k2='1']");
  EXPECT_ERROR(
      ErrorOf("", "<top NS><pc><y NC:\"merge\">1</y></pc></top>", none),
      ErrorTag::kDataMissing, "/m:top/pc");
  EXPECT_ERROR(ErrorOf("", "<top NS><a>1</a></top>", none),
               ErrorTag::kDataMissing, "/m:top/a");
}

TEST_F(EditConfigTest, NoneMakesNoContainerOnItsWay) {
  const Nodes base = Base("<top NS><c1>1</c1></top>");
  const Edited edited = Apply(base, "<top NS><c2><z NC:\"remove\"/></c2></top>",
                              Default(Operation::kNone));
  ASSERT_TRUE(edited.errors.empty());
  EXPECT_EQ(Print(edited.nodes.get()), "<top><c1>1</c1></top>");
  lyd_node* other_case = nullptr;
  EXPECT_NE(lyd_find_path(edited.nodes.get(), "/m:top/c2", 0, &other_case),
            LY_SUCCESS);
}

TEST_F(EditConfigTest, AnOperationHoldsForWhatIsBelowUntilAnotherOne) {
  EXPECT_EQ(After("<top NS><a>1</a><in><x>1</x></in>"
                  "<l><k1>a</k1><k2>1</k2><v>v</v></l></top>",
                  "<top NS><in NC:\"replace\"><e>1</e></in>"
                  "<l NC:\"merge\"><k1>a</k1><k2>1</k2><v NC:\"delete\"/>"
                  "<c NC:\"create\"><w>w</w></c></l></top>",
                  Default(Operation::kNone)),
            "<top><a>1</a><in><e>1</e></in>"
            "<l><k1>a</k1><k2>1</k2><c><w>w</w></c></l></top>");
}

// Choices.

TEST_F(EditConfigTest, ANodeOfACaseTakesThePlaceOfOtherCases) {
  EXPECT_EQ(
      After("<top NS><c1>1</c1><c1b>2</c1b></top>", "<top NS><c3>3</c3></top>"),
      "<top><c3>3</c3></top>");
  EXPECT_EQ(After("<top NS><c3>1</c3></top>",
                  "<top NS><c2 NC:\"create\"><z>2</z></c2></top>"),
            "<top><c2><z>2</z></c2></top>");
  EXPECT_EQ(After("<top NS><c2><z>2</z></c2></top>",
                  "<top NS><c1 NC:\"replace\">1</c1></top>"),
            "<top><c1>1</c1></top>");
}

TEST_F(EditConfigTest, NodesOfOneCaseStandBesideEachOther) {
  EXPECT_EQ(
      After("<top NS><c1>1</c1></top>", "<top NS><c1b>2</c1b><d1>3</d1></top>"),
      "<top><c1>1</c1><c1b>2</c1b><d1>3</d1></top>");
}

TEST_F(EditConfigTest, AChoiceWithinACaseKeepsWhatIsBesideIt) {
  EXPECT_EQ(
      After("<top NS><c1>1</c1><d1>3</d1></top>", "<top NS><d2>4</d2></top>"),
      "<top><c1>1</c1><d2>4</d2></top>");
}

TEST_F(EditConfigTest, AConditionalDefaultComesAndGoesWithItsCondition) {
  const auto find = [](const Nodes& nodes, const char* path) {
    lyd_node* found = nullptr;
    return lyd_find_path(nodes.get(), path, 0, &found) == LY_SUCCESS;
  };
  const Nodes without = Base("<top NS><a>1</a></top>");
  EXPECT_FALSE(find(without, "/m:top/w"));
  const Nodes with = Apply(without, "<top NS><a>w</a></top>").nodes;
  EXPECT_TRUE(find(with, "/m:top/w"));
  EXPECT_TRUE(find(with, "/m:top/wc/x"));
  const Nodes again = Apply(with, "<top NS><a>2</a></top>").nodes;
  EXPECT_FALSE(find(again, "/m:top/w"));
  EXPECT_FALSE(find(again, "/m:top/wc"));
}

TEST_F(EditConfigTest, TheDefaultCaseReturnsWithItsDefaultsAndGoesWithThem) {
  const auto has_default = [](const Edited& edited) {
    lyd_node* leaf = nullptr;
    return lyd_find_path(edited.nodes.get(), "/m:top/c2/zd", 0, &leaf) ==
           LY_SUCCESS;
  };
  const Edited by_default = Apply(nullptr, "<top NS><a>1</a></top>");
  EXPECT_TRUE(has_default(by_default));
  const Edited other = Apply(by_default.nodes, "<top NS><c1>1</c1></top>");
  EXPECT_FALSE(has_default(other));
  const Edited again = Apply(other.nodes, "<top NS><c1 NC:\"delete\"/></top>");
  EXPECT_TRUE(has_default(again));
}

TEST_F(EditConfigTest, TwoCasesInOneEditAreRefused) {
  const RpcError error = ErrorOf("", "<top NS><c1>1</c1><c3>3</c3></top>");
  EXPECT_ERROR(error, ErrorTag::kBadElement, "/m:top/c3");
  EXPECT_EQ(InfoOf(error, "bad-element"), "c3");
}

TEST_F(EditConfigTest, OneCaseMayBeDeletedWhereAnotherIsMade) {
  EXPECT_EQ(After("<top NS><c1>1</c1></top>",
                  "<top NS><c1 NC:\"delete\"/><c3>3</c3></top>"),
            "<top><c3>3</c3></top>");
}

// Lists ordered by the user.

TEST_F(EditConfigTest, AnEntryIsInsertedWhereTheEditSays) {
  const std::string base =
      "<top NS><u><k>a</k></u><u><k>b</k></u><u><k>c</k></u></top>";
  const auto inserted = [&](const std::string& attributes,
                            const std::string& key) {
    return After(base, "<top NS YANG><u " + attributes + "><k>" + key +
                           "</k></u></top>");
  };
  const auto keys = [](const std::string& order) {
    std::string text = "<top>";
    for (const char key : order) {
      text += std::string("<u><k>") + key + "</k></u>";
    }
    return text + "</top>";
  };
  EXPECT_EQ(inserted("yang:insert=\"first\"", "x"), keys("xabc"));
  EXPECT_EQ(inserted("yang:insert=\"last\"", "x"), keys("abcx"));
  EXPECT_EQ(inserted("", "x"), keys("abcx"));
  EXPECT_EQ(inserted("yang:insert=\"before\" yang:key=\"[m:k='b']\"", "x"),
            keys("axbc"));
  EXPECT_EQ(inserted("yang:insert=\"after\" yang:key=\"[k='b']\"", "x"),
            keys("abxc"));
  EXPECT_EQ(inserted("yang:insert=\"first\"", "c"), keys("cab"));
  EXPECT_EQ(inserted("yang:insert=\"last\"", "a"), keys("bca"));
  EXPECT_EQ(inserted("yang:insert=\"after\" yang:key=\"[k='c']\"", "a"),
            keys("bca"));
  EXPECT_EQ(inserted("", "a"), keys("abc"));
}

TEST_F(EditConfigTest, AnEntryOfALeafListIsInsertedByValue) {
  const std::string base = "<top NS><ul>a</ul><ul>b</ul></top>";
  EXPECT_EQ(After(base,
                  "<top NS YANG><ul yang:insert=\"before\" yang:value=\"b\">x"
                  "</ul><ul yang:insert=\"first\">b</ul></top>"),
            "<top><ul>b</ul><ul>a</ul><ul>x</ul></top>");
}

TEST_F(EditConfigTest, ReplaceKeepsThePlaceOfAnEntry) {
  EXPECT_EQ(After("<top NS><u><k>a</k><v>1</v></u><u><k>b</k></u></top>",
                  "<top NS><u NC:\"replace\"><k>a</k></u></top>"),
            "<top><u><k>a</k></u><u><k>b</k></u></top>");
}

TEST_F(EditConfigTest, AnAnchorThatIsNotThereIsRefused) {
  const RpcError error =
      ErrorOf("<top NS><u><k>a</k></u></top>",
              "<top NS YANG><u yang:insert=\"after\" yang:key=\"[k='z']\">"
              "<k>x</k></u></top>");
  EXPECT_ERROR(error, ErrorTag::kBadAttribute, "/m:top/u");
  EXPECT_EQ(error.app_tag, "missing-instance");
  EXPECT_EQ(InfoOf(error, "bad-attribute"), "key");
}

TEST_F(EditConfigTest, AMalformedAnchorIsRefused) {
  for (const char* anchor : {"", "[", "[k", "[k=", "[k='", "[k='a", "k='a'",
                             "[v='a']", "[k='a'][", "[='a']"}) {
    EXPECT_ERROR(ErrorOf("<top NS><u><k>a</k></u></top>",
                         std::string("<top NS YANG><u yang:insert=\"after\" "
                                     "yang:key=\"") +
                             anchor + "\"><k>a</k></u></top>"),
                 ErrorTag::kBadAttribute, "/m:top/u");
  }
}

TEST_F(EditConfigTest, AnAnchorThatIsMissingIsRefused) {
  const RpcError error =
      ErrorOf("", "<top NS YANG><u yang:insert=\"after\"><k>x</k></u></top>");
  EXPECT_ERROR(error, ErrorTag::kMissingAttribute, "/m:top/u");
  EXPECT_EQ(InfoOf(error, "bad-attribute"), "key");
  EXPECT_EQ(InfoOf(error, "bad-element"), "u");
}

TEST_F(EditConfigTest, InsertIsUnknownWhereTheSystemOrders) {
  const RpcError error =
      ErrorOf("", "<top NS YANG><ll yang:insert=\"first\">x</ll></top>");
  EXPECT_ERROR(error, ErrorTag::kUnknownAttribute, "/m:top/ll");
  EXPECT_EQ(InfoOf(error, "bad-attribute"), "insert");
}

// What is wrong with an edit itself.

TEST_F(EditConfigTest, AnUnknownElementIsRefused) {
  const RpcError error = ErrorOf("", "<top NS><nothing/></top>");
  EXPECT_ERROR(error, ErrorTag::kUnknownElement, "/m:top");
  EXPECT_EQ(InfoOf(error, "bad-element"), "nothing");
  EXPECT_ERROR(ErrorOf("", "<nothing NS/>"), ErrorTag::kUnknownElement, "");
}

TEST_F(EditConfigTest, StateIsNoConfiguration) {
  EXPECT_ERROR(ErrorOf("", "<top NS><state>1</state></top>"),
               ErrorTag::kUnknownElement, "/m:top");
}

TEST_F(EditConfigTest, AnUnknownNamespaceIsRefused) {
  const RpcError error = ErrorOf("", "<top xmlns=\"urn:other\"/>");
  EXPECT_ERROR(error, ErrorTag::kUnknownNamespace, "");
  EXPECT_EQ(InfoOf(error, "bad-element"), "top");
  EXPECT_EQ(InfoOf(error, "bad-namespace"), "urn:other");
  EXPECT_ERROR(ErrorOf("", "<top/>"), ErrorTag::kUnknownNamespace, "");
}

TEST_F(EditConfigTest, AnUnknownAttributeIsRefused) {
  for (const char* attribute :
       {"operation=\"delete\"", "xmlns:o=\"urn:o\" o:operation=\"delete\"",
        "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" nc:x=\"1\""}) {
    const RpcError error =
        ErrorOf("<top NS><a>1</a></top>",
                std::string("<top NS><a ") + attribute + ">2</a></top>");
    EXPECT_ERROR(error, ErrorTag::kUnknownAttribute, "/m:top/a");
    EXPECT_EQ(InfoOf(error, "bad-element"), "a");
  }
}

TEST_F(EditConfigTest, AnUnknownOperationIsRefused) {
  for (const char* operation : {"none", "Delete", "", "erase"}) {
    const RpcError error = ErrorOf(
        "", std::string("<top NS><a NC:\"") + operation + "\">2</a></top>");
    EXPECT_ERROR(error, ErrorTag::kBadAttribute, "/m:top/a");
    EXPECT_EQ(InfoOf(error, "bad-attribute"), "operation");
    EXPECT_EQ(InfoOf(error, "bad-element"), "a");
  }
}

TEST_F(EditConfigTest, AKeyHasNoOperationOfItsOwn) {
  EXPECT_ERROR(ErrorOf("", "<tl NS><k NC:\"delete\">a</k></tl>"),
               ErrorTag::kUnknownAttribute, "/m:tl");
}

TEST_F(EditConfigTest, AValueOfAnotherTypeIsRefused) {
  const RpcError error = ErrorOf("", "<top NS><number>256</number></top>");
  EXPECT_ERROR(error, ErrorTag::kInvalidValue, "/m:top/number");
  EXPECT_EQ(InfoOf(error, "bad-element"), "number");
  EXPECT_ERROR(ErrorOf("", "<top NS><color>blue</color></top>"),
               ErrorTag::kInvalidValue, "/m:top/color");
  EXPECT_ERROR(ErrorOf("", "<top NS><l><k1>a</k1><k2>x</k2></l></top>"),
               ErrorTag::kInvalidValue, "/m:top/l/k2");
}

TEST_F(EditConfigTest, AMissingKeyIsRefused) {
  const RpcError error = ErrorOf("", "<top NS><l><k1>a</k1></l></top>");
  EXPECT_ERROR(error, ErrorTag::kMissingElement, "/m:top/l");
  EXPECT_EQ(InfoOf(error, "bad-element"), "k2");
}

TEST_F(EditConfigTest, WhatCanStandOnceIsRefusedTwice) {
  EXPECT_ERROR(ErrorOf("", "<top NS><a>1</a><a>1</a></top>"),
               ErrorTag::kBadElement, "/m:top/a");
  EXPECT_ERROR(ErrorOf("", "<top NS/><top NS/>"), ErrorTag::kBadElement,
               "/m:top");
  EXPECT_ERROR(ErrorOf("", "<tl NS><k>1</k><k>2</k></tl>"),
               ErrorTag::kBadElement, "/m:tl");
}

TEST_F(EditConfigTest, TextAndElementsStandOnlyWhereTheyCan) {
  EXPECT_ERROR(ErrorOf("", "<top NS>text</top>"), ErrorTag::kBadElement,
               "/m:top");
  EXPECT_ERROR(ErrorOf("", "text"), ErrorTag::kBadElement, "");
  EXPECT_ERROR(ErrorOf("", "<top NS><a><b/></a></top>"), ErrorTag::kBadElement,
               "/m:top/a");
}

TEST_F(EditConfigTest, TextBesideElementsIsNoAnydata) {
  for (const char* text : {"text", "<b xmlns=\"urn:x\"/>text",
                           "<b xmlns=\"urn:x\"/><c xmlns=\"urn:x\"><d><e/>text"
                           "</d></c>"}) {
    const RpcError error =
        ErrorOf("<top NS><any><b xmlns=\"urn:x\">1</b></any></top>",
                std::string("<top NS><any>") + text + "</any></top>");
    EXPECT_ERROR(error, ErrorTag::kInvalidValue, "/m:top/any");
    EXPECT_EQ(InfoOf(error, "bad-element"), "any");
  }
}

TEST_F(EditConfigTest, WhatIsNoXmlIsLeftOutAsAWhole) {
  const Nodes base = Base("<top NS><a>1</a></top>");
  for (const Operation operation : {Operation::kMerge, Operation::kReplace}) {
    EditRules rules;
    rules.on_error = OnError::kContinue;
    rules.default_operation = operation;
    const Edited edited = Apply(base, "<top NS>", rules);
    ASSERT_EQ(edited.errors.size(), 1U);
    EXPECT_EQ(edited.errors[0].tag, ErrorTag::kInvalidValue);
    EXPECT_EQ(Print(edited.nodes.get()), "<top><a>1</a></top>");
  }
}

TEST_F(EditConfigTest, WhatIsNoXmlIsRefused) {
  for (const char* text :
       {"<top", "<top NS>", "</config><config>", "<!DOCTYPE a><top NS/>",
        "<top NS>&undefined;</top>", "<top NS><a>\xff</a></top>", "<x:top/>",
        "<top NS x:a='1'/>"}) {
    EXPECT_ERROR(ErrorOf("", text), ErrorTag::kInvalidValue, "");
  }
}

TEST_F(EditConfigTest, AnEditOfATreeDeeperThanAnyModelIsRefused) {
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "<top NS>";
  for (int i = 0; i < 5000; ++i) text += "</top>";
  EXPECT_ERROR(ErrorOf("", text), ErrorTag::kInvalidValue, "");
}

TEST_F(EditConfigTest, AConfigurationHasNoOperations) {
  EditRules rules;
  rules.allows_operations = false;
  EXPECT_ERROR(ErrorOf("", "<top NS><a NC:\"merge\">1</a></top>", rules),
               ErrorTag::kUnknownAttribute, "/m:top/a");
}

// Default values with their tag.

TEST_F(EditConfigTest, AValueTaggedAsDefaultIsNotKept) {
  const std::string tag =
      "xmlns:wd=\"urn:ietf:params:xml:ns:netconf:default:1.0\" wd:default=";
  EXPECT_EQ(After("<top NS><a>1</a><d>7</d></top>",
                  "<top NS><d " + tag + "\"true\">5</d></top>"),
            "<top><a>1</a></top>");
  EXPECT_EQ(After("<top NS><d>7</d></top>",
                  "<top NS><d " + tag + "\"false\">5</d></top>"),
            "<top><d>5</d></top>");
  EXPECT_ERROR(ErrorOf("", "<top NS><d " + tag + "\"true\">6</d></top>"),
               ErrorTag::kInvalidValue, "/m:top/d");
  EXPECT_ERROR(ErrorOf("", "<top NS><a " + tag + "\"true\">6</a></top>"),
               ErrorTag::kUnknownAttribute, "/m:top/a");
}

// All or nothing, and all that can be.

TEST_F(EditConfigTest, AnErrorAtTheEndUndoesAllBeforeIt) {
  const RpcError error =
      ErrorOf("<top NS><a>1</a><l><k1>a</k1><k2>1</k2></l></top>",
              "<top NS><a>2</a><l NC:\"delete\"><k1>a</k1><k2>1</k2></l>"
              "<number NC:\"delete\"/></top>");
  EXPECT_ERROR(error, ErrorTag::kDataMissing, "/m:top/number");
}

TEST_F(EditConfigTest, ContinueDoesAllThatIsRightAndTellsAllThatIsNot) {
  EditRules rules;
  rules.on_error = OnError::kContinue;
  const Edited edited =
      Apply(Base("<top NS><a>1</a></top>"),
            "<top NS><a NC:\"create\">2</a><number>1000</number><d>6</d>"
            "<in><nothing/><x>1</x></in><pc NC:\"delete\"/></top>"
            "<single NS>s</single>",
            rules);
  EXPECT_EQ(Print(edited.nodes.get()),
            "<top><a>1</a><d>6</d><in><x>1</x></in></top>"
            "<single>s</single>");
  ASSERT_EQ(edited.errors.size(), 4U);
  EXPECT_ERROR(edited.errors[0], ErrorTag::kDataExists, "/m:top/a");
  EXPECT_ERROR(edited.errors[1], ErrorTag::kInvalidValue, "/m:top/number");
  EXPECT_ERROR(edited.errors[2], ErrorTag::kUnknownElement, "/m:top/in");
  EXPECT_ERROR(edited.errors[3], ErrorTag::kDataMissing, "/m:top/pc");
}

TEST(EditOfTheProject, AKeyInAnotherFormIsTheSameKey) {
  const auto& model = host_test::ProjectModel();
  const auto route = [](const std::string& hops) {
    return "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">"
           "<rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>"
           "<rtmStaticRtDest>0a:00:00:00</rtmStaticRtDest>"
           "<rtmStaticRtDestPfxLen>8</rtmStaticRtDestPfxLen>"
           "<rtmStaticRtNextHop>" +
           hops +
           "</rtmStaticRtNextHop><interface-name>l3-a</interface-name>"
           "</rtmStaticRtEntry-global>";
  };
  const Edited first = EditConfig(model, nullptr, route("C0:00:02:0A"), {});
  ASSERT_TRUE(first.errors.empty());
  EditRules create;
  create.default_operation = Operation::kCreate;
  const Edited second =
      EditConfig(model, first.nodes.get(), route("c0:00:02:0a"), create);
  ASSERT_EQ(second.errors.size(), 1U);
  EXPECT_EQ(second.errors[0].tag, ErrorTag::kDataExists);
}

}  // namespace
