#include "host/datastore/model.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
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

std::string LoadError(const ModelFolder& folder) {
  return InputErrorOf([&] { folder.Load(); });
}

std::string LoadErrorOf(const std::string& body) {
  return LoadError(ModelFolder().Add("m", body));
}

// "OPAQUE PATH" of every use site in the model's order.
std::vector<std::string> SitesOf(const Model& model) {
  std::vector<std::string> sites;
  for (const UseSite& site : model.use_sites()) {
    sites.push_back(site.opaque + " " + site.path);
  }
  return sites;
}

std::string Validate(const std::string& opaque) {
  return "tailf:validate \"test_set\" { tailf:opaque \"" + opaque + "\"; }";
}

// The only dependency of the only use site.
Dependency DependencyOf(const Model& model) {
  return model.use_sites().at(0).dependencies.at(0);
}

std::string LeafWithDependency(const std::string& path) {
  return "leaf a { type string; } container c { leaf x { type string; } "
         "leaf y { type string; tailf:validate \"test_set\" { "
         "tailf:dependency \"" +
         path + "\"; } } }";
}

// --- Loading

TEST(ModelLoading, ProjectsOwnModelLoads) {
  const Model& model = ProjectModel();
  EXPECT_NE(model.FindChild(nullptr, "", "config"), nullptr);
  EXPECT_FALSE(model.use_sites().empty());
}

TEST(ModelLoading, MissingFolderIsAnInputErrorThatNamesIt) {
  const TempDir dir;
  const std::string missing = dir.path() + "/nowhere";
  EXPECT_TRUE(StartsWith(InputErrorOf([&] { Model(missing, IPAV_EXTENSION); }),
                         missing));
}

TEST(ModelLoading, FileInPlaceOfAFolderIsAnInputErrorThatNamesIt) {
  const TempDir dir;
  const std::string file = dir.Write("file", "text");
  EXPECT_TRUE(
      StartsWith(InputErrorOf([&] { Model(file, IPAV_EXTENSION); }), file));
}

TEST(ModelLoading, FolderWithoutModulesIsAnInputErrorThatNamesIt) {
  const TempDir dir;
  dir.Write("README.md", "no module");
  EXPECT_TRUE(StartsWith(
      InputErrorOf([&] { Model(dir.path(), IPAV_EXTENSION); }), dir.path()));
}

TEST(ModelLoading, FolderWithAColonInItsNameLoads) {
  const TempDir dir;
  const std::string folder = dir.path() + "/a:b";
  std::filesystem::create_directory(folder);
  dir.Write("a:b/m.yang",
            "module m { namespace \"urn:m\"; prefix m; "
            "leaf a { type string; } }");
  const Model model(folder, IPAV_EXTENSION);
  EXPECT_NE(model.FindChild(nullptr, "", "a"), nullptr);
}

TEST(ModelLoading, ModuleFileNamedWithItsRevisionLoads) {
  const TempDir dir;
  dir.Write("m@2024-01-01.yang",
            "module m { namespace \"urn:m\"; prefix m; "
            "revision 2024-01-01; leaf a { type string; } }");
  const Model model(dir.path(), IPAV_EXTENSION);
  EXPECT_NE(model.FindChild(nullptr, "", "a"), nullptr);
}

TEST(ModelLoading, SyntaxErrorNamesFileAndLine) {
  ModelFolder folder;
  folder.AddText("m",
                 "module m {\n  namespace \"urn:m\";\n  prefix m;\n"
                 "  leaf a {\n    typo string;\n  }\n}\n");
  EXPECT_TRUE(StartsWith(LoadError(folder), folder.path() + "/m.yang:5: "));
}

TEST(ModelLoading, SyntaxErrorOfAnImportedModuleNamesTheImportedFile) {
  ModelFolder folder;
  folder.AddText("a",
                 "module a {\n  namespace \"urn:a\";\n  prefix a;\n"
                 "  import z { prefix z; }\n}\n");
  folder.AddText("z",
                 "module z {\n  namespace \"urn:z\";\n  prefix z;\n\n\n"
                 "  leaf a {\n    typo string;\n  }\n}\n");
  EXPECT_TRUE(StartsWith(LoadError(folder), folder.path() + "/z.yang:7: "));
}

TEST(ModelLoading, UnknownImportIsAnInputErrorThatNamesFileAndImport) {
  ModelFolder folder;
  folder.AddText("m",
                 "module m {\n  namespace \"urn:m\";\n  prefix m;\n"
                 "  import not-there { prefix n; }\n}\n");
  const std::string error = LoadError(folder);
  EXPECT_TRUE(StartsWith(error, folder.path() + "/m.yang"));
  EXPECT_TRUE(Contains(error, "not-there"));
}

TEST(ModelLoading, UnknownTypeIsAnInputErrorThatNamesFileAndType) {
  ModelFolder folder;
  folder.Add("m", "leaf a { type no-such-type; }");
  const std::string error = LoadError(folder);
  EXPECT_TRUE(StartsWith(error, folder.path() + "/m.yang"));
  EXPECT_TRUE(Contains(error, "no-such-type"));
}

TEST(ModelLoading, ImportedModuleMayLieInTheFolderStubs) {
  const TestModel model("leaf a { type tailf:hex-list; }");
  EXPECT_NE(model->FindChild(nullptr, "", "a"), nullptr);
}

TEST(ModelLoading, ErrorIsOneLine) {
  EXPECT_EQ(LoadErrorOf("leaf a { type string; default \"b\n\nc\"; typo x; }")
                .find('\n'),
            std::string::npos);
}

TEST(ModelLoading, MissingExtensionPluginIsAnInputErrorThatNamesIt) {
  ModelFolder folder;
  folder.Add("m", "leaf a { type string; }");
  EXPECT_TRUE(StartsWith(
      InputErrorOf([&] { Model(folder.path(), "/nowhere/plugin.so"); }),
      "/nowhere/plugin.so"));
}

TEST(ModelLoading, TextFileIsNoExtensionPlugin) {
  ModelFolder folder;
  folder.Add("m", "leaf a { type string; }");
  const TempDir dir;
  const std::string file = dir.Write("plugin.so", "just a text");
  EXPECT_TRUE(
      StartsWith(InputErrorOf([&] { Model(folder.path(), file); }), file));
}

TEST(ModelLoading, WrongExtensionPluginShowsWhileAnotherModelIsAlive) {
  const TestModel other("leaf a { type string; }");
  ModelFolder folder;
  folder.Add("m", "leaf a { type string; }");
  EXPECT_TRUE(StartsWith(
      InputErrorOf([&] { Model(folder.path(), "/nowhere/plugin.so"); }),
      "/nowhere/plugin.so"));
}

TEST(ModelLoading, FailureLeavesTheNextModelWithItsExtensionPlugin) {
  LoadErrorOf("leaf a { typo string; }");
  ModelFolder folder;
  folder.Add("m", "leaf a { type string; " + Validate("one") + " }");
  InputErrorOf([&] { Model(folder.path(), "/nowhere/plugin.so"); });
  EXPECT_EQ(SitesOf(*folder.Load()), std::vector<std::string>{"one /a"});
}

TEST(ModelLoading, ExtensionPluginAppliesToModelsOneAfterAnother) {
  const std::string body = "leaf a { type string; " + Validate("one") + " }";
  for (int i = 0; i < 3; ++i) {
    const TestModel model(body);
    EXPECT_EQ(SitesOf(*model), std::vector<std::string>{"one /a"});
  }
}

TEST(ModelLoading, ExtensionPluginAppliesToModelsAliveAtOnce) {
  const std::string body = "leaf a { type string; " + Validate("one") + " }";
  auto first = std::make_unique<TestModel>(body);
  const TestModel second(body);
  EXPECT_EQ(SitesOf(*second), std::vector<std::string>{"one /a"});
  first.reset();
  const TestModel third(body);
  EXPECT_EQ(SitesOf(*second), std::vector<std::string>{"one /a"});
  EXPECT_EQ(SitesOf(*third), std::vector<std::string>{"one /a"});
}

// --- Use sites

TEST(UseSites, AreFoundOnContainerListAndLeaf) {
  const TestModel model("container c { " + Validate("of-container") +
                        " list l { key k; " + Validate("of-list") +
                        " leaf k { type string; } leaf v { type string; " +
                        Validate("of-leaf") + " } } }");
  EXPECT_EQ(SitesOf(*model),
            (std::vector<std::string>{"of-container /c", "of-list /c/l",
                                      "of-leaf /c/l/v"}));
}

TEST(UseSites, OfAGroupingAreFoundAtEachOfItsUses) {
  const TestModel model("grouping g { leaf v { type string; " +
                        Validate("shared") +
                        " } } container a { uses g; } container b { uses g; }");
  EXPECT_EQ(SitesOf(*model),
            (std::vector<std::string>{"shared /a/v", "shared /b/v"}));
}

TEST(UseSites, OfAnAugmentAreFoundInItsTarget) {
  ModelFolder folder;
  folder.Add("m", "container c { }");
  folder.Add("n",
             "import m { prefix m; } augment \"/m:c\" { leaf v { "
             "type string; " +
                 Validate("augmented") + " } }");
  EXPECT_EQ(SitesOf(*folder.Load()),
            std::vector<std::string>{"augmented /c/v"});
}

TEST(UseSites, OfADeviationAreFoundInItsTarget) {
  ModelFolder folder;
  folder.Add("m", "container c { leaf v { type string; } }");
  folder.Add("n", "import m { prefix m; } deviation \"/m:c/m:v\" { " +
                      Validate("deviated") + " deviate add { units \"s\"; } }");
  EXPECT_EQ(SitesOf(*folder.Load()), std::vector<std::string>{"deviated /c/v"});
}

TEST(UseSites, OfADeviationResolvePrefixesOfTheDeviatingModule) {
  ModelFolder folder;
  folder.Add("m",
             "container c { leaf v { type string; } "
             "leaf w { type string; } }");
  folder.Add("n",
             "import m { prefix other; } deviation \"/other:c/other:v\" { "
             "tailf:validate test_set { tailf:dependency \"../other:w\"; } "
             "deviate add { units \"s\"; } }");
  const auto model = folder.Load();
  EXPECT_EQ(DependencyOf(*model).text, "../m:w");
  EXPECT_EQ(DependencyOf(*model).steps,
            std::vector<const lysc_node*>{&SchemaAt(*model, "/c/w")});
}

TEST(UseSites, InAChoiceHaveThePathOfTheirDataNode) {
  const TestModel model(
      "container c { choice d { case e { leaf v { "
      "type string; " +
      Validate("chosen") + " } } } }");
  EXPECT_EQ(SitesOf(*model), std::vector<std::string>{"chosen /c/v"});
}

TEST(UseSites, OfOneNodeKeepTheirOrder) {
  const TestModel model("container c { " + Validate("z") + Validate("a") +
                        Validate("m") + " }");
  EXPECT_EQ(SitesOf(*model),
            (std::vector<std::string>{"z /c", "a /c", "m /c"}));
}

TEST(UseSites, OfTheProjectStandInTheOrderOfTheInterfaceKinds) {
  const std::string interval = "validate_ipv6_nd_ra_interval ";
  const std::string lifetime = "validate_ipv6_nd_ra_lifetime ";
  const std::vector<std::string> sites = SitesOf(ProjectModel());
  const std::vector<std::string> expected = {
      interval + "/config/interface/l3/ipv6/nd/ra",
      lifetime + "/config/interface/l3/ipv6/nd/ra",
      interval + "/config/interface/mgmt/ipv6/nd/ra",
      lifetime + "/config/interface/mgmt/ipv6/nd/ra"};
  std::vector<std::string> timers;
  for (const std::string& site : sites) {
    if (site.find("_nd_ra_") != std::string::npos) timers.push_back(site);
  }
  EXPECT_EQ(timers, expected);
}

TEST(UseSites, WithoutSubstatementsHaveTheDefaults) {
  const TestModel model("leaf a { type string; tailf:validate other_set; }");
  const UseSite& site = model->use_sites().at(0);
  EXPECT_EQ(site.point, "other_set");
  EXPECT_EQ(site.opaque, "");
  EXPECT_FALSE(site.has_opaque);
  EXPECT_EQ(site.node, &SchemaAt(*model, "/a"));
  EXPECT_FALSE(site.call_once);
  EXPECT_EQ(site.priority, 0);
  EXPECT_TRUE(site.dependencies.empty());
}

TEST(UseSites, CarryTheirSubstatements) {
  const TestModel model(
      "list l { key k; leaf k { type string; } tailf:validate test_set { "
      "tailf:opaque \"some text\"; tailf:call-once \"true\"; "
      "tailf:priority \"-3\"; tailf:dependency \".\"; "
      "tailf:dependency \"k\"; } }");
  const UseSite& site = model->use_sites().at(0);
  EXPECT_EQ(site.opaque, "some text");
  EXPECT_TRUE(site.has_opaque);
  EXPECT_TRUE(site.call_once);
  EXPECT_EQ(site.priority, -3);
  EXPECT_EQ(site.dependencies.size(), 2U);
}

TEST(UseSites, TellAnEmptyOpaqueTextFromNone) {
  const TestModel model("leaf a { type string; " + Validate("") + " }");
  EXPECT_TRUE(model->use_sites().at(0).has_opaque);
  EXPECT_EQ(model->use_sites().at(0).opaque, "");
}

TEST(UseSites, CallOnceMayBeFalse) {
  const TestModel model(
      "leaf a { type string; tailf:validate test_set { "
      "tailf:call-once \"false\"; } }");
  EXPECT_FALSE(model->use_sites().at(0).call_once);
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
  EXPECT_EQ(SitesOf(*folder.Load()), std::vector<std::string>{"text /a"});
}

TEST(UseSites, RunByPriorityAndThenInTheOrderOfTheModel) {
  const auto leaf = [](const std::string& name, const std::string& priority) {
    return "leaf " + name + " { type string; tailf:validate test_set { " +
           "tailf:opaque " + name + "; " + priority + " } }";
  };
  const TestModel model(leaf("d", "tailf:priority 10;") + leaf("c", "") +
                        leaf("b", "tailf:priority -1;") + leaf("a", "") +
                        leaf("e", "tailf:priority 10;") +
                        leaf("f", "tailf:priority 0;"));
  EXPECT_EQ(SitesOf(*model),
            (std::vector<std::string>{"b /b", "c /c", "a /a", "f /f", "d /d",
                                      "e /e"}));
}

// --- Bad annotations

TEST(BadAnnotation, CallOnceThatIsNeitherTrueNorFalseIsRefused) {
  const std::string error = LoadErrorOf(
      "list l { key k; leaf k { type string; } tailf:validate "
      "test_set { tailf:call-once \"yes\"; } }");
  EXPECT_TRUE(Contains(error, "yes"));
  EXPECT_TRUE(Contains(error, "call-once"));
}

TEST(BadAnnotation, PriorityThatIsNoNumberIsRefused) {
  for (const std::string priority : {"high", "1x", "", "1.5", "99999999999"}) {
    const std::string error = LoadErrorOf(
        "leaf a { type string; tailf:validate test_set { tailf:priority \"" +
        priority + "\"; } }");
    EXPECT_TRUE(Contains(error, "priority")) << priority;
  }
}

TEST(BadAnnotation, CallOnceOfALeafIsRefused) {
  const std::string error = LoadErrorOf(
      "container c { leaf a { type string; tailf:validate "
      "test_set { tailf:call-once \"true\"; } } }");
  EXPECT_TRUE(Contains(error, "/c/a"));
  EXPECT_TRUE(Contains(error, "call-once"));
}

TEST(BadAnnotation, DependencyThatNamesNoNodeIsRefused) {
  for (const std::string path : {"../z", "/z", "/c/z", "../x/z", "z", "x[1]",
                                 "../../../a", "/..", "", "../x/../y"}) {
    const std::string error = LoadErrorOf(LeafWithDependency(path));
    EXPECT_TRUE(Contains(error, "dependency")) << path;
    EXPECT_TRUE(Contains(error, path));
  }
}

TEST(BadAnnotation, DependencyOnAnyDescendantIsRefused) {
  EXPECT_TRUE(Contains(LoadErrorOf(LeafWithDependency("/c//x")), "dependency"));
}

TEST(BadAnnotation, DependencyWithAnUnknownPrefixIsRefused) {
  const std::string error = LoadErrorOf(LeafWithDependency("../zz:x"));
  EXPECT_TRUE(Contains(error, "zz:x"));
  EXPECT_TRUE(Contains(error, "dependency"));
}

// --- Dependencies

TEST(Dependencies, DotIsTheNodeItself) {
  const TestModel model(LeafWithDependency("."));
  const Dependency dependency = DependencyOf(*model);
  EXPECT_FALSE(dependency.absolute);
  EXPECT_EQ(dependency.ups, 0U);
  EXPECT_TRUE(dependency.steps.empty());
}

TEST(Dependencies, DotDotIsTheParent) {
  const TestModel model(LeafWithDependency(".."));
  const Dependency dependency = DependencyOf(*model);
  EXPECT_FALSE(dependency.absolute);
  EXPECT_EQ(dependency.ups, 1U);
  EXPECT_TRUE(dependency.steps.empty());
}

TEST(Dependencies, LeadUpAndThenDown) {
  const TestModel model(LeafWithDependency("../x"));
  const Dependency dependency = DependencyOf(*model);
  EXPECT_EQ(dependency.text, "../x");
  EXPECT_EQ(dependency.ups, 1U);
  EXPECT_EQ(dependency.steps,
            std::vector<const lysc_node*>{&SchemaAt(*model, "/c/x")});
}

TEST(Dependencies, MayLeadDownFromTheNode) {
  const TestModel model(
      "container c { tailf:validate test_set { "
      "tailf:dependency \"d/x\"; } container d { "
      "leaf x { type string; } } }");
  const Dependency dependency = DependencyOf(*model);
  EXPECT_EQ(dependency.ups, 0U);
  EXPECT_EQ(dependency.steps,
            (std::vector<const lysc_node*>{&SchemaAt(*model, "/c/d"),
                                           &SchemaAt(*model, "/c/d/x")}));
}

TEST(Dependencies, ReplacePrefixesByModuleNames) {
  ModelFolder folder;
  folder.Add("b",
             "container q { container b { leaf c { type string; } } "
             "container r { } }");
  folder.Add("n",
             "import b { prefix a; } augment \"/a:q/a:r\" { leaf v { "
             "type string; tailf:validate test_set { tailf:dependency "
             "\"../../a:b/a:c\"; } } }");
  const auto model = folder.Load();
  const Dependency dependency = DependencyOf(*model);
  EXPECT_EQ(dependency.text, "../../b:b/b:c");
  EXPECT_EQ(dependency.ups, 2U);
  EXPECT_EQ(dependency.steps,
            (std::vector<const lysc_node*>{&SchemaAt(*model, "/q/b"),
                                           &SchemaAt(*model, "/q/b/c")}));
}

TEST(Dependencies, MayBeAbsolute) {
  const TestModel model(LeafWithDependency("/m:c/x"));
  const Dependency dependency = DependencyOf(*model);
  EXPECT_TRUE(dependency.absolute);
  EXPECT_EQ(dependency.ups, 0U);
  EXPECT_EQ(dependency.steps,
            (std::vector<const lysc_node*>{&SchemaAt(*model, "/c"),
                                           &SchemaAt(*model, "/c/x")}));
}

TEST(Dependencies, MayLeadOverTheRoot) {
  const TestModel model(LeafWithDependency("../../a"));
  const Dependency dependency = DependencyOf(*model);
  EXPECT_EQ(dependency.steps,
            std::vector<const lysc_node*>{&SchemaAt(*model, "/a")});
}

TEST(Dependencies, WithoutPrefixPreferTheOwnModule) {
  ModelFolder folder;
  folder.Add("m",
             "container c { leaf x { type string; } leaf y { "
             "type string; tailf:validate test_set { "
             "tailf:dependency \"../x\"; } } }");
  folder.Add("n",
             "import m { prefix m; } augment \"/m:c\" { "
             "leaf x { type string; } }");
  const auto model = folder.Load();
  EXPECT_EQ(DependencyOf(*model).steps,
            std::vector<const lysc_node*>{&SchemaAt(*model, "/c/m:x")});
}

// --- Tag numbers

TEST(TagNumbers, AreTheGivenOnes) {
  const Model& model = ProjectModel();
  const auto tag = [&](const char* path) {
    return model.TagOf(SchemaAt(model, path)).tag;
  };
  EXPECT_EQ(tag("/config/interface/mgmt"), 0x1412343fU);
  EXPECT_EQ(tag("/config/interface/l3"), 0x213f1a7aU);
  EXPECT_EQ(tag("/config/interface/loopback"), 0x1472ccedU);
  EXPECT_EQ(tag("/internal/ospf-interface-l3"), 0x6af0fc0eU);
  for (const char* path :
       {"/config/interface/mgmt/vrf", "/config/interface/l3/vrf",
        "/config/interface/loopback/vrf"}) {
    EXPECT_EQ(tag(path), 0x4c5f3e78U) << path;
  }
}

TEST(TagNumbers, LeadBackToTheName) {
  const Model& model = ProjectModel();
  ASSERT_NE(model.NameOfTag(0x213f1a7a), nullptr);
  EXPECT_EQ(*model.NameOfTag(0x213f1a7a), "l3");
  const auto tag = model.TagOf(SchemaAt(model, "/config")).tag;
  ASSERT_NE(model.NameOfTag(tag), nullptr);
  EXPECT_EQ(*model.NameOfTag(tag), "config");
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

TEST(TagNumbers, TwoForOneNameAreRefused) {
  const std::string error = LoadErrorOf(
      "leaf a { type string; ipav:tag-number \"0x5\"; } container "
      "c { leaf a { type string; ipav:tag-number \"0x6\"; } }");
  EXPECT_TRUE(Contains(error, "tag-number"));
  EXPECT_TRUE(Contains(error, "/c/a"));
}

TEST(TagNumbers, OneForTwoNamesIsRefused) {
  const std::string error = LoadErrorOf(
      "leaf a { type string; ipav:tag-number \"0x5\"; } "
      "leaf b { type string; ipav:tag-number \"0x5\"; }");
  EXPECT_TRUE(Contains(error, "tag-number"));
  EXPECT_TRUE(Contains(error, "/b"));
}

TEST(TagNumbers, MustBeHexadecimalStartWith0xAndFitIntoThirtyTwoBits) {
  for (const std::string number :
       {"0x0", "zz", "0x", "0x12zz", "0x100000001", "12", "-0x1"}) {
    EXPECT_TRUE(
        Contains(LoadErrorOf("leaf a { type string; ipav:tag-number \"" +
                             number + "\"; }"),
                 "tag-number"))
        << number;
  }
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
  EXPECT_EQ(TypeOf("string;"), C_BUF);
  EXPECT_EQ(TypeOf("int8;"), C_INT8);
  EXPECT_EQ(TypeOf("int16;"), C_INT16);
  EXPECT_EQ(TypeOf("int32;"), C_INT32);
  EXPECT_EQ(TypeOf("int64;"), C_INT64);
  EXPECT_EQ(TypeOf("uint8;"), C_UINT8);
  EXPECT_EQ(TypeOf("uint16;"), C_UINT16);
  EXPECT_EQ(TypeOf("uint32;"), C_UINT32);
  EXPECT_EQ(TypeOf("uint64;"), C_UINT64);
  EXPECT_EQ(TypeOf("boolean;"), C_BOOL);
  EXPECT_EQ(TypeOf("enumeration { enum x; }"), C_ENUM_VALUE);
  EXPECT_EQ(TypeOf("int32 { range \"1..4\"; }"), C_INT32);
}

TEST(ValueTypes, KnowAddresses) {
  EXPECT_EQ(TypeOf("inet:ipv4-address;"), C_IPV4);
  EXPECT_EQ(TypeOf("inet:ipv6-address;"), C_IPV6);
  EXPECT_EQ(TypeOf("inet:ipv4-address-no-zone;"), C_IPV4);
  EXPECT_EQ(TypeOf("inet:ipv6-address-no-zone;"), C_IPV6);
}

TEST(ValueTypes, KnowTheDaemonsOwnTypes) {
  EXPECT_EQ(TypeOf("tailf:ipv4-address-and-prefix-length;"), C_IPV4_AND_PLEN);
  EXPECT_EQ(TypeOf("tailf:ipv6-address-and-prefix-length;"), C_IPV6_AND_PLEN);
  EXPECT_EQ(TypeOf("tailf:hex-list;"), C_BINARY);
  EXPECT_EQ(TypeOf("inet:port-number;"), C_UINT16);
}

TEST(ValueTypes, OfALeafrefIsThatOfItsTarget) {
  EXPECT_EQ(TypeOf("leafref { path \"/m:t\"; } } leaf t { type uint8;"),
            C_UINT8);
}

TEST(ValueTypes, AreNoneForWhatTheHostDoesNotCarry) {
  EXPECT_EQ(TypeOf("decimal64 { fraction-digits 2; }"), C_NOEXISTS);
  EXPECT_EQ(TypeOf("bits { bit x; }"), C_NOEXISTS);
  EXPECT_EQ(TypeOf("instance-identifier;"), C_NOEXISTS);
}

// The daemon has types of their own for these, which the seam does not have.
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

TEST(SchemaPath, HasNeitherPrefixesNorKeys) {
  EXPECT_EQ(ipav::datastore::SchemaPath(SchemaAt(
                ProjectModel(), "/config/interface/ipapp:l3/ipv4/address/ip")),
            "/config/interface/l3/ipv4/address/ip");
}

}  // namespace
