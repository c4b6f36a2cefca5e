#include "host/datastore/model.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/fixtures.h"

namespace {

using host_test::Contains;
using host_test::InputErrorOf;
using host_test::ModelFolder;
using host_test::ProjectModel;
using host_test::SchemaAt;
using host_test::StartsWith;
using host_test::TempDir;
using host_test::TestModel;
using ipav::datastore::Dependency;
using ipav::datastore::Model;
using ipav::datastore::UseSite;

using Texts = std::vector<std::string>;

std::string LoadError(const ModelFolder& folder) {
  return InputErrorOf([&] { folder.Load(); });
}

std::string LoadErrorOf(const std::string& body) {
  return LoadError(ModelFolder().Add("m", body));
}

// "OPAQUE PATH" of every use site in the model's order.
Texts SitesOf(const Model& model) {
  Texts sites;
  for (const UseSite& site : model.use_sites()) {
    sites.push_back(site.opaque + " " + site.path);
  }
  return sites;
}

std::string Validate(const std::string& opaque) {
  return "tailf:validate \"test_set\" { tailf:opaque \"" + opaque + "\"; }";
}

// A leaf with a validation point of these substatements.
std::string LeafWithPoint(const std::string& name,
                          const std::string& substatements) {
  return "leaf " + name + " { type string; tailf:validate test_set { " +
         substatements + " } }";
}

// The only dependency of the only use site.
Dependency DependencyOf(const Model& model) {
  return model.use_sites().at(0).dependencies.at(0);
}

std::string LeafWithDependency(const std::string& path) {
  return "leaf a { type string; } container c { leaf x { type string; } " +
         LeafWithPoint("y", "tailf:dependency \"" + path + "\";") + " }";
}

// --- Loading

TEST(ModelLoading, WhatCannotBeLoadedIsAnInputErrorThatNamesIt) {
  const auto expect_named = [](const std::string& folder,
                               const std::string& plugin,
                               const std::string& name) {
    EXPECT_TRUE(StartsWith(InputErrorOf([&] { Model(folder, plugin); }), name));
  };
  const TempDir dir;
  const std::string missing = dir.path() + "/nowhere";
  expect_named(missing, IPAV_EXTENSION, missing);
  const std::string file = dir.Write("README.md", "no module");
  expect_named(file, IPAV_EXTENSION, file);
  expect_named(dir.path(), IPAV_EXTENSION, dir.path());

  ModelFolder folder;
  folder.Add("m", "leaf a { type string; }");
  const std::string plugin = "/nowhere/plugin.so";
  expect_named(folder.path(), plugin, plugin);
  expect_named(folder.path(), file, file);
  const TestModel other("leaf a { type string; }");  // has loaded the right one
  expect_named(folder.path(), plugin, plugin);
}

TEST(ModelLoading, FolderMayHaveAColonAndModuleFileItsRevisionInItsName) {
  for (const std::string name : {"/a:b/m.yang", "/c/m@2024-01-01.yang"}) {
    const TempDir dir;
    const std::string folder = dir.path() + name.substr(0, name.rfind('/'));
    std::filesystem::create_directory(folder);
    dir.Write(name.substr(1),
              "module m { namespace \"urn:m\"; prefix m; "
              "revision 2024-01-01; leaf a { type string; } }");
    const Model model(folder, IPAV_EXTENSION);
    EXPECT_NE(model.FindChild(nullptr, "", "a"), nullptr) << name;
  }
}

TEST(ModelLoading, SyntaxErrorNamesFileAndLineAlsoOfAnImportedModule) {
  const std::string wrong = "  leaf a {\n    typo string;\n  }\n}\n";
  ModelFolder folder;
  folder.AddText("a",
                 "module a {\n  namespace \"urn:a\";\n  prefix a;\n" + wrong);
  EXPECT_TRUE(StartsWith(LoadError(folder), folder.path() + "/a.yang:5: "));
  folder.AddText("a",
                 "module a {\n  namespace \"urn:a\";\n  prefix a;\n"
                 "  import z { prefix z; }\n}\n");
  folder.AddText(
      "z", "module z {\n  namespace \"urn:z\";\n  prefix z;\n\n\n" + wrong);
  EXPECT_TRUE(StartsWith(LoadError(folder), folder.path() + "/z.yang:7: "));
}

TEST(ModelLoading, UnknownImportOrTypeIsAnInputErrorThatNamesFileAndName) {
  const std::pair<std::string, std::string> cases[] = {
      {"import not-there { prefix n; }", "not-there"},
      {"leaf a { type no-such-type; }", "no-such-type"}};
  for (const auto& [body, name] : cases) {
    ModelFolder folder;
    folder.Add("m", body);
    const std::string error = LoadError(folder);
    EXPECT_TRUE(StartsWith(error, folder.path() + "/m.yang"));
    EXPECT_TRUE(Contains(error, name));
  }
}

TEST(ModelLoading, ErrorIsOneLine) {
  EXPECT_EQ(LoadErrorOf("leaf a { type string; default \"b\n\nc\"; typo x; }")
                .find('\n'),
            std::string::npos);
}

TEST(ModelLoading, FailureLeavesTheNextModelWithItsExtensionPlugin) {
  LoadErrorOf("leaf a { typo string; }");
  ModelFolder folder;
  folder.Add("m", "leaf a { type string; " + Validate("one") + " }");
  InputErrorOf([&] { Model(folder.path(), "/nowhere/plugin.so"); });
  EXPECT_EQ(SitesOf(*folder.Load()), Texts{"one /a"});
}

TEST(ModelLoading, ExtensionPluginAppliesToModelsAliveAtOnce) {
  const std::string body = "leaf a { type string; " + Validate("one") + " }";
  auto first = std::make_unique<TestModel>(body);
  const TestModel second(body);
  EXPECT_EQ(SitesOf(*second), Texts{"one /a"});
  first.reset();
  const TestModel third(body);
  EXPECT_EQ(SitesOf(*second), Texts{"one /a"});
  EXPECT_EQ(SitesOf(*third), Texts{"one /a"});
}

// --- Use sites

TEST(UseSites, AreFoundInTheOrderOfTheModel) {
  const struct {
    std::string body;
    std::string second;  // the body of a second module, n
    Texts sites;
  } cases[] = {
      {"container c { " + Validate("of-container") + " list l { key k; " +
           Validate("of-list") + " leaf k { type string; } " +
           LeafWithPoint("v", "tailf:opaque of-leaf;") + " } }",
       "",
       {"of-container /c", "of-list /c/l", "of-leaf /c/l/v"}},
      // At each use of a grouping.
      {"grouping g { " + LeafWithPoint("v", "tailf:opaque shared;") +
           " } container a { uses g; } container b { uses g; }",
       "",
       {"shared /a/v", "shared /b/v"}},
      // In the target of an augment and of a deviation.
      {"container c { }",
       "import m { prefix m; } augment \"/m:c\" { " +
           LeafWithPoint("v", "tailf:opaque augmented;") + " }",
       {"augmented /c/v"}},
      {"container c { leaf v { type string; } }",
       "import m { prefix m; } deviation \"/m:c/m:v\" { " +
           Validate("deviated") + " deviate add { units \"s\"; } }",
       {"deviated /c/v"}},
      // In a choice, with the path of their data node.
      {"container c { choice d { case e { " +
           LeafWithPoint("v", "tailf:opaque chosen;") + " } } }",
       "",
       {"chosen /c/v"}},
      // Several of one node.
      {"container c { " + Validate("z") + Validate("a") + Validate("m") + " }",
       "",
       {"z /c", "a /c", "m /c"}},
      // By priority first.
      {LeafWithPoint("d", "tailf:opaque d; tailf:priority 10;") +
           LeafWithPoint("c", "tailf:opaque c;") +
           LeafWithPoint("b", "tailf:opaque b; tailf:priority -1;") +
           LeafWithPoint("a", "tailf:opaque a;") +
           LeafWithPoint("e", "tailf:opaque e; tailf:priority 10;") +
           LeafWithPoint("f", "tailf:opaque f; tailf:priority 0;"),
       "",
       {"b /b", "c /c", "a /a", "f /f", "d /d", "e /e"}}};
  for (const auto& one : cases) {
    ModelFolder folder;
    folder.Add("m", one.body);
    if (!one.second.empty()) folder.Add("n", one.second);
    EXPECT_EQ(SitesOf(*folder.Load()), one.sites) << one.body;
  }
}

TEST(UseSites, OfTheProjectStandInTheOrderOfTheInterfaceKinds) {
  Texts timers;
  for (const std::string& site : SitesOf(ProjectModel())) {
    if (site.find("_nd_ra_") != std::string::npos) timers.push_back(site);
  }
  const std::string interval = "validate_ipv6_nd_ra_interval ";
  const std::string lifetime = "validate_ipv6_nd_ra_lifetime ";
  EXPECT_EQ(timers, (Texts{interval + "/config/interface/l3/ipv6/nd/ra",
                           lifetime + "/config/interface/l3/ipv6/nd/ra",
                           interval + "/config/interface/mgmt/ipv6/nd/ra",
                           lifetime + "/config/interface/mgmt/ipv6/nd/ra"}));
}

// The substatements of the only use site.
std::string SubstatementsOf(const std::string& body) {
  const TestModel model(body);
  EXPECT_EQ(model->use_sites().size(), 1U);
  const UseSite& site = model->use_sites().at(0);
  EXPECT_EQ(site.node, &SchemaAt(*model, site.path));
  return site.point + (site.has_opaque ? " \"" : " none ") + site.opaque +
         (site.has_opaque ? "\"" : "") + (site.call_once ? " once " : " ") +
         std::to_string(site.priority) + " " +
         std::to_string(site.dependencies.size());
}

TEST(UseSites, CarryTheirSubstatementsOrTheDefaults) {
  EXPECT_EQ(SubstatementsOf("leaf a { type string; tailf:validate other; }"),
            "other none  0 0");
  EXPECT_EQ(SubstatementsOf(LeafWithPoint(
                "a", "tailf:opaque \"\"; tailf:call-once \"false\";")),
            "test_set \"\" 0 0");
  EXPECT_EQ(
      SubstatementsOf(
          "list l { key k; leaf k { type string; } tailf:validate test_set { "
          "tailf:opaque \"some text\"; tailf:call-once \"true\"; "
          "tailf:priority \"-3\"; tailf:dependency \".\"; "
          "tailf:dependency \"k\"; } }"),
      "test_set \"some text\" once -3 2");
}

TEST(UseSites, DoNotTakeAnotherModulesStatementsOfTheSameName) {
  ModelFolder folder;
  folder.AddText("oo",
                 "module oo { namespace \"urn:oo\"; prefix oo; "
                 "extension opaque { argument a; } "
                 "extension priority { argument a; } "
                 "extension validate { argument a; } }");
  folder.Add("m",
             "import oo { prefix oo; } leaf a { type string; "
             "oo:validate test_set; tailf:validate test_set { "
             "oo:opaque \"not this\"; oo:priority \"none\"; } }");
  const auto model = folder.Load();
  ASSERT_EQ(model->use_sites().size(), 1U);
  EXPECT_FALSE(model->use_sites()[0].has_opaque);
  EXPECT_EQ(model->use_sites()[0].priority, 0);
}

TEST(UseSites, AreFoundUnderAnyPrefixOfTheirModule) {
  ModelFolder folder;
  folder.AddText("m",
                 "module m { namespace \"urn:m\"; prefix m; "
                 "import tailf-common { prefix t; } leaf a { type string; "
                 "t:validate test_set { t:opaque \"text\"; } } }");
  EXPECT_EQ(SitesOf(*folder.Load()), Texts{"text /a"});
}

// --- Bad annotations

TEST(BadAnnotation, IsRefusedByItsName) {
  struct Case {
    std::string body;
    Texts parts;  // of the error
  };
  std::vector<Case> cases = {
      {"list l { key k; leaf k { type string; } tailf:validate test_set { "
       "tailf:call-once \"yes\"; } }",
       {"yes", "call-once"}},
      {"container c { " + LeafWithPoint("a", "tailf:call-once \"true\";") +
           " }",
       {"/c/a", "call-once"}},
      {LeafWithDependency("/c//x"), {"dependency"}},
      {LeafWithDependency("../zz:x"), {"zz:x", "dependency"}},
      // Two tag numbers for one name, and one for two.
      {"leaf a { type string; ipav:tag-number \"0x5\"; } container "
       "c { leaf a { type string; ipav:tag-number \"0x6\"; } }",
       {"tag-number", "/c/a"}},
      {"leaf a { type string; ipav:tag-number \"0x5\"; } "
       "leaf b { type string; ipav:tag-number \"0x5\"; }",
       {"tag-number", "/b"}}};
  for (const std::string priority : {"high", "1x", "", "1.5", "99999999999"}) {
    cases.push_back({LeafWithPoint("a", "tailf:priority \"" + priority + "\";"),
                     {"priority"}});
  }
  for (const std::string path : {"../z", "/z", "/c/z", "../x/z", "z", "x[1]",
                                 "../../../a", "/..", "", "../x/../y"}) {
    cases.push_back({LeafWithDependency(path), {"dependency", path}});
  }
  for (const std::string number :
       {"0x0", "zz", "0x", "0x12zz", "0x100000001", "12", "-0x1"}) {
    cases.push_back(
        {"leaf a { type string; ipav:tag-number \"" + number + "\"; }",
         {"tag-number"}});
  }
  for (const auto& [body, parts] : cases) {
    const std::string error = LoadErrorOf(body);
    for (const std::string& part : parts) {
      EXPECT_TRUE(Contains(error, part)) << body;
    }
  }
}

// --- Dependencies

TEST(Dependencies, LeadUpAndThenDown) {
  const struct {
    std::string body;
    std::string text;
    bool absolute;
    unsigned ups;
    Texts steps;
  } cases[] = {
      {LeafWithDependency("."), ".", false, 0, {}},
      {LeafWithDependency(".."), "..", false, 1, {}},
      {LeafWithDependency("../x"), "../x", false, 1, {"/c/x"}},
      {"container c { tailf:validate test_set { tailf:dependency \"d/x\"; } "
       "container d { leaf x { type string; } } }",
       "d/x",
       false,
       0,
       {"/c/d", "/c/d/x"}},
      {LeafWithDependency("/m:c/x"), "/m:c/x", true, 0, {"/c", "/c/x"}},
      {LeafWithDependency("../../a"), "../../a", false, 2, {"/a"}}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.text);
    const TestModel model(one.body);
    const Dependency dependency = DependencyOf(*model);
    EXPECT_EQ(dependency.text, one.text);
    EXPECT_EQ(dependency.absolute, one.absolute);
    EXPECT_EQ(dependency.ups, one.ups);
    std::vector<const lysc_node*> steps;
    for (const auto& path : one.steps) steps.push_back(&SchemaAt(*model, path));
    EXPECT_EQ(dependency.steps, steps);
  }
}

// A dependency of the module `n`, which imports m as `other`.
void ExpectSteps(const std::string& m, const std::string& n,
                 const std::string& text, const Texts& steps) {
  ModelFolder folder;
  folder.Add("m", m);
  folder.Add("n", "import m { prefix other; } " + n);
  const auto model = folder.Load();
  const Dependency dependency = DependencyOf(*model);
  EXPECT_EQ(dependency.text, text);
  std::vector<const lysc_node*> nodes;
  for (const std::string& path : steps) {
    nodes.push_back(&SchemaAt(*model, path));
  }
  EXPECT_EQ(dependency.steps, nodes);
}

TEST(Dependencies, ReplacePrefixesByModuleNames) {
  ExpectSteps(
      "container q { container b { leaf c { type string; } } container r { } }",
      "augment \"/other:q/other:r\" { " +
          LeafWithPoint("v", "tailf:dependency \"../../other:b/other:c\";") +
          " }",
      "../../m:b/m:c", {"/q/b", "/q/b/c"});
  // The prefixes of a deviation are those of the deviating module.
  ExpectSteps("container c { leaf v { type string; } leaf w { type string; } }",
              "deviation \"/other:c/other:v\" { "
              "tailf:validate test_set { tailf:dependency \"../other:w\"; } "
              "deviate add { units \"s\"; } }",
              "../m:w", {"/c/w"});
}

TEST(Dependencies, WithoutPrefixPreferTheOwnModule) {
  ExpectSteps("container c { leaf x { type string; } " +
                  LeafWithPoint("y", "tailf:dependency \"../x\";") + " }",
              "augment \"/other:c\" { leaf x { type string; } }", "../x",
              {"/c/m:x"});
}

// --- Tag numbers

TEST(TagNumbers, AreTheGivenOnesAndLeadBackToTheName) {
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"/config/interface/mgmt", 0x1412343f},
      {"/config/interface/l3", 0x213f1a7a},
      {"/config/interface/loopback", 0x1472cced},
      {"/internal/ospf-interface-l3", 0x6af0fc0e},
      {"/config/interface/mgmt/vrf", 0x4c5f3e78},
      {"/config/interface/l3/vrf", 0x4c5f3e78},
      {"/config/interface/loopback/vrf", 0x4c5f3e78}};
  const Model& model = ProjectModel();
  for (const auto& [path, number] : cases) {
    const lysc_node& node = SchemaAt(model, path);
    EXPECT_EQ(model.TagOf(node).tag, number) << path;
    ASSERT_NE(model.NameOfTag(number), nullptr) << path;
    EXPECT_EQ(*model.NameOfTag(number), node.name);
  }
  const auto own = model.TagOf(SchemaAt(model, "/config")).tag;
  ASSERT_NE(model.NameOfTag(own), nullptr);
  EXPECT_EQ(*model.NameOfTag(own), "config");
  EXPECT_EQ(model.NameOfTag(0xfffffff0), nullptr);
  EXPECT_EQ(model.NameOfTag(0), nullptr);
}

TEST(TagNumbers, OfOtherNodesAreUniquePerNameAndAvoidTheGivenOnes) {
  const TestModel model(
      "leaf a { type string; } leaf b { type string; } "
      "leaf c { type string; ipav:tag-number \"0x1\"; } "
      "leaf d { type string; ipav:tag-number \"0x3\"; } "
      "container e { leaf a { type string; } }");
  const auto tag = [&](const char* path) {
    return model->TagOf(SchemaAt(*model, path)).tag;
  };
  EXPECT_EQ(tag("/c"), 1U);
  EXPECT_EQ(tag("/d"), 3U);
  EXPECT_EQ(tag("/a"), tag("/e/a"));
  const std::set<std::uint32_t> all = {tag("/a"), tag("/b"), tag("/c"),
                                       tag("/d"), tag("/e")};
  EXPECT_EQ(all.size(), 5U);
  EXPECT_EQ(all.count(0), 0U);
}

TEST(TagNumbers, TellTheModulesApart) {
  const Model& model = ProjectModel();
  const auto ns = [&](const char* path) {
    return model.TagOf(SchemaAt(model, path)).ns;
  };
  EXPECT_EQ(ns("/config"), ns("/config/interface"));
  EXPECT_NE(ns("/config"), ns("/config/interface/l3"));
  EXPECT_NE(ns("/config"), ns("/internal"));
}

// --- Value types

confd_vtype TypeOf(const std::string& type) {
  const TestModel model("typedef once { type " + type +
                        " } typedef twice { type once; } "
                        "leaf a { type twice; }");
  const auto& leaf =
      reinterpret_cast<const lysc_node_leaf&>(SchemaAt(*model, "/a"));
  return ipav::datastore::ValueTypeOf(*leaf.type);
}

TEST(ValueTypes, FollowTheYangTypeThroughTypedefs) {
  const std::pair<const char*, confd_vtype> cases[] = {
      {"string;", C_BUF},
      {"int8;", C_INT8},
      {"int16;", C_INT16},
      {"int32;", C_INT32},
      {"int64;", C_INT64},
      {"uint8;", C_UINT8},
      {"uint16;", C_UINT16},
      {"uint32;", C_UINT32},
      {"uint64;", C_UINT64},
      {"boolean;", C_BOOL},
      {"enumeration { enum x; }", C_ENUM_VALUE},
      {"int32 { range \"1..4\"; }", C_INT32},
      {"inet:port-number;", C_UINT16},
      {"inet:ipv4-address;", C_IPV4},
      {"inet:ipv6-address;", C_IPV6},
      {"inet:ipv4-address-no-zone;", C_IPV4},
      {"inet:ipv6-address-no-zone;", C_IPV6},
      {"tailf:ipv4-address-and-prefix-length;", C_IPV4_AND_PLEN},
      {"tailf:ipv6-address-and-prefix-length;", C_IPV6_AND_PLEN},
      {"tailf:hex-list;", C_BINARY},
      {"leafref { path \"/m:t\"; } } leaf t { type uint8;", C_UINT8},
      // What the host does not carry.
      {"decimal64 { fraction-digits 2; }", C_NOEXISTS},
      {"bits { bit x; }", C_NOEXISTS},
      {"instance-identifier;", C_NOEXISTS}};
  for (const auto& [type, expected] : cases) {
    EXPECT_EQ(TypeOf(type), expected) << type;
  }
}

// The daemon has special types for these, which the platform interface does not
// declare.
TEST(ValueTypes, AreNotTextForWhatIsNoTextToTheDaemon) {
  EXPECT_NE(TypeOf("inet:ipv4-prefix;"), C_BUF);
  EXPECT_NE(TypeOf("inet:ipv6-prefix;"), C_BUF);
  EXPECT_NE(TypeOf("yang:date-and-time;"), C_BUF);
}

// --- Children

TEST(FindChild, TakesPrefixModuleNameOrNeither) {
  ModelFolder folder;
  folder.AddText("mod",
                 "module mod { namespace \"urn:mod\"; prefix pre; "
                 "container c { leaf x { type string; } } }");
  const auto model = folder.Load();
  const lysc_node* c = model->FindChild(nullptr, "", "c");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(model->FindChild(nullptr, "pre", "c"), c);
  EXPECT_EQ(model->FindChild(nullptr, "mod", "c"), c);
  EXPECT_EQ(model->FindChild(nullptr, "nor", "c"), nullptr);
  EXPECT_NE(model->FindChild(c, "", "x"), nullptr);
  EXPECT_NE(model->FindChild(c, "pre", "x"), nullptr);
  EXPECT_EQ(model->FindChild(c, "", "y"), nullptr);
}

TEST(FindChild, TellsAmbiguousFromUnknown) {
  ModelFolder folder;
  folder.Add("m", "container c { }");
  folder.Add("n", "container c { }");
  const auto model = folder.Load();
  bool ambiguous = false;
  EXPECT_EQ(model->FindChild(nullptr, "", "c", &ambiguous), nullptr);
  EXPECT_TRUE(ambiguous);
  EXPECT_EQ(model->FindChild(nullptr, "", "d", &ambiguous), nullptr);
  EXPECT_FALSE(ambiguous);
  EXPECT_NE(model->FindChild(nullptr, "m", "c", &ambiguous), nullptr);
  EXPECT_FALSE(ambiguous);
  EXPECT_NE(model->FindChild(nullptr, "m", "c"),
            model->FindChild(nullptr, "n", "c"));
}

TEST(FindChild, LooksThroughChoices) {
  const TestModel model(
      "container c { choice d { case e { "
      "leaf x { type string; } } } }");
  const lysc_node* c = model->FindChild(nullptr, "", "c");
  EXPECT_NE(model->FindChild(c, "", "x"), nullptr);
  EXPECT_EQ(model->FindChild(c, "", "d"), nullptr);
}

TEST(FindChild, DistinguishesNodesOfTwoModulesUnderOneParent) {
  ModelFolder folder;
  folder.Add("m", "container c { leaf x { type string; } }");
  folder.Add("n",
             "import m { prefix m; } augment \"/m:c\" { "
             "leaf x { type uint8; } }");
  const auto model = folder.Load();
  const lysc_node* c = model->FindChild(nullptr, "", "c");
  bool ambiguous = false;
  EXPECT_EQ(model->FindChild(c, "", "x", &ambiguous), nullptr);
  EXPECT_TRUE(ambiguous);
  EXPECT_NE(model->FindChild(c, "n", "x"), model->FindChild(c, "m", "x"));
}

TEST(Constraints, BetweenKeysOfOneEntryAreNoneBetweenNodes) {
  const auto judges_alone = [](const std::string& must) {
    const TestModel model(
        "container c { list l { key \"k j\"; leaf k { type "
        "string; must \"" +
        must +
        "\"; } leaf j { type "
        "string; } leaf v { type string; } } }");
    return model->judges_nodes_alone();
  };
  for (const char* own : {". != 'x'", ". = ../j"}) {
    EXPECT_TRUE(judges_alone(own)) << own;
  }
  for (const char* other :
       {"../v", "../../l/j", "/c/l", "../preceding-sibling::l"}) {
    EXPECT_FALSE(judges_alone(other)) << other;
  }
  EXPECT_FALSE(TestModel("list l { key k; leaf k { type string; "
                         "must \"../../l\"; } }")
                   ->judges_nodes_alone());
}

}  // namespace
