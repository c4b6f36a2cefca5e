#include "ipavd/store/edit_config.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/fixtures.h"
#include "tests/ipavd/store/store_fixtures.h"

namespace ipav::store {
namespace {

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

Edited Apply(const Nodes& base, const std::string& edit,
             const EditRules& rules = {}) {
  static const host_test::TestModel kModel(kBody);
  return EditConfig(*kModel, base.get(), Xml(edit), rules);
}

// A configuration, made from nothing.
Nodes Base(const std::string& config) {
  Edited made = Apply(nullptr, config);
  EXPECT_EQ(Text(made.errors), "");
  return std::move(made.nodes);
}

EditRules Default(Operation operation) {
  EditRules rules;
  rules.default_operation = operation;
  return rules;
}

// Whether a node is there, be it by default.
bool Has(const Nodes& nodes, const char* path) {
  lyd_node* found = nullptr;
  return lyd_find_path(nodes.get(), path, 0, &found) == LY_SUCCESS;
}

struct Case {
  const char* name;
  std::string base;
  std::string edit;
  std::string expected;
  Operation default_operation = Operation::kMerge;
};

class EditResult : public ::testing::TestWithParam<Case> {};

// What an edit leaves of a configuration.
TEST_P(EditResult, IsTheExpectedConfiguration) {
  const Edited edited = Apply(Base(GetParam().base), GetParam().edit,
                              Default(GetParam().default_operation));
  EXPECT_EQ(Text(edited.errors), "");
  EXPECT_EQ(Print(edited.nodes.get()), GetParam().expected);
}

class EditError : public ::testing::TestWithParam<Case> {};

// An edit with an error leaves nothing, and does not change the configuration.
TEST_P(EditError, IsTheExpectedOne) {
  const Nodes base = Base(GetParam().base);
  const std::string before = Print(base.get());
  const Edited edited =
      Apply(base, GetParam().edit, Default(GetParam().default_operation));
  EXPECT_EQ(Text(edited.errors), GetParam().expected);
  EXPECT_EQ(edited.nodes, nullptr);
  EXPECT_EQ(Print(base.get()), before);
}

std::string CaseName(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

// Entries of the list u, which the user orders.
std::string Us(const std::string& keys) {
  std::string text;
  for (const char key : keys) text += std::string("<u><k>") + key + "</k></u>";
  return text;
}

// The entry of u with an insertion, by an anchor if it has one.
std::string Insert(const std::string& key, const std::string& where,
                   const std::optional<std::string>& anchor = {}) {
  return "<u yang:insert=\"" + where + "\"" +
         (anchor.has_value() ? " yang:key=\"" + *anchor + "\"" : "") + "><k>" +
         key + "</k></u>";
}

// The attribute that tags default values (RFC 6243).
std::string Tag(const std::string& value) {
  return " xmlns:wd=\"urn:ietf:params:xml:ns:netconf:default:1.0\" "
         "wd:default=\"" +
         value + "\"";
}

std::string Exists(const std::string& path) {
  return "data-exists " + path + ": cannot be created: it exists already";
}

std::string CannotDelete(const std::string& path) {
  return "data-missing " + path + ": cannot be deleted: it does not exist";
}

constexpr const char* kNoOperation =
    "{bad-attribute=operation} {bad-element=a}: there is no attribute "
    "\"operation\" here";
constexpr const char* kAny = "<any><b xmlns=\"urn:x\">1</b></any>";

// A case within the container top.
Case Top(const char* name, const std::string& base, const std::string& edit,
         const std::string& expected, Operation operation = Operation::kMerge) {
  return {name, "<top NS>" + base + "</top>", "<top NS YANG>" + edit + "</top>",
          "<top>" + expected + "</top>", operation};
}

Case TopError(const char* name, const std::string& base,
              const std::string& edit, const std::string& expected,
              Operation operation = Operation::kMerge) {
  return {name, "<top NS>" + base + "</top>", "<top NS YANG>" + edit + "</top>",
          expected, operation};
}

INSTANTIATE_TEST_SUITE_P(
    Merge, EditResult,
    ::testing::Values(
        Top("AddsWhatIsNotThereAndKeepsTheRest", "<a>1</a><number>2</number>",
            "<number>3</number><in><x>4</x></in>",
            "<a>1</a><number>3</number><in><x>4</x></in>"),
        Case{"OfNothingChangesNothing", "<single NS>s</single>", "",
             "<single>s</single>"},
        Top("FindsAnEntryByAllItsKeys", "<l><k1>a</k1><k2>1</k2><v>old</v></l>",
            "<l><k2>2</k2><k1>a</k1><v>other</v></l>"
            "<l><k1>a</k1><k2>01</k2><v>new</v></l>",
            "<l><k1>a</k1><k2>1</k2><v>new</v></l>"
            "<l><k1>a</k1><k2>2</k2><v>other</v></l>"),
        Top("AddsAnEntryOfALeafListOnce", "<ll>a</ll>", "<ll>a</ll><ll>b</ll>",
            "<ll>a</ll><ll>b</ll>"),
        Case{"WorksOnTopLevelLists",
             "<tl NS><k>a</k><v>1</v></tl><tl NS><k>b</k></tl>",
             "<tl NS><k>b</k><v>2</v></tl><tl NS><k>c</k></tl>",
             "<tl><k>a</k><v>1</v></tl><tl><k>b</k><v>2</v></tl>"
             "<tl><k>c</k></tl>"},
        Top("MakesAPresenceContainer", "", "<pc/>", "<pc/>"),
        Top("ReplacesAnydataAsAWhole", "<any><b xmlns=\"urn:x\">1</b></any>",
            "<any><c xmlns=\"urn:x\">2</c></any>",
            "<any><c xmlns=\"urn:x\">2</c></any>"),
        Case{"FindsAnIdentityByThePrefixOfTheEdit", "",
             "<p:top xmlns:p=\"urn:m\"><p:color>p:red</p:color></p:top>",
             "<top><color xmlns:m=\"urn:m\">m:red</color></top>"},
        Top("TakesAnIdentityWithoutAPrefix", "", "<color>red</color>",
            "<color xmlns:m=\"urn:m\">m:red</color>"),
        Case{"FindsKeysWithBothQuotes", "<tl NS><k>a'b\"c</k><v>1</v></tl>",
             "<tl NS><k>a'b\"c</k><v>2</v></tl>",
             "<tl><k>a'b\"c</k><v>2</v></tl>"}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Replace, EditResult,
    ::testing::Values(
        Case{"OfAContainerLeavesNothingElseInIt",
             "<top NS><a>1</a><in><x>1</x></in></top>",
             "<top NS NC:\"replace\"><number>3</number></top>",
             "<top><number>3</number></top>"},
        Top("OfAnEntryLeavesItsKeysAndOtherEntries",
            "<l><k1>a</k1><k2>1</k2><v>v</v><c><w>w</w></c></l>"
            "<l><k1>b</k1><k2>1</k2><v>v</v></l>",
            "<l NC:\"replace\"><k1>a</k1><k2>1</k2><c/></l>",
            "<l><k1>a</k1><k2>1</k2></l><l><k1>b</k1><k2>1</k2><v>v</v></l>"),
        Top("MakesWhatIsNotThere", "",
            "<a NC:\"replace\">1</a><l NC:\"replace\"><k1>a</k1><k2>1</k2></l>"
            "<ll NC:\"replace\">b</ll>",
            "<a>1</a><ll>b</ll><l><k1>a</k1><k2>1</k2></l>"),
        Case{"ByDefaultReplacesTheWholeConfiguration",
             "<top NS><a>1</a></top><single NS>s</single>",
             "<top NS><number>2</number></top>",
             "<top><number>2</number></top>", Operation::kReplace},
        Top("KeepsThePlaceOfAnEntry", "<u><k>a</k><v>1</v></u><u><k>b</k></u>",
            "<u NC:\"replace\"><k>a</k></u>",
            "<u><k>a</k></u><u><k>b</k></u>")),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Create, EditResult,
    ::testing::Values(
        Case{"MakesANodeWithItsContent", "",
             "<top NS NC:\"create\"><a>1</a><ll>b</ll>"
             "<l><k1>a</k1><k2>1</k2><c><w>w</w></c></l></top>",
             "<top><a>1</a><ll>b</ll><l><k1>a</k1><k2>1</k2><c><w>w</w></c></l>"
             "</top>"},
        Top("MakesWhatIsThereByDefault", "<a>1</a>",
            "<d NC:\"create\">5</d><in NC:\"create\"><e>e</e></in>"
            "<dl NC:\"create\">x</dl>",
            "<a>1</a><d>5</d><dl>x</dl><in><e>e</e></in>")),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Create, EditError,
    ::testing::Values(
        TopError("OfALeafThatExists", "<a>1</a>",
                 "<number>1</number><a NC:\"create\">2</a>",
                 Exists("/m:top/a")),
        TopError("OfAnEntryThatExists", "<l><k1>a</k1><k2>1</k2></l>",
                 "<l NC:\"create\"><k1>a</k1><k2>1</k2></l>",
                 Exists("/m:top/l[k1='a'][k2='1']")),
        TopError("OfAnEntryOfALeafListThatExists", "<ll>b</ll>",
                 "<ll NC:\"create\">b</ll>", Exists("/m:top/ll[.='b']")),
        TopError("OfAPresenceContainerThatExists", "<pc/>",
                 "<pc NC:\"create\"/>", Exists("/m:top/pc")),
        TopError("OfAContainerThatExists", "<in><x>1</x></in>",
                 "<in NC:\"create\"><x>2</x></in>", Exists("/m:top/in")),
        TopError("TwiceInOneEdit", "",
                 "<ll NC:\"create\">b</ll><ll NC:\"create\">b</ll>",
                 Exists("/m:top/ll[.='b']"))),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Delete, EditResult,
    ::testing::Values(
        Top("TakesANodeWithItsContent",
            "<a>1</a><in><x>1</x></in><pc><y>1</y></pc><ll>a</ll><ll>b</ll>"
            "<l><k1>a</k1><k2>1</k2><v>v</v></l><any><b "
            "xmlns=\"urn:x\"/></any>",
            "<a NC:\"delete\"/><in NC:\"delete\"/><pc NC:\"delete\"/>"
            "<ll NC:\"delete\">a</ll><l NC:\"delete\"><k1>a</k1><k2>1</k2></l>"
            "<any NC:\"delete\"/>",
            "<ll>b</ll>"),
        Case{"TakesTheFirstTopNode",
             "<tl NS><k>a</k></tl><single NS>s</single>",
             "<tl NS NC:\"delete\"><k>a</k></tl>", "<single>s</single>"},
        Case{"TakesTheLastTopNode", "<single NS>s</single>",
             "<single NS NC:\"delete\"/>", ""}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Delete, EditError,
    ::testing::Values(
        TopError("OfAMissingLeaf", "", "<a NC:\"delete\"/>",
                 CannotDelete("/m:top/a")),
        TopError("OfAMissingContainer", "", "<in NC:\"delete\"/>",
                 CannotDelete("/m:top/in")),
        TopError("OfAMissingPresenceContainer", "", "<pc NC:\"delete\"/>",
                 CannotDelete("/m:top/pc")),
        TopError("OfAMissingEntryOfALeafList", "<ll>a</ll>",
                 "<ll NC:\"delete\">b</ll>", CannotDelete("/m:top/ll[.='b']")),
        Case{"OfAMissingEntry", "", "<tl NS NC:\"delete\"><k>it's</k></tl>",
             CannotDelete("/m:tl[k=\"it's\"]")},
        TopError("OfAValueByDefault", "<a>1</a>", "<d NC:\"delete\"/>",
                 CannotDelete("/m:top/d"))),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Remove, EditResult,
    ::testing::Values(
        Top("OfWhatIsNotThereDoesNothing", "<number>1</number>",
            "<a NC:\"remove\"/><in NC:\"remove\"/><pc NC:\"remove\"/>"
            "<ll NC:\"remove\">b</ll><l NC:\"remove\"><k1>a</k1><k2>1</k2></l>"
            "<any NC:\"remove\"/>",
            "<number>1</number>"),
        Top("TakesWhatIsThere", "<a>1</a><number>1</number>",
            "<a NC:\"remove\"/>", "<number>1</number>")),
    CaseName);

TEST(EditDefaults, ReturnWhenAValueIsDeleted) {
  const Edited edited =
      Apply(Base("<top NS><d>7</d></top>"), "<top NS><d NC:\"delete\"/></top>");
  ASSERT_EQ(Text(edited.errors), "");
  lyd_node* leaf = nullptr;
  ASSERT_EQ(lyd_find_path(edited.nodes.get(), "/m:top/d", 0, &leaf),
            LY_SUCCESS);
  EXPECT_STREQ(lyd_get_value(leaf), "5");
  EXPECT_NE(leaf->flags & LYD_DEFAULT, 0U);
}

TEST(EditDefaults, IncludeAContainerWhoseNodesAreDeleted) {
  const Edited edited = Apply(Base("<top NS><in><x>1</x></in></top>"),
                              "<top NS><in><x NC:\"delete\"/></in></top>");
  ASSERT_EQ(Text(edited.errors), "");
  EXPECT_EQ(Print(edited.nodes.get()), "");
  lyd_node* node = nullptr;
  ASSERT_EQ(lyd_find_path(edited.nodes.get(), "/m:top/in", 0, &node),
            LY_SUCCESS);
  EXPECT_NE(node->flags & LYD_DEFAULT, 0U);
}

TEST(EditDefaults, ComeAndGoWithTheirCondition) {
  const Nodes without = Base("<top NS><a>1</a></top>");
  EXPECT_FALSE(Has(without, "/m:top/w"));
  const Nodes with = Apply(without, "<top NS><a>w</a></top>").nodes;
  EXPECT_TRUE(Has(with, "/m:top/w"));
  EXPECT_TRUE(Has(with, "/m:top/wc/x"));
  const Nodes again = Apply(with, "<top NS><a>2</a></top>").nodes;
  EXPECT_FALSE(Has(again, "/m:top/w"));
  EXPECT_FALSE(Has(again, "/m:top/wc"));
}

TEST(EditDefaults, ComeAndGoWithTheDefaultCase) {
  const Nodes by_default = Base("<top NS><a>1</a></top>");
  EXPECT_TRUE(Has(by_default, "/m:top/c2/zd"));
  const Nodes other = Apply(by_default, "<top NS><c1>1</c1></top>").nodes;
  EXPECT_FALSE(Has(other, "/m:top/c2/zd"));
  const Nodes again = Apply(other, "<top NS><c1 NC:\"delete\"/></top>").nodes;
  EXPECT_TRUE(Has(again, "/m:top/c2/zd"));
}

INSTANTIATE_TEST_SUITE_P(
    None, EditResult,
    ::testing::Values(
        Top("ChangesOnlyWhatHasAnOperation", "<a>1</a><number>1</number>",
            "<a>2</a><number NC:\"merge\">3</number>"
            "<in><x NC:\"merge\">x</x></in>",
            "<a>1</a><number>3</number><in><x>x</x></in>", Operation::kNone),
        Top("HoldsForWhatIsBelowUntilAnotherOperation",
            "<a>1</a><in><x>1</x></in><l><k1>a</k1><k2>1</k2><v>v</v></l>",
            "<in NC:\"replace\"><e>1</e></in>"
            "<l NC:\"merge\"><k1>a</k1><k2>1</k2><v NC:\"delete\"/>"
            "<c NC:\"create\"><w>w</w></c></l>",
            "<a>1</a><in><e>1</e></in>"
            "<l><k1>a</k1><k2>1</k2><c><w>w</w></c></l>",
            Operation::kNone)),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    None, EditError,
    ::testing::Values(
        TopError("OfAMissingEntry", "",
                 "<l><k1>a</k1><k2>1</k2><v NC:\"remove\"/></l>",
                 "data-missing /m:top/l[k1='a'][k2='1']: does not exist",
                 Operation::kNone),
        TopError("OfAMissingPresenceContainer", "",
                 "<pc><y NC:\"merge\">1</y></pc>",
                 "data-missing /m:top/pc: does not exist", Operation::kNone),
        TopError("OfAMissingLeaf", "", "<a>1</a>",
                 "data-missing /m:top/a: does not exist", Operation::kNone)),
    CaseName);

TEST(EditNone, MakesNoContainerOnItsWay) {
  const Edited edited = Apply(Base("<top NS><c1>1</c1></top>"),
                              "<top NS><c2><z NC:\"remove\"/></c2></top>",
                              Default(Operation::kNone));
  EXPECT_EQ(Text(edited.errors), "");
  EXPECT_EQ(Print(edited.nodes.get()), "<top><c1>1</c1></top>");
  EXPECT_FALSE(Has(edited.nodes, "/m:top/c2"));
}

INSTANTIATE_TEST_SUITE_P(
    Choice, EditResult,
    ::testing::Values(
        Top("LeafTakesThePlaceOfAnotherCase", "<c1>1</c1><c1b>2</c1b>",
            "<c3>3</c3>", "<c3>3</c3>"),
        Top("ContainerTakesThePlaceOfAnotherCase", "<c3>1</c3>",
            "<c2 NC:\"create\"><z>2</z></c2>", "<c2><z>2</z></c2>"),
        Top("ReplacedLeafTakesThePlaceOfAnotherCase", "<c2><z>2</z></c2>",
            "<c1 NC:\"replace\">1</c1>", "<c1>1</c1>"),
        Top("KeepsNodesOfOneCase", "<c1>1</c1>", "<c1b>2</c1b><d1>3</d1>",
            "<c1>1</c1><c1b>2</c1b><d1>3</d1>"),
        Top("WithinACaseKeepsWhatIsBesideIt", "<c1>1</c1><d1>3</d1>",
            "<d2>4</d2>", "<c1>1</c1><d2>4</d2>"),
        Top("AllowsADeletedCaseBesideAnother", "<c1>1</c1>",
            "<c1 NC:\"delete\"/><c3>3</c3>", "<c3>3</c3>")),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Insert, EditResult,
    ::testing::Values(
        Top("OfANewEntryFirst", Us("abc"), Insert("x", "first"), Us("xabc")),
        Top("OfANewEntryLast", Us("abc"), Insert("x", "last"), Us("abcx")),
        Top("OfANewEntryByDefaultIsLast", Us("abc"), Us("x"), Us("abcx")),
        Top("OfANewEntryBeforeAnother", Us("abc"),
            Insert("x", "before", "[m:k='b']"), Us("axbc")),
        Top("OfANewEntryAfterAnother", Us("abc"),
            Insert("x", "after", "[k='b']"), Us("abxc")),
        Top("MovesAnEntryToTheFirstPlace", Us("abc"), Insert("c", "first"),
            Us("cab")),
        Top("MovesAnEntryToTheLastPlace", Us("abc"), Insert("a", "last"),
            Us("bca")),
        Top("MovesAnEntryAfterAnother", Us("abc"),
            Insert("a", "after", "[k='c']"), Us("bca")),
        Top("MovesNothingByDefault", Us("abc"), Us("a"), Us("abc")),
        Top("FindsAnEntryOfALeafListByItsValue", "<ul>a</ul><ul>b</ul>",
            "<ul yang:insert=\"before\" yang:value=\"b\">x</ul>"
            "<ul yang:insert=\"first\">b</ul>",
            "<ul>b</ul><ul>a</ul><ul>x</ul>")),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Insert, EditError,
    ::testing::Values(
        TopError("ByAnAnchorThatIsNotThere", Us("a"),
                 Insert("x", "after", "[k='z']"),
                 "bad-attribute /m:top/u {bad-attribute=key} {bad-element=u}: "
                 "there is no [k='z'] to insert it by"),
        TopError("ByNoAnchor", "", Insert("x", "after"),
                 "missing-attribute /m:top/u {bad-attribute=key} "
                 "{bad-element=u}: the attribute \"key\" is missing"),
        TopError("WhereTheSystemOrders", "", "<ll yang:insert=\"first\">x</ll>",
                 "unknown-attribute /m:top/ll {bad-attribute=insert} "
                 "{bad-element=ll}: there is no attribute \"insert\" here")),
    CaseName);

TEST(EditInsert, RefusesAMalformedAnchor) {
  const Nodes base = Base("<top NS>" + Us("a") + "</top>");
  for (const std::string anchor : {"", "[", "[k", "[k=", "[k='", "[k='a",
                                   "k='a'", "[v='a']", "[k='a'][", "[='a']"}) {
    const Edited edited =
        Apply(base, "<top NS YANG>" + Insert("a", "after", anchor) + "</top>");
    EXPECT_EQ(Text(edited.errors),
              "bad-attribute /m:top/u {bad-attribute=key} {bad-element=u}: "
              "there is no " +
                  anchor + " to insert it by");
    EXPECT_EQ(edited.errors.at(0).app_tag, "missing-instance");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Element, EditError,
    ::testing::Values(
        TopError("ThatIsUnknown", "", "<nothing/>",
                 "unknown-element /m:top {bad-element=nothing}: no "
                 "configuration has \"nothing\" here"),
        Case{"ThatIsUnknownAtTheTop", "", "<nothing NS/>",
             "unknown-element {bad-element=nothing}: no configuration has "
             "\"nothing\" here"},
        TopError("OfStateData", "", "<state>1</state>",
                 "unknown-element /m:top {bad-element=state}: no configuration "
                 "has \"state\" here"),
        Case{"OfAnUnknownNamespace", "", "<top xmlns=\"urn:other\"/>",
             "unknown-namespace {bad-element=top} {bad-namespace=urn:other}: "
             "no module has the namespace urn:other"},
        Case{"OfNoNamespace", "", "<top/>",
             "unknown-namespace {bad-element=top} {bad-namespace=}: \"top\" "
             "has no namespace"},
        TopError("WithAValueOutOfRange", "", "<number>256</number>",
                 "invalid-value /m:top/number {bad-element=number}: Value "
                 "\"256\" is out of type uint8 min/max bounds."),
        TopError("WithAnUnknownIdentity", "", "<color>blue</color>",
                 "invalid-value /m:top/color {bad-element=color}: Invalid "
                 "identityref \"m:blue\" value - identity not found in module "
                 "\"m\"."),
        TopError("WithAKeyOfAnotherType", "", "<l><k1>a</k1><k2>x</k2></l>",
                 "invalid-value /m:top/l/k2 {bad-element=k2}: Invalid type "
                 "uint8 value \"x\"."),
        TopError("WithoutAKey", "", "<l><k1>a</k1></l>",
                 "missing-element /m:top/l {bad-element=k2}: the key \"k2\" is "
                 "missing"),
        TopError("ThatStandsTwice", "", "<a>1</a><a>1</a>",
                 "bad-element /m:top/a {bad-element=a}: stands here twice"),
        Case{"ThatStandsTwiceAtTheTop", "", "<top NS/><top NS/>",
             "bad-element /m:top {bad-element=top}: stands here twice"},
        Case{"WithAKeyTwice", "", "<tl NS><k>1</k><k>2</k></tl>",
             "bad-element /m:tl {bad-element=k}: the key \"k\" stands here "
             "twice"},
        TopError("OfTwoCases", "", "<c1>1</c1><c3>3</c3>",
                 "bad-element /m:top/c3 {bad-element=c3}: two cases of the "
                 "choice \"ch\" stand here"),
        TopError("WithTextInAContainer", "", "text",
                 "bad-element /m:top {bad-element=top}: there is text where "
                 "only elements can stand"),
        Case{"IsTextAtTheTop", "", "text",
             "bad-element {bad-element=config}: there is text where only "
             "elements can stand"},
        TopError("WithAnElementInALeaf", "", "<a><b/></a>",
                 "bad-element /m:top/a {bad-element=a}: has elements where "
                 "only text can stand"),
        TopError("OfAnydataWithText", kAny, "<any>text</any>",
                 "invalid-value /m:top/any {bad-element=any}: has text beside "
                 "elements"),
        TopError("OfAnydataWithTextBesideElements", kAny,
                 "<any><b xmlns=\"urn:x\"/>text</any>",
                 "invalid-value /m:top/any {bad-element=any}: has text beside "
                 "elements"),
        TopError("OfAnydataWithTextBesideElementsBelow", kAny,
                 "<any><b xmlns=\"urn:x\"/><c xmlns=\"urn:x\"><d><e/>text</d>"
                 "</c></any>",
                 "invalid-value /m:top/any {bad-element=any}: has text beside "
                 "elements"),
        TopError("ThatFailsAfterOthersUndoesThem",
                 "<a>1</a><l><k1>a</k1><k2>1</k2></l>",
                 "<a>2</a><l NC:\"delete\"><k1>a</k1><k2>1</k2></l>"
                 "<number NC:\"delete\"/>",
                 CannotDelete("/m:top/number"))),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Attribute, EditError,
    ::testing::Values(
        TopError("WithoutANamespace", "", "<a operation=\"delete\">2</a>",
                 "unknown-attribute /m:top/a {bad-attribute=operation} "
                 "{bad-element=a}: there is no attribute \"operation\" here"),
        TopError("OfAnUnknownNamespace", "",
                 "<a xmlns:o=\"urn:o\" o:operation=\"delete\">2</a>",
                 "unknown-attribute /m:top/a {bad-attribute=operation} "
                 "{bad-element=a}: there is no attribute \"operation\" here"),
        TopError("OfAnUnknownName", "",
                 "<a xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                 "nc:x=\"1\">2</a>",
                 "unknown-attribute /m:top/a {bad-attribute=x} "
                 "{bad-element=a}: there is no attribute \"x\" here"),
        Case{"OfAKey", "", "<tl NS><k NC:\"delete\">a</k></tl>",
             "unknown-attribute /m:tl {bad-attribute=operation} "
             "{bad-element=k}: there is no attribute \"operation\" here"},
        TopError(
            "OperationNone", "", "<a NC:\"none\">2</a>",
            "bad-attribute /m:top/a {bad-attribute=operation} {bad-element=a}: "
            "\"none\" is no value of the attribute \"operation\""),
        TopError(
            "OperationInUpperCase", "", "<a NC:\"Delete\">2</a>",
            "bad-attribute /m:top/a {bad-attribute=operation} {bad-element=a}: "
            "\"Delete\" is no value of the attribute \"operation\""),
        TopError(
            "DefaultOfAnotherValue", "", "<d" + Tag("true") + ">6</d>",
            "invalid-value /m:top/d {bad-element=d}: is not the default value"),
        TopError("DefaultOfALeafWithoutOne", "", "<a" + Tag("true") + ">6</a>",
                 "unknown-attribute /m:top/a {bad-attribute=default} "
                 "{bad-element=a}: there is no attribute \"default\" here")),
    CaseName);

// Values with the tag of RFC 6243.
INSTANTIATE_TEST_SUITE_P(
    TaggedDefault, EditResult,
    ::testing::Values(Top("IsNotKept", "<a>1</a><d>7</d>",
                          "<d" + Tag("true") + ">5</d>", "<a>1</a>"),
                      Top("IsKeptWhenTheTagIsFalse", "<d>7</d>",
                          "<d" + Tag("false") + ">5</d>", "<d>5</d>")),
    CaseName);

TEST(EditText, ThatIsNotXmlChangesNothing) {
  const Nodes base = Base("<top NS><a>1</a></top>");
  for (const Operation operation : {Operation::kMerge, Operation::kReplace}) {
    EditRules rules = Default(operation);
    rules.on_error = OnError::kContinue;
    const Edited edited = Apply(base, "<top NS>", rules);
    EXPECT_EQ(Text(edited.errors),
              "invalid-value: the configuration is no XML: Premature end of "
              "data in tag config line 1 (line 1)");
    EXPECT_EQ(Print(edited.nodes.get()), "<top><a>1</a></top>");
  }
}

TEST(EditText, ThatIsNotXmlIsRefused) {
  std::string deep;  // deeper than any model
  for (int i = 0; i < 5000; ++i) deep += "<top NS>";
  for (int i = 0; i < 5000; ++i) deep += "</top>";
  for (const std::string& text :
       {std::string("<top"), std::string("<top NS>"),
        std::string("</config><config>"), std::string("<!DOCTYPE a><top NS/>"),
        std::string("<top NS>&undefined;</top>"),
        std::string("<top NS><a>\xff</a></top>"), std::string("<x:top/>"),
        std::string("<top NS x:a='1'/>"), deep}) {
    const Edited edited = Apply(nullptr, text);
    EXPECT_TRUE(host_test::StartsWith(
        Text(edited.errors), "invalid-value: the configuration is no XML: "));
    EXPECT_EQ(edited.errors.size(), 1U);
    EXPECT_EQ(edited.nodes, nullptr);
  }
}

TEST(EditText, OfAConfigurationHasNoOperations) {
  EditRules rules;
  rules.allows_operations = false;
  EXPECT_EQ(
      Text(Apply(nullptr, "<top NS><a NC:\"merge\">1</a></top>", rules).errors),
      std::string("unknown-attribute /m:top/a ") + kNoOperation);
}

TEST(EditContinues, WithTheRestAndReportsAllErrors) {
  EditRules rules;
  rules.on_error = OnError::kContinue;
  const Edited edited =
      Apply(Base("<top NS><a>1</a></top>"),
            "<top NS><a NC:\"create\">2</a><number>1000</number><d>6</d>"
            "<in><nothing/><x>1</x></in><pc NC:\"delete\"/></top>"
            "<single NS>s</single>",
            rules);
  EXPECT_EQ(Print(edited.nodes.get()),
            "<top><a>1</a><d>6</d><in><x>1</x></in></top><single>s</single>");
  EXPECT_EQ(Text(edited.errors),
            Exists("/m:top/a") +
                "\n"
                "invalid-value /m:top/number {bad-element=number}: Value "
                "\"1000\" is out of type uint8 min/max bounds.\n"
                "unknown-element /m:top/in {bad-element=nothing}: no "
                "configuration has \"nothing\" here\n" +
                CannotDelete("/m:top/pc"));
}

TEST(EditOfTheProject, FindsAKeyInAnotherForm) {
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
  ASSERT_EQ(Text(first.errors), "");
  const Edited second =
      EditConfig(model, first.nodes.get(), route("c0:00:02:0a"),
                 Default(Operation::kCreate));
  EXPECT_EQ(Text(second.errors),
            Exists("/DC-RTM-MIB:rtmStaticRtEntry-global[rtmStaticRtFteIndex='0'"
                   "][rtmStaticRtDest='0a:00:00:00'][rtmStaticRtDestPfxLen='8']"
                   "[rtmStaticRtNextHop='c0:00:02:0a']"));
}

}  // namespace
}  // namespace ipav::store
