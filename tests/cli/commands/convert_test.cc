// ipav convert: nothing of a configuration is lost on the way to the other
// format and back.

#include <filesystem>
#include <set>

#include "cli/print_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/input_error.h"
#include "host/datastore/model.h"
#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;
using datastore::DataTree;
using datastore::Model;

class ConvertTest : public FolderTest {
 protected:
  // The file after the conversion of this one.
  std::string Converted(const std::string& file,
                        const std::string& name) const {
    std::string output = folder_ / name;
    EXPECT_EQ(OutputOf({"convert", file, "--output", output}), "");
    return output;
  }

  static void ExpectSame(const std::string& a, const std::string& b) {
    EXPECT_EQ(OutputOf({"diff", a, b}), "no changes\n\nno validation calls\n");
  }
};

TEST_F(ConvertTest, WritesTheOtherFormatOrTheOneThatIsAskedFor) {
  const std::string xml = R"(<config xmlns="urn:vorplex:config">
  <interface>
    <l3 xmlns="urn:vorplex:ipapp">
      <name>a</name>
    </l3>
  </interface>
</config>
)";
  const std::string json = R"({
  "vorplex-config:config": {
    "interface": {
      "ipapp:l3": [
        {
          "name": "a"
        }
      ]
    }
  }
}
)";
  for (const std::string& file : {Write("a.xml", xml), Write("b", json)}) {
    const bool is_xml = ReadFile(file) == xml;
    EXPECT_EQ(OutputOf({"convert", file}), is_xml ? json : xml);
    EXPECT_EQ(OutputOf({"convert", file, "--to", "xml"}), xml);
    EXPECT_EQ(OutputOf({"convert", "--to", "json", file}), json);
  }
}

// In this process: a model is loaded once.
TEST_F(ConvertTest, RoundTripOfEveryExampleAndEveryCaseChangesNothing) {
  const Model model(IPAV_ROOT "/yang", IPAV_YANG_EXTENSION);
  ASSERT_EQ(
      RunProcess({IPAV_ROOT "/tests/e2e/cases.py", "write", folder_ / "cases"})
          .status,
      0);
#ifdef IPAV_SANITIZED
  constexpr std::size_t kShare = 6;  // one of so many files
#else
  constexpr std::size_t kShare = 1;
#endif
  std::set<std::string> known;  // many running configurations are equal
  for (const fs::path& root :
       {fs::path(IPAV_ROOT "/examples"), folder_ / "cases"}) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const fs::path& file = entry.path();
      if (file.extension() != ".xml" && file.extension() != ".json") continue;
      if (!known.insert(ReadFile(file)).second) continue;
      if (known.size() % kShare != 0) continue;
      SCOPED_TRACE(file);
      const DataTree tree = DataTree::FromFile(model, file);
      const LYD_FORMAT other = tree.format() == LYD_XML ? LYD_JSON : LYD_XML;
      const DataTree there = DataTree::FromFile(
          model, Write("there", cli::PrintTree(tree, other)));
      const std::string text = cli::PrintTree(there, tree.format());
      const DataTree back = DataTree::FromFile(model, Write("back", text));
      // What is lost on the way there is not found on the way back.
      EXPECT_TRUE(datastore::Diff(tree, back).top().empty());
      // The order of entries, too, and which defaults are written.
      EXPECT_EQ(text, cli::PrintTree(tree, tree.format()));
    }
  }
  EXPECT_GE(known.size(), 400U);
}

TEST_F(ConvertTest, KeepsTheOrderOfEntriesAndWrittenDefaults) {
  const std::string file = Write("a.json", L3Json(R"(
      {"name": "z", "enabled": true}, {"name": "a"}, {"name": "m"})"));
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
  EXPECT_THAT(ReadFile(xml), HasSubstr("&lt;&amp;&gt; \" ' \n\t&#xD; ]]&gt;"));
  ExpectSame(file, xml);
  ExpectSame(file, Converted(xml, "b.json"));
}

TEST_F(ConvertTest, EmptyConfigurationCanBeReadAgain) {
  const std::string json = Write("a.json", "{}");
  const std::string xml = Converted(json, "a.xml");
  EXPECT_EQ(ReadFile(xml),
            R"(<DC-RTM-MIB xmlns="urn:vorplex:dc-rtm-mib">
  <rtmStaticRtTable/>
</DC-RTM-MIB>
<config xmlns="urn:vorplex:config">
  <interface/>
</config>
<internal xmlns="urn:vorplex:internal">
  <vrf-config/>
</internal>
)");
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
  EXPECT_THAT(json, Not(HasSubstr("seen")));
  EXPECT_THAT(json, HasSubstr("\"mtu\": 1500"));
  EXPECT_THAT(
      OutputOf({"convert", "--help"}),
      HasSubstr("Comments, blanks between elements, XML prefixes and the\n"
                "form of a value that has several, such as 007 for 7, "
                "are lost."));
}

TEST_F(ConvertTest, WritesNothingWhereTheInputIsWrong) {
  const std::string file = Write("a.xml", "<no/>");
  const std::string output = folder_ / "out.json";
  EXPECT_THAT(Ipav({"convert", file, "--output", output}),
              IsBadInput(file + ":1:1: "));
  EXPECT_FALSE(fs::exists(output));
}

TEST_F(ConvertTest, SaysThatTheOutputCannotBeWritten) {
  const std::string missing = folder_ / "no/such";
  EXPECT_THAT(Ipav({"convert", kRunning, "--output", missing}),
              IsBadInput(missing + ": the configuration cannot be written: No "
                                   "such file or directory\n"));
  EXPECT_THAT(Ipav({"convert", kRunning, "--output", "/dev/full"}),
              IsBadInput("/dev/full: the configuration cannot be written\n"));
}

}  // namespace

}  // namespace ipav::testing
