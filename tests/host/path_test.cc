#include "host/confd/path.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using host_test::CodeOf;
using host_test::ModelFolder;
using host_test::NodeAt;
using host_test::SchemaAt;
using host_test::TestModel;
using ipav::confd::FormatPath;
using ipav::confd::ParsePath;
using ipav::confd::PathStep;
using ipav::confd::PrintPath;
using ipav::confd::Resolve;
using ipav::confd::ResolveSchema;
using ipav::confd::Target;
using ipav::datastore::DataTree;

using Keys = std::vector<std::string>;

// "error" and the code if the format is refused.
std::string Format(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string path;
  const int code = CodeOf([&] { path = FormatPath(format, args); });
  va_end(args);
  return code == 0 ? path : "error " + std::to_string(code);
}

// --- Formats

TEST(FormatPath, ExpandsTextAndNumbers) {
  EXPECT_EQ(Format("/a/b"), "/a/b");
  EXPECT_EQ(Format(""), "");
  EXPECT_EQ(Format("/a{%s}/b", "x"), "/a{x}/b");
  EXPECT_EQ(Format("/a{%d %d}", -2147483647 - 1, 2147483647),
            "/a{-2147483648 2147483647}");
  EXPECT_EQ(Format("/a{%u}", 4294967295U), "/a{4294967295}");
  EXPECT_EQ(Format("%s{%s %u %d}/%s", "/a/b", "k", 7U, -7, "c"),
            "/a/b{k 7 -7}/c");
  EXPECT_EQ(Format("/a{%s}", "%d %s {"), "/a{%d %s {}");
  EXPECT_EQ(Format("%s", "/a/b{%d}"), "/a/b{%d}");
  EXPECT_EQ(Format("/a{%s}", ""), "/a{}");
}

TEST(FormatPath, RefusesEveryOtherConversionAndNull) {
  const std::string bad_path = "error " + std::to_string(CONFD_ERR_BADPATH);
  const char* null = nullptr;
  for (const char* format :
       {"/a{%ld}", "/a{%x}", "/a{%5d}", "/a{%c}", "/a{%", "/a{%i}", "/a{%-s}",
        "/a{%.*s}", "/a{%lu}", "/a{%*x}", "/a{%h}", "/a%%", "/a{%p}", "/a{%n}",
        null}) {
    EXPECT_EQ(Format(format, 1, 1), bad_path)
        << (format == null ? "null" : format);
  }
  EXPECT_EQ(Format("/a{%s}", null), bad_path);
  EXPECT_EQ(Format("%s", null), bad_path);
}

// --- Parsing

TEST(ParsePath, SplitsSteps) {
  std::string steps;
  for (const PathStep& step : ParsePath("/a/pfx:b{k1 \"k 2\"}/c")) {
    steps += step.prefix + ":" + step.name;
    for (const std::string& key : step.keys) steps += "{" + key + "}";
    steps += " ";
  }
  EXPECT_EQ(steps, ":a pfx:b{k1}{k 2} :c ");
}

TEST(ParsePath, ReadsTheKeysInBraces) {
  const std::pair<const char*, Keys> cases[] = {
      // With blanks.
      {"{ x }", {"x"}},
      {"{x   y}", {"x", "y"}},
      {"{  x  \"y\"  }", {"x", "y"}},
      // With characters of a path.
      {"{10.1.1.1/24}", {"10.1.1.1/24"}},
      {"{2001:db8::1/64}", {"2001:db8::1/64"}},
      {"{\"/x{y}\"}", {"/x{y}"}},
      {"{it's}", {"it's"}},
      // In quotes.
      {"{\"\"}", {""}},
      {"{\"\" \"\"}", {"", ""}},
      {"{\"a \\\"b\\\" \\\\ c\"}", {"a \"b\" \\ c"}},
      {"{\" a \"}", {" a "}}};
  for (const auto& [braces, keys] : cases) {
    EXPECT_EQ(ParsePath(std::string("/a") + braces).at(0).keys, keys);
  }
}

TEST(ParsePath, RefusesMalformedPaths) {
  for (const std::string path :
       {"a",        "a/b",        "/",     "//a",   "/a//b",      "/a/",
        "/a{x}/",   "/a{x",       "/a{x ", "/a{",   "/a{\"x}",    "/a{\"x",
        "/a{\"x\\", "/a{\"x\\\"", "/a{}",  "/a{ }", "/a{\"x\"y}", "/a{x}y",
        "/a{x}{y}", "/a{x{y}",    "/{x}",  "/p:",   "/p:{x}",     "/p:/a",
        "/:a",      "/:",         " /a"}) {
    EXPECT_EQ(CodeOf([&] { ParsePath(path); }), CONFD_ERR_BADPATH) << path;
  }
  EXPECT_EQ(CodeOf([] { ParsePath(""); }), CONFD_ERR_BADPATH);
  EXPECT_EQ(CodeOf([] { ParsePath("/a{\"x\"\"y\"}"); }), CONFD_ERR_BADPATH);
}

// --- Resolving

constexpr char kBody[] =
    "container c { leaf v { type string; } list l { key \"a b\"; "
    "leaf a { type string; } leaf b { type uint32; } leaf w { type string; } "
    "container in { leaf x { type string; } } } "
    "leaf-list ll { type string; } } "
    "list t { key k; leaf k { type string; } container u { "
    "list s { key k; leaf k { type string; } } } }";

constexpr char kData[] =
    "<c NS><v>1</v><l><a>p</a><b>1</b><w>x</w></l>"
    "<l><a>q</a><b>2</b></l></c>";

class Resolving : public testing::Test {
 protected:
  Target At(const std::string& path) const {
    return Resolve(tree_, ParsePath(path));
  }

  const TestModel model_{kBody};
  const DataTree tree_ = model_.Tree(kData);
};

TEST_F(Resolving, FindsNodesOfEveryKind) {
  const Target leaf = At("/c/v");
  EXPECT_EQ(leaf.schema, &SchemaAt(*model_, "/c/v"));
  ASSERT_NE(leaf.node, nullptr);
  EXPECT_EQ(leaf.node->schema, leaf.schema);
  EXPECT_EQ(leaf.parent, At("/c").node);
  EXPECT_FALSE(leaf.has_keys);
  const Target entry = At("/c/l{q 2}");
  ASSERT_NE(entry.node, nullptr);
  EXPECT_TRUE(entry.has_keys);
  EXPECT_EQ(ipav::datastore::KeysOf(entry.node), (Keys{"q", "2"}));
  EXPECT_NE(At("/c/l{p 1}/w").node, nullptr);
  EXPECT_FALSE(At("/c/l{p 1}/w").has_keys);
  EXPECT_EQ(At("/c").parent, nullptr);
}

TEST_F(Resolving, TakesPrefixesAnywhere) {
  EXPECT_NE(At("/m:c/m:l{q 2}").node, nullptr);
  EXPECT_NE(At("/m:c/v").node, nullptr);
}

TEST_F(Resolving, GivesTheFirstEntryOfAListWithoutKeys) {
  const Target list = At("/c/l");
  EXPECT_FALSE(list.has_keys);
  EXPECT_EQ(list.node, At("/c/l{p 1}").node);
  EXPECT_EQ(list.parent, At("/c").node);
}

TEST_F(Resolving, TakesAKeyInAnotherForm) {
  EXPECT_EQ(At("/c/l{q 0002}").node, At("/c/l{q 2}").node);
  EXPECT_EQ(At("/c/l{q two}").node, nullptr);
}

TEST_F(Resolving, AbsentNodesAreNoError) {
  for (const char* path : {"/c/l{r 1}", "/c/l{r 1}/w", "/c/l{r 1}/in/x",
                           "/c/l{q 2}/w", "/t", "/t{x}/u/s{y}", "/t{x}/u/s"}) {
    EXPECT_EQ(At(path).node, nullptr) << path;
  }
  EXPECT_NE(At("/c/l{r 1}").schema, nullptr);
  EXPECT_EQ(At("/c/l{r 1}").parent, At("/c").node);
  EXPECT_EQ(At("/c/l{r 1}/w").parent, nullptr);
}

TEST_F(Resolving, RefusesWhatTheModelDoesNotHave) {
  for (const std::string path :
       {"/x", "/c/x", "/c/v/x", "/c/l{p 1}/x", "/c/l{r 9}/x",
        // A wrong number of keys.
        "/c/l{p}", "/c/l{p 1 x}", "/c/l{p}/w", "/c/l{r}/w", "/t{x}/u/s{y z}",
        // Keys of a node that is not a list.
        "/c{x}", "/c{x}/v", "/c/v{x}",
        // A list without keys on the way.
        "/c/l/w", "/t/u", "/t{x}/u/s/k",
        // Wrong prefixes.
        "/n:c", "/m:c/n:v"}) {
    EXPECT_EQ(CodeOf([&] { At(path); }), CONFD_ERR_BADPATH) << path;
  }
}

TEST_F(Resolving, GivesTheFirstEntryOfALeafList) {
  const DataTree tree = model_.Tree("<c NS><ll>x</ll><ll>y</ll></c>");
  const lyd_node* node = Resolve(tree, ParsePath("/c/ll")).node;
  ASSERT_NE(node, nullptr);
  EXPECT_STREQ(lyd_get_value(node), "x");
}

TEST_F(Resolving, GivesTheNodesOfTheModel) {
  const auto nodes = ResolveSchema(*model_, ParsePath("/c/l/in/x"));
  ASSERT_EQ(nodes.size(), 4U);
  EXPECT_STREQ(nodes[0]->name, "c");
  EXPECT_STREQ(nodes[1]->name, "l");
  EXPECT_STREQ(nodes[2]->name, "in");
  EXPECT_STREQ(nodes[3]->name, "x");
  for (const char* path :
       {"/x", "/c/x", "/c{x}", "/c/l{p}", "/c/l{1 2 3}", "/n:c"}) {
    EXPECT_EQ(CodeOf([&] { ResolveSchema(*model_, ParsePath(path)); }),
              CONFD_ERR_BADPATH)
        << path;
  }
}

TEST(AmbiguousStep, NeedsItsPrefix) {
  ModelFolder folder;
  folder.Add("m", "container c { leaf x { type string; } }");
  folder.Add("n", "container c { leaf x { type string; } } container d { }");
  const auto model = folder.Load();
  const DataTree tree = DataTree::Empty(*model);
  EXPECT_EQ(CodeOf([&] { Resolve(tree, ParsePath("/c")); }), CONFD_ERR_BADPATH);
  EXPECT_EQ(CodeOf([&] { Resolve(tree, ParsePath("/c/x")); }),
            CONFD_ERR_BADPATH);
  EXPECT_STREQ(Resolve(tree, ParsePath("/n:c")).schema->module->name, "n");
  EXPECT_STREQ(Resolve(tree, ParsePath("/m:c/x")).schema->module->name, "m");
  EXPECT_STREQ(Resolve(tree, ParsePath("/d")).schema->module->name, "n");
}

// --- Printing

TEST_F(Resolving, PrintsPathsWithKeysAndWithoutPrefixes) {
  EXPECT_EQ(PrintPath(At("/m:c").node), "/c");
  EXPECT_EQ(PrintPath(At("/c/v").node), "/c/v");
  EXPECT_EQ(PrintPath(At("/c/l{p 1}").node), "/c/l{p 1}");
  EXPECT_EQ(PrintPath(At("/c/l{p 1}/in").node), "/c/l{p 1}/in");
}

TEST_F(Resolving, PrintsThePathOfAnAbsentNode) {
  EXPECT_EQ(PrintPath(nullptr, SchemaAt(*model_, "/t")), "/t");
  EXPECT_EQ(PrintPath(At("/c").node, SchemaAt(*model_, "/c/l")), "/c/l");
  EXPECT_EQ(PrintPath(At("/c/l{q 2}").node, SchemaAt(*model_, "/c/l/w")),
            "/c/l{q 2}/w");
}

std::string XmlText(const std::string& text) {
  std::string xml;
  for (const char c : text) {
    xml += "&#" + std::to_string(static_cast<int>(c)) + ";";
  }
  return xml;
}

TEST_F(Resolving, ReadsBackWhatItPrintsWhateverTheKey) {
  for (const std::string key :
       {"plain", "",     " ",    "a b",       " a",    "a ",     "{",
        "}",     "a}b",  "{}",   "\"",        "\"a\"", "a\"",    "\\",
        "\\\\",  "a\\",  "\\\"", "a\\\"b c}", "/",     "a/b",    "pfx:a",
        "%s",    "a\tb", "a\nb", "'",         "''",    "[x='1']"}) {
    const DataTree tree = model_.Tree("<c NS><l><a>" + XmlText(key) +
                                      "</a><b>1</b><w>x</w></l></c>");
    const lyd_node* entry = NodeAt(tree, "/c/l");
    ASSERT_NE(entry, nullptr);
    const std::string path = PrintPath(entry) + "/w";
    EXPECT_EQ(ParsePath(path).at(1).keys, (Keys{key, "1"})) << path;
    EXPECT_NE(NodeAt(tree, path), nullptr) << path;
  }
}

}  // namespace
