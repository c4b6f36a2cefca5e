#include "host/datastore/wrapper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "host/source/source_text.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::Contains;
using host_test::InputErrorOf;
using host_test::MarkedIn;
using host_test::NodeAt;
using host_test::ProjectModel;
using host_test::StartsWith;
using ipav::datastore::CheckText;
using ipav::datastore::DataTree;
using ipav::datastore::InputText;
using ipav::source::SourceText;

constexpr char kXml[] =
    "<config xmlns=\"urn:vorplex:config\"><interface>\n"
    "  <l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name><vrf>red</vrf></l3>\n"
    "</interface></config>\n"
    "<internal xmlns=\"urn:vorplex:internal\"/>";
constexpr char kJson[] =
    "{\"vorplex-config:config\": {\"interface\": {\n"
    "  \"ipapp:l3\": [{\"name\": \"a\", \"vrf\": \"red\"}]}}}";

struct Around {
  std::string before;
  std::string after;

  bool IsXml() const { return before.find('<') != std::string::npos; }
  std::string With(const std::string& inner) const {
    return before + inner + after;
  }
};

std::vector<Around> AllWrappers() {
  const std::string netconf = "urn:ietf:params:xml:ns:netconf:base:1.0";
  const std::string reply =
      "<rpc-reply xmlns=\"" + netconf + "\" message-id='>'>";
  std::vector<Around> wrappers = {
      {reply + "<data>", "</data></rpc-reply>"},
      {reply + "\n  <data>\n", "\n  </data>\n</rpc-reply>\n"},
      {"\xef\xbb\xbf\n<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- "
       "<data> "
       "-->\n" +
           reply + " <!-- \n --> <data >",
       "</data ><!-- </data> -->\n</rpc-reply\n>\n<!-- > --> <?end ?>\n"},
      {"<nc:rpc-reply xmlns:nc=\"" + netconf + "\" nc:x=\"1\"><nc:data>",
       "</nc:data></nc:rpc-reply>"},
      {"<a:rpc-reply xmlns:a = '" + netconf + "'><b:data xmlns:b=\"" + netconf +
           "\">",
       "</b:data></a:rpc-reply>"},
      {"{ \"data\" :\n", "\n}\n"},
      {"\n{\"ietf-restconf:data\":", "}"}};
  for (const char* space : {"urn:ietf:params:xml:ns:netconf:base:1.0",
                            "urn:ietf:params:xml:ns:yang:ietf-netconf-nmda",
                            "urn:ietf:params:xml:ns:yang:ietf-restconf"}) {
    wrappers.push_back(
        {"<data xmlns=\"" + std::string(space) + "\">", "</data>"});
  }
  for (const char* space : {"urn:ietf:params:xml:ns:netconf:base:1.0",
                            "http://tail-f.com/ns/config/1.0"}) {
    wrappers.push_back(
        {"<config xmlns=\"" + std::string(space) + "\">\n", "\n</config>\n"});
  }
  return wrappers;
}

// "LINE:COLUMN" of the first such word.
std::string PlaceOf(const std::string& word, const std::string& text) {
  const auto at = static_cast<std::ptrdiff_t>(text.find(word));
  const auto begin = static_cast<std::ptrdiff_t>(
      text.rfind('\n', static_cast<std::size_t>(at)) + 1);
  return std::to_string(std::count(text.begin(), text.begin() + at, '\n') + 1) +
         ":" + std::to_string(at - begin + 1);
}

TEST(Wrapper, IsRemovedAndPlacesStayThoseOfTheFile) {
  for (const Around& around : AllWrappers()) {
    const std::string file = around.With(around.IsXml() ? kXml : kJson);
    const InputText text = CheckText("file", file);
    const DataTree tree = DataTree::FromText(ProjectModel(), text);
    const SourceText source(text);
    const auto mark =
        source.MarkOf(NodeAt(tree, "/config/interface/l3{a}/vrf"));
    ASSERT_TRUE(mark.has_value()) << file;
    EXPECT_EQ(std::to_string(mark->line) + ":" + std::to_string(mark->column),
              PlaceOf(around.IsXml() ? "red" : "\"red\"", file))
        << file;
    EXPECT_EQ(MarkedIn(*mark), around.IsXml() ? "red" : "\"red\"");
  }
}

TEST(Wrapper, AroundAWrongConfigurationLeavesTheLineOfTheError) {
  for (const Around& around : AllWrappers()) {
    std::string wrong = around.IsXml() ? kXml : kJson;
    const std::size_t at = wrong.find("vrf");
    wrong.replace(at, 3, "vfr");
    const std::string file = around.With(wrong);
    const std::string error = InputErrorOf(
        [&] { DataTree::FromText(ProjectModel(), CheckText("file", file)); });
    const std::string place = PlaceOf("vfr", file);
    EXPECT_TRUE(
        StartsWith(error, "file:" + place.substr(0, place.find(':')) + ":"))
        << file << "\n"
        << error;
  }
}

TEST(Wrapper, MayBeEmpty) {
  for (const Around& around : AllWrappers()) {
    const std::string file = around.With(around.IsXml() ? "" : "{}");
    const DataTree tree =
        DataTree::FromText(ProjectModel(), CheckText("file", file));
    EXPECT_NE(NodeAt(tree, "/config/interface"), nullptr) << file;
    EXPECT_EQ(NodeAt(tree, "/config/interface/l3{a}"), nullptr) << file;
  }
  EXPECT_NO_THROW(DataTree::FromText(
      ProjectModel(),
      CheckText("file",
                "<data xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\""
                "\n/> <!-- nothing -->\n")));
}

TEST(Wrapper, OfSomethingElseIsRefusedWithItsLine) {
  const std::string reply =
      "<rpc-reply xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">\n";
  const std::string no_data = "a reply without <data> has no configuration";
  struct Row {
    std::string text;
    std::string line;
    std::string reason;
  };
  const Row rows[] = {
      {reply + "<ok/></rpc-reply>", "file:2:", no_data},
      {reply + "</rpc-reply>", "file:2:", no_data},
      {"\n" + reply +
           "<rpc-error><error-tag>lock-denied</error-tag>"
           "</rpc-error>\n</rpc-reply>",
       "file:3:", no_data},
      {reply + "<data>" + kXml + "\n</data>\n<more/></rpc-reply>",
       "file:7:", "something else follows the end of <data>"},
      {reply + "<data/>\n<data/>\n</rpc-reply>",
       "file:3:", "something else follows the end of <data>"},
      {reply + "<data/></rpc-reply>\n" + kXml,
       "file:6:", "something else follows the end of <rpc-reply>"},
      {reply + "<data>" + kXml + "</data>\n", "file:6:", "no well-formed XML"},
      {reply + "<data></rpc-reply>\n", "file:2:", "no well-formed XML"},
      {reply + "<!-- c --><data/></rpc-reply> -->",
       "file:2:", "something else follows the end of <rpc-reply>"},
      {reply + "<data>?></data>?></rpc-reply>",
       "file:2:", "something else follows the end of <data>"},
      {reply + "<data/><![CDATA[</data>]]></rpc-reply>",
       "file:2:", "something else follows the end of <data>"},
      // Not known as a wrapper.
      {"<data>" + std::string(kXml) + "</data>", "file:1:", "namespace"},
      {"\n<data xmlns=\"urn:other\">" + std::string(kXml) + "</data>",
       "file:2:", "urn:other"},
      {reply + "<data xmlns=\"urn:other\"/></rpc-reply>", "file:2:", no_data},
      {"{\"data\": {}, \"data\": {}}", "file:1:", "data"},
      {"{\"data\": " + std::string(kJson) + ",\n\"more\": {}}",
       "file:1:", "data"},
      {"{\"data\": []}", "file:1:", "data"},
      {"{\"data\": {\"data\": {}}}", "file:1:", "data"},
      // A prefix of the wrapper, in the data.
      {"<data xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
       "xmlns:c=\"urn:vorplex:config\">\n<c:config/></data>",
       "file:2:", "Unknown XML prefix \"c\""}};
  for (const Row& row : rows) {
    const std::string error = InputErrorOf([&row] {
      DataTree::FromText(ProjectModel(), CheckText("file", row.text));
    });
    EXPECT_TRUE(StartsWith(error, row.line)) << row.text << "\n" << error;
    EXPECT_TRUE(Contains(error, row.reason)) << row.text << "\n" << error;
  }
}

}  // namespace
