// ipav convert: nothing of a configuration is lost on the way to the other
// format and back.

#include <algorithm>
#include <set>

#include "cli/print_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/input_error.h"
#include "host/datastore/model.h"
#include "tests/cli/commands/fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using datastore::DataTree;
using datastore::Model;

class ConvertTest : public CommandTest {
 protected:
  // The file after the conversion of this one.
  std::string Converted(const std::string& file, const std::string& name,
                        const std::vector<std::string>& options = {}) const {
    std::string output = folder_ / name;
    std::vector<std::string> arguments = {"convert", file, "--output", output};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(OutputOf(arguments), "");
    return output;
  }

  void ExpectSame(const std::string& a, const std::string& b) const {
    EXPECT_EQ(OutputOf({"diff", a, b}), "no changes\n\nno validation calls\n");
  }
};

TEST_F(ConvertTest, WritesTheFormatThatTheFileIsNot) {
  const std::string json = Write("a.json", L3Json(R"({"name": "a"})"));
  const std::string xml =
      "<config xmlns=\"urn:vorplex:config\">\n"
      "  <interface>\n"
      "    <l3 xmlns=\"urn:vorplex:ipapp\">\n"
      "      <name>a</name>\n"
      "    </l3>\n"
      "  </interface>\n"
      "</config>\n";
  EXPECT_EQ(OutputOf({"convert", json}), xml);
  EXPECT_EQ(OutputOf({"convert", Write("a.xml", xml)}),
            "{\n"
            "  \"vorplex-config:config\": {\n"
            "    \"interface\": {\n"
            "      \"ipapp:l3\": [\n"
            "        {\n"
            "          \"name\": \"a\"\n"
            "        }\n"
            "      ]\n"
            "    }\n"
            "  }\n"
            "}\n");
}

TEST_F(ConvertTest, WritesTheFormatThatIsAskedFor) {
  const std::string json = Write("a.json", L3Json(R"({"name": "a"})"));
  const std::string xml = OutputOf({"convert", json});
  EXPECT_EQ(OutputOf({"convert", json, "--to", "xml"}), xml);
  const std::string again = OutputOf({"convert", json, "--to", "json"});
  EXPECT_EQ(OutputOf({"convert", "--to", "json", Write("b.json", again)}),
            again);
}

TEST_F(ConvertTest, RoundTripOfTheProgramChangesNothing) {
  for (const char* name :
       {"branch-router/running.xml", "campus-core/running.json"}) {
    const std::string file = IPAV_ROOT "/examples/" + std::string(name);
    const std::string there = Converted(file, "there");
    const std::string back = Converted(there, "back");
    ExpectSame(file, there);
    ExpectSame(file, back);
    ExpectSame(back, file);
  }
}

constexpr const char* kCases = IPAV_ROOT "/tests/e2e";

// Folders of configurations: the examples and the cases of each point.
std::vector<std::string> Folders() {
  std::vector<std::string> folders;
  for (const char* root : {IPAV_ROOT "/examples", kCases}) {
    for (const auto& entry : fs::directory_iterator(root)) {
      if (!entry.is_directory()) continue;
      if (entry.path().filename() != "base") folders.push_back(entry.path());
    }
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

// In this process: a model is loaded once.
class ConvertAll : public CommandTest,
                   public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Folders, ConvertAll, ::testing::ValuesIn(Folders()),
                         [](const auto& folder) {
                           std::string name =
                               fs::path(folder.param).filename().string();
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST_P(ConvertAll, RoundTripChangesNothing) {
  const Model model(IPAV_ROOT "/yang", IPAV_YANG_EXTENSION);
  fs::path folder = GetParam();
  if (folder.parent_path() == kCases) {
    const std::string script = std::string(kCases) + "/cases.py";
    const std::string point = folder.filename();
    ASSERT_EQ(RunProcess({script, "write", folder_, point}).status, 0);
    folder = folder_ / point;
  }
  unsigned converted = 0;
  static std::set<std::string> known;  // many running configurations are equal
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const fs::path& file = entry.path();
    if (file.extension() != ".xml" && file.extension() != ".json") continue;
    if (!known.insert(ReadFile(file)).second) continue;
    SCOPED_TRACE(file);
    const DataTree tree = DataTree::FromFile(model, file);
    const LYD_FORMAT other = tree.format() == LYD_XML ? LYD_JSON : LYD_XML;
    const std::string text = cli::PrintTree(tree, tree.format());
    const DataTree there =
        DataTree::FromFile(model, Write("there", cli::PrintTree(tree, other)));
    EXPECT_TRUE(datastore::Diff(tree, there).top().empty());
    // The order of entries, too, and which defaults are written.
    EXPECT_EQ(cli::PrintTree(there, tree.format()), text);
    const DataTree back = DataTree::FromFile(model, Write("back", text));
    EXPECT_TRUE(datastore::Diff(tree, back).top().empty());
    ++converted;
  }
  EXPECT_GE(converted, 10U);
}

TEST_F(ConvertTest, KeepsTheOrderOfEntriesAndWrittenDefaults) {
  const std::string file = Write(
      "a.json",
      L3Json(
          R"({"name": "z", "enabled": true}, {"name": "a"}, {"name": "m"})"));
  const std::string xml = OutputOf({"convert", file});
  EXPECT_LT(xml.find("<name>z<"), xml.find("<name>a<"));
  EXPECT_LT(xml.find("<name>a<"), xml.find("<name>m<"));
  EXPECT_EQ(xml.find("<enabled>true<"), xml.rfind("<enabled>"));
  EXPECT_LT(xml.find("<enabled>true<"), xml.find("<name>a<"));
}

TEST_F(ConvertTest, KeepsEveryCharacterOfAText) {
  const std::string file = Write(
      "a.json",
      L3Json(R"({"name": "a", "description": "<&> \" ' \n\t\r ]]> é 😀 "})"));
  const std::string xml = Converted(file, "a.xml");
  EXPECT_NE(ReadFile(xml).find("&lt;&amp;&gt; \" ' \n\t&#xD; ]]&gt;"),
            std::string::npos)
      << ReadFile(xml);
  ExpectSame(file, xml);
  ExpectSame(file, Converted(xml, "b.json"));
}

TEST_F(ConvertTest, EmptyConfigurationCanBeReadAgain) {
  const std::string json = Write("a.json", "{}");
  const std::string xml = Converted(json, "a.xml");
  EXPECT_EQ(ReadFile(xml),
            "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\">\n"
            "  <rtmStaticRtTable/>\n"
            "</DC-RTM-MIB>\n"
            "<config xmlns=\"urn:vorplex:config\">\n"
            "  <interface/>\n"
            "</config>\n"
            "<internal xmlns=\"urn:vorplex:internal\">\n"
            "  <vrf-config/>\n"
            "</internal>\n");
  ExpectSame(json, xml);
  ExpectSame(json, Converted(xml, "b.json"));
}

TEST_F(ConvertTest, OverwritesItsInputOnlyWhenItIsReadWhole) {
  const std::string file = Write("a", L3Json(R"({"name": "a"})"));
  const std::string before = Write("b", ReadFile(file));
  Converted(file, "a");
  EXPECT_EQ(ReadFile(file).substr(0, 7), "<config");
  ExpectSame(before, file);
}

TEST_F(ConvertTest, LosesCommentsAndTheFormOfAValueAndSaysSo) {
  const std::string file =
      Write("a.xml",
            "<config xmlns=\"urn:vorplex:config\"><interface>"
            "<l3 xmlns=\"urn:vorplex:ipapp\"><!-- seen --><name>a</name>"
            "<mtu>01500</mtu></l3></interface></config>");
  const std::string json = OutputOf({"convert", file});
  EXPECT_EQ(json.find("seen"), std::string::npos);
  EXPECT_NE(json.find("\"mtu\": 1500"), std::string::npos) << json;
  EXPECT_NE(OutputOf({"convert", "--help"}).find("Lost are comments"),
            std::string::npos);
}

TEST_F(ConvertTest, WritesNothingWhereTheInputIsWrong) {
  const std::string output = folder_ / "out.json";
  const ProcessResult result =
      Ipav({"convert", Write("a.xml", "<no/>"), "--output", output});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err.find("ipav: " + (folder_ / "a.xml").string() + ":1: "),
            0U)
      << result.err;
  EXPECT_FALSE(fs::exists(output));
}

TEST_F(ConvertTest, SaysThatTheOutputCannotBeWritten) {
  const ProcessResult missing =
      Ipav({"convert", kRunning, "--output", folder_ / "no/such"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err, "ipav: " + (folder_ / "no/such").string() +
                             ": the configuration cannot be written: No such "
                             "file or directory\n");
  const ProcessResult full =
      Ipav({"convert", kRunning, "--output", "/dev/full"});
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "ipav: /dev/full: the configuration cannot be written\n");
}

TEST_F(ConvertTest, RefusesAnUnknownFormat) {
  const ProcessResult result = Ipav({"convert", "--to", "yaml", kRunning});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: --to: yaml not in {xml,json} (see ipav convert --help)\n");
}

}  // namespace

}  // namespace ipav::testing
