#include "host/datastore/diff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using host_test::NodeAt;
using host_test::TestModel;
using ipav::datastore::Change;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;
using ipav::datastore::IsPlainContainer;

using Paths = std::set<std::string>;

constexpr char kBody[] =
    "container c { leaf a { type string; } leaf n { type uint32; } "
    "leaf e { type boolean; default true; } leaf-list ll { type string; } "
    "leaf-list num { type uint8; } container d { leaf x { type string; } } "
    "container p { presence p; leaf x { type string; } "
    "leaf y { type string; default why; } } "
    "list l { key k; leaf k { type string; } leaf v { type string; } "
    "leaf e { type boolean; default true; } container in { "
    "leaf x { type string; } } list m { key \"k1 k2\"; "
    "leaf k1 { type uint8; } leaf k2 { type string; } "
    "leaf w { type string; } } } } "
    "list t { key k; leaf k { type uint32; } leaf v { type string; } }";

std::string PathOf(const lyd_node* node) {
  char* path = lyd_path(node, LYD_PATH_STD, nullptr, 0);
  std::string result = path;
  std::free(path);
  for (std::size_t at = 0; (at = result.find("m:", at)) != std::string::npos;) {
    result.erase(at, 2);
  }
  return result;
}

// "+ PATH" created, "- PATH" deleted, "~ PATH" another value: what a leaf, an
// entry or a presence container went through, nothing else.
void Collect(const std::vector<Change>& changes, Paths* paths) {
  for (const Change& change : changes) {
    const bool is_leaf = (change.schema->nodetype & LYS_LEAF) != 0;
    const char* sign = nullptr;
    if (change.before == nullptr) {
      sign = "+ ";
    } else if (change.after == nullptr) {
      sign = "- ";
    } else if (is_leaf) {
      sign = "~ ";
    }
    if (sign != nullptr && !IsPlainContainer(*change.schema)) {
      paths->insert(sign + PathOf(change.Node()));
    }
    Collect(change.children, paths);
  }
}

Paths ChangedPaths(const DataTree& before, const DataTree& after) {
  const Diff diff(before, after);
  Paths paths;
  Collect(diff.top(), &paths);
  return paths;
}

Paths ChangedPaths(const TestModel& model, const std::string& before,
                   const std::string& after) {
  return ChangedPaths(model.Tree(before), model.Tree(after));
}

std::string C(const std::string& inside) { return "<c NS>" + inside + "</c>"; }

// --- Single changes

TEST(Diff, OfEqualTreesIsEmpty) {
  const TestModel model(kBody);
  const std::string data =
      C("<a>1</a><n>1</n><ll>x</ll><ll>y</ll><num>1</num><p><x>1</x></p>"
        "<l><k>1</k><v>1</v><m><k1>1</k1><k2>2</k2></m></l><l><k>2</k></l>") +
      "<t NS><k>1</k></t>";
  EXPECT_EQ(ChangedPaths(model, data, data), Paths{});
  const DataTree before = model.Tree(data);
  const DataTree after = model.Tree(data);
  EXPECT_TRUE(Diff(before, after).top().empty());
}

TEST(Diff, SeesWhatComesGoesAndChanges) {
  const struct {
    std::string before;
    std::string after;
    Paths changes;
  } cases[] = {
      {"", C("<a>1</a>"), {"+ /c/a"}},
      {C("<a>1</a>"), "", {"- /c/a"}},
      {C("<a>1</a>"), C("<a>2</a>"), {"~ /c/a"}},
      {C("<a>1</a><d><x>1</x></d>"),
       C("<n>2</n><d><x>2</x></d>"),
       {"- /c/a", "+ /c/n", "~ /c/d/x"}},
      // One value in two forms.
      {C("<n>7</n>"), C("<n>007</n>"), {}},
      // Below an entry that stays.
      {C("<l><k>1</k><v>1</v></l><l><k>2</k></l>"),
       C("<l><k>1</k><v>2</v></l><l><k>2</k></l>"),
       {"~ /c/l[k='1']/v"}},
      // Entries at the top.
      {"<t NS><k>1</k></t>",
       "<t NS><k>2</k></t>",
       {"- /t[k='1']", "- /t[k='1']/k", "+ /t[k='2']", "+ /t[k='2']/k"}},
      // A default and the same explicit value.
      {"", C("<e>true</e>"), {}},
      {C("<e>true</e>"), "", {}},
      {C("<l><k>1</k><e>true</e></l>"), C("<l><k>1</k></l>"), {}},
      // A default that comes into force, or no longer is.
      {C("<e>false</e>"), "", {"~ /c/e"}},
      {"", C("<e>false</e>"), {"~ /c/e"}},
      // A presence container.
      {"", C("<p/>"), {"+ /c/p", "+ /c/p/y"}},
      {C("<p><x>1</x></p>"), "", {"- /c/p", "- /c/p/x", "- /c/p/y"}},
      // Entries of leaf-lists, one by one.
      {C("<ll>x</ll><ll>y</ll><num>1</num>"),
       C("<ll>y</ll><ll>z</ll><num>2</num>"),
       {"- /c/ll[.='x']", "+ /c/ll[.='z']", "- /c/num[.='1']",
        "+ /c/num[.='2']"}},
      // The order of leaves and lists.
      {C("<a>1</a><l><k>1</k></l><n>2</n>"),
       C("<l><k>1</k></l><n>2</n><a>1</a>"),
       {}}};
  const TestModel model(kBody);
  for (const auto& [before, after, changes] : cases) {
    EXPECT_EQ(ChangedPaths(model, before, after), changes)
        << before << " " << after;
  }
}

TEST(Diff, SeesAPlainContainerAsNothingOfItsOwn) {
  const TestModel model(kBody);
  for (const std::string& data : {std::string(), C("<d/>")}) {
    const DataTree before = model.Tree("");
    const DataTree after = model.Tree(data);
    EXPECT_TRUE(Diff(before, after).top().empty()) << data;
  }
}

// --- Shape of the tree of changes

TEST(DiffTree, HoldsEachLevelDownToTheChange) {
  const TestModel model(kBody);
  const DataTree before = model.Tree(C("<l><k>1</k><in><x>1</x></in></l>"));
  const DataTree after = model.Tree(C("<l><k>1</k><in><x>2</x></in></l>"));
  const Diff diff(before, after);
  const std::vector<Change>* level = &diff.top();
  for (const char* name : {"c", "l", "in", "x"}) {
    ASSERT_EQ(level->size(), 1U) << name;
    const Change& change = level->front();
    EXPECT_STREQ(change.schema->name, name);
    ASSERT_NE(change.before, nullptr);
    ASSERT_NE(change.after, nullptr);
    EXPECT_EQ(change.before->schema, change.schema);
    EXPECT_EQ(change.after->schema, change.schema);
    level = &change.children;
  }
  EXPECT_TRUE(level->empty());
}

TEST(DiffTree, OrdersChildrenAsTheCandidateDoesAndDeletedOnesLast) {
  const TestModel model(kBody);
  const auto entry = [](const char* k, const char* v) {
    return std::string("<l><k>") + k + "</k><v>" + v + "</v></l>";
  };
  const DataTree before =
      model.Tree(C(entry("1", "1") + entry("2", "1") + entry("3", "1")));
  const DataTree after =
      model.Tree(C(entry("4", "1") + entry("3", "2") + entry("2", "2")));
  const Diff diff(before, after);
  std::vector<std::string> order;
  for (const Change& change : diff.top().at(0).children) {
    order.push_back(ipav::datastore::KeysOf(change.Node()).at(0));
  }
  EXPECT_EQ(order, (std::vector<std::string>{"4", "3", "2", "1"}));
}

TEST(DiffOf, GivesTheChangeAtOrBelowANode) {
  const TestModel model(kBody);
  const DataTree before = model.Tree(
      C("<a>1</a><d><x>1</x></d><l><k>1</k><v>1</v></l><l><k>2</k></l>"));
  const DataTree after =
      model.Tree(C("<a>1</a><l><k>1</k><v>2</v></l><l><k>2</k></l>"
                   "<l><k>3</k><in><x>1</x></in></l>"));
  const Diff diff(before, after);
  const auto of = [&](const char* path) {
    return diff.Of(NodeAt(after, path));
  };
  EXPECT_EQ(of("/c"), &diff.top().front());
  // Above a deletion, and below a created node.
  for (const char* path : {"/c/d", "/c/l{1}", "/c/l{1}/v", "/c/l{3}",
                           "/c/l{3}/in", "/c/l{3}/in/x"}) {
    ASSERT_NE(of(path), nullptr) << path;
    EXPECT_EQ(of(path)->after, NodeAt(after, path)) << path;
    EXPECT_EQ(of(path)->before, NodeAt(before, path)) << path;
  }
  for (const char* path : {"/c/a", "/c/l{2}", "/c/l{1}/k"}) {
    EXPECT_EQ(of(path), nullptr) << path;
  }
  EXPECT_EQ(diff.Of(NodeAt(before, "/c/d/x")), nullptr);
}

// --- Typed keys of the project's model

DataTree AddressTree(const std::string& address) {
  return host_test::ProjectTree(
      "<config xmlns=\"urn:vorplex:config\"><interface>"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv6><address><ip>" +
      address + "</ip></address></ipv6></l3></interface></config>");
}

TEST(Diff, SeesAnAddressKeyInAnotherFormAsNoChange) {
  EXPECT_EQ(ChangedPaths(AddressTree("2001:DB8::1/64"),
                         AddressTree("2001:db8::1/64")),
            Paths{});
}

// --- Against libyang's own

// The same set from a diff tree of libyang's; `operation` is the parent's.
void CollectLibyang(const lyd_node* node, const std::string& inherited,
                    Paths* paths) {
  for (; node != nullptr; node = node->next) {
    std::string operation = inherited;
    const lyd_meta* meta = lyd_find_meta(node->meta, nullptr, "yang:operation");
    if (meta != nullptr) operation = lyd_get_meta_value(meta);
    const char* sign = operation == "create"    ? "+ "
                       : operation == "delete"  ? "- "
                       : operation == "replace" ? "~ "
                                                : nullptr;
    if (sign != nullptr && !IsPlainContainer(*node->schema)) {
      paths->insert(sign + PathOf(node));
    }
    // Keys have no operation where their entry stays.
    const bool recurses = operation == "create" || operation == "delete";
    const lyd_node* child = lyd_child(node);
    while (!recurses && child != nullptr && lysc_is_key(child->schema)) {
      child = child->next;
    }
    CollectLibyang(child, recurses ? operation : "none", paths);
  }
}

Paths LibyangChanges(const DataTree& before, const DataTree& after) {
  lyd_node* diff = nullptr;
  EXPECT_EQ(
      lyd_diff_siblings(before.FirstChild(nullptr), after.FirstChild(nullptr),
                        LYD_DIFF_DEFAULTS, &diff),
      LY_SUCCESS);
  Paths paths;
  CollectLibyang(diff, "none", &paths);
  lyd_free_all(diff);
  return paths;
}

// Writes a random tree of kBody, siblings in random order.
class RandomTree {
 public:
  explicit RandomTree(unsigned seed) : random_(seed) {}

  std::string Xml() {
    std::vector<std::string> parts = {One("a"), One("n")};
    if (Chance(3)) {
      parts.emplace_back(Chance(2) ? "<e>true</e>" : "<e>false</e>");
    }
    LeafList("ll", &parts);
    LeafList("num", &parts);
    if (Chance(2)) parts.push_back("<d>" + One("x") + "</d>");
    if (Chance(3)) parts.push_back("<p>" + One("x") + One("y") + "</p>");
    for (const int k : Numbers(Chance(3) ? 14 : 4)) parts.push_back(Entry(k));
    std::string xml = "<c NS>" + Shuffled(parts) + "</c>";
    for (const int k : Numbers(12)) {
      xml += "<t NS><k>" + std::to_string(k) + "</k>" + One("v") + "</t>";
    }
    return xml;
  }

 private:
  bool Chance(int one_in) { return Below(one_in) == 0; }
  int Below(int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(random_);
  }

  // A random part of 0 to limit - 1, shuffled.
  std::vector<int> Numbers(int limit) {
    std::vector<int> numbers;
    for (int i = 0; i < limit; ++i) {
      if (!Chance(4)) numbers.push_back(i);
    }
    std::shuffle(numbers.begin(), numbers.end(), random_);
    return numbers;
  }

  std::string One(const std::string& name) {
    if (Chance(2)) return "";
    return "<" + name + ">" + std::to_string(Below(2)) + "</" + name + ">";
  }

  void LeafList(const std::string& name, std::vector<std::string>* parts) {
    for (const int n : Numbers(3)) {
      parts->push_back("<" + name + ">" + std::to_string(n) + "</" + name +
                       ">");
    }
  }

  std::string Entry(int k) {
    std::vector<std::string> parts = {One("v")};
    if (Chance(3)) parts.emplace_back("<e>true</e>");
    if (Chance(2)) parts.push_back("<in>" + One("x") + "</in>");
    for (const int m : Numbers(3)) {
      parts.push_back("<m><k1>" + std::to_string(m) + "</k1><k2>b c</k2>" +
                      One("w") + "</m>");
    }
    return "<l><k>" + std::to_string(k) + "</k>" + Shuffled(parts) + "</l>";
  }

  std::string Shuffled(std::vector<std::string> parts) {
    std::shuffle(parts.begin(), parts.end(), random_);
    std::string text;
    for (const std::string& part : parts) text += part;
    return text;
  }

  std::mt19937 random_;
};

TEST(Diff, AgreesWithLibyangOnRandomTrees) {
  const TestModel model(kBody);
  std::size_t changes = 0;
  for (unsigned seed = 0; seed < 400; ++seed) {
    const std::string before_text = RandomTree(2 * seed).Xml();
    const std::string after_text = RandomTree(2 * seed + 1).Xml();
    const DataTree before = model.Tree(before_text);
    const DataTree after = model.Tree(after_text);
    const Paths ours = ChangedPaths(before, after);
    ASSERT_EQ(ours, LibyangChanges(before, after)) << "seed " << seed << "\n"
                                                   << before_text << "\n"
                                                   << after_text;
    changes += ours.size();
  }
  EXPECT_GT(changes, 4000U);  // else the trees were no test
}

}  // namespace
