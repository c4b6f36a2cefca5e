// Errors of configurations, each with its place.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::JsonL3With;
using host_test::L3With;
using host_test::ProjectModel;
using host_test::TestModel;
using ipav::datastore::CheckText;
using ipav::datastore::DataTree;
using ipav::datastore::InputError;
using ipav::datastore::Model;

// A text with a ^ before each error, and what is wrong there. NS stands for the
// declaration of the namespace of the model of a test.
struct Row {
  std::string text;
  std::vector<std::string> reasons;
};

void Replace(const std::string& what, const std::string& by,
             std::string* text) {
  for (std::size_t at = 0; (at = text->find(what, at)) != std::string::npos;) {
    text->replace(at, what.size(), by);
  }
}

// "f:LINE:COLUMN: " of each ^, which is removed.
std::vector<std::string> TakePlaces(std::string* text) {
  std::vector<std::string> places;
  for (std::size_t at = 0; (at = text->find('^', at)) != std::string::npos;) {
    text->erase(at, 1);
    // A byte order mark has no column.
    const bool has_mark = text->rfind("\ufeff", 0) == 0;
    const std::string before =
        has_mark ? text->substr(3, at - 3) : text->substr(0, at);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t begin = before.rfind('\n') + 1;  // npos + 1 is 0
    places.push_back(
        "f:" + std::to_string(line) + ":" +
        std::to_string(ipav::base::CountCharacters(before.substr(begin)) + 1) +
        ": ");
  }
  return places;
}

void ExpectErrors(const Model& model, const std::vector<Row>& rows) {
  for (auto [text, reasons] : rows) {
    Replace(" NS", " xmlns=\"urn:m\"", &text);
    std::vector<std::string> expected = TakePlaces(&text);
    ASSERT_EQ(expected.size(), reasons.size()) << text;
    for (std::size_t i = 0; i < reasons.size(); ++i) expected[i] += reasons[i];
    try {
      DataTree::FromText(model, CheckText("f", text));
      ADD_FAILURE() << "accepted: " << text;
    } catch (const InputError& error) {
      EXPECT_EQ(error.errors(), expected) << text;
    }
  }
}

const std::string kByteOrderMark = "\ufeff";
constexpr char kNul[] = "contains a NUL byte";
const std::string kNoXml = "no well-formed XML: ";
const std::string kLow =
    "Unsatisfied range - value \"1\" is out of the allowed range. Expected: "
    "range 68..9216.";

// --- Texts in no model

TEST(InputErrorPlace, IsKnownForTextsThatAreNeitherXmlNorJson) {
  const std::string nul(1, '\0');
  ExpectErrors(ProjectModel(),
               {{"\n  ^hostname r1\n", {"neither XML nor JSON"}},
                {kByteOrderMark + "^hostname", {"neither XML nor JSON"}},
                {L3With("<vrf>\u00f6^" + nul + "</vrf>"), {kNul}},
                {L3With("") + "^" + nul, {kNul}},
                {JsonL3With("\"mtu\": 1500") + "^" + nul, {kNul}},
                {L3With("<vrf>r^\xff</vrf>"), {"is not UTF-8"}},
                {JsonL3With("\"vrf\": \"r^\xc3\x28\""), {"is not UTF-8"}}});
}

TEST(InputErrorPlace, IsKnownForXmlThatIsNotWellFormed) {
  const std::string in_line_3 = "Opening and ending tag mismatch: vrf line 3";
  const std::string open_comment = "this comment has no end (write -->)";
  const std::string ampersand = kNoXml + "& begins no reference (write &amp;)";
  std::vector<Row> rows = {
      {L3With("<vrf>red^</vfr>"), {kNoXml + in_line_3 + " and vfr"}},
      {L3With("<vrf>r^]]>d</vrf>"),
       {kNoXml + "Sequence ']]>' not allowed in content"}},
      {L3With("<vrf><![CDATA[r]]>^]]></vrf>"),
       {kNoXml + "Sequence ']]>' not allowed in content"}},
      {L3With("<!-- a ^-- --><vrf>red</vrf>"),
       {kNoXml + "Double hyphen within comment"}},
      {L3With("^<!-- todo\n<vrf>red</vrf>"), {kNoXml + open_comment}},
      {L3With("<!-- a -->^<!-- todo\n<vrf>red</vrf><!-- b -->"),
       {kNoXml + open_comment}},
      {L3With("<vrf>a &lt; b\n^& c</vrf><mtu>&gt;</mtu>"), {ampersand}},
      {L3With("<vrf>R^&D</vrf>"), {ampersand}},
      {L3With("<vrf>r</vrf>") + "^&", {ampersand}},
      {L3With("<vrf>^&red;</vrf>"), {kNoXml + "Entity 'red' not defined"}},
      {L3With("<?^ ?><vrf>red</vrf>"),
       {kNoXml + "xmlParsePI : no target name"}},
      {L3With("<?xml^ version=\"1.0\"?><vrf>red</vrf>"),
       {kNoXml + "XML declaration allowed only at the start of the document"}},
      {"\n <config>\n<interface>\n^",
       {kNoXml + "the text ends before </interface>"}},
      {L3With("") + " ^</config>",
       {kNoXml + "an end tag without its start tag"}},
      {L3With("") + "  <!-- x --> ^garbage", {"Text outside of the elements."}},
      {"<?xml version=\"1.0\"?> <a x=^3/>",
       {kNoXml + "AttValue: \" or ' expected"}}};
  // Characters of no XML text.
  for (const auto& [character, number] :
       {std::pair("\x01", "1"), {"\x0b", "11"}, {"\x1f", "31"}}) {
    rows.push_back({L3With("<vrf>\u00f6^" + std::string(character) + "</vrf>"),
                    {kNoXml + "PCDATA invalid Char value " + number}});
  }
  // What is before the content counts, too.
  for (const std::string before :
       {"\n", "\ufeff\n \n", "<?xml version=\"1.0\"\n?>\n", "<!-- ]]>\n -->"}) {
    rows.push_back({before + L3With("<vrf>^]]></vrf>"),
                    {kNoXml + "Sequence ']]>' not allowed in content"}});
  }
  ExpectErrors(ProjectModel(), rows);
}

TEST(InputErrorPlace, IsKnownForTextsThatAreNotJson) {
  const std::string json = JsonL3With("\"mtu\": 1500");
  const std::string syntax = "syntax error while parsing ";
  ExpectErrors(
      ProjectModel(),
      {{JsonL3With("\"vrf\" ^red"),
        {syntax + "object separator - invalid literal; last read: '\"vrf\" "
                  "r'; expected ':'"}},
       {JsonL3With("\"vrf\": ^nil"),
        {syntax + "value - invalid literal; last read: '\"vrf\": ni'"}},
       {JsonL3With("\"mtu\" ^1500"),
        {syntax + "object separator - unexpected number literal; expected "
                  "':'"}},
       {JsonL3With("\"vrf\": \"a\" ^\"\u00f6 b\": 1"),
        {"a comma is missing before this"}},
       {JsonL3With("\"ipv4\": {} ^{"), {"a comma is missing before this"}},
       {JsonL3With("\"a\": [1 ^2]"), {"a comma is missing before this"}},
       {JsonL3With("\"a\": [1^}"),
        {syntax + "array - unexpected '}'; expected ']'"}},
       {JsonL3With("\"vrf\": ^\"red\n\"mtu\": 1500"),
        {"this string has no end (write \")"}},
       {"{^,}",
        {syntax + "object key - unexpected ','; expected string literal"}},
       {json + "^{",
        {syntax + "value - unexpected '{'; expected end of input"}},
       {"{\"a\": {^",
        {syntax + "object key - unexpected end of input; expected string "
                  "literal"}},
       {JsonL3With("\"mtu\": ^-1e999"), {"number overflow parsing '-1e999'"}},
       {JsonL3With("\"a\": \"[[[\\\"\", \"mtu\": [1, [2, ^[3]]]"),
        {"JSON arrays are nested deeper than YANG data are"}}});
}

// --- Nodes that cannot be read

TEST(InputErrorPlace, IsThatOfAnUnknownNode) {
  const std::string no_vfr =
      "Node \"vfr\" not found as a child of \"l3\" node.";
  std::vector<Row> rows = {
      {L3With("<mtu>1500</mtu> ^<vfr>red</vfr>"), {no_vfr}},
      {JsonL3With("\"mtu\": 1500, ^\"vfr\": \"red\""), {no_vfr}},
      {JsonL3With("^\"vfr\": [1, [2]]"), {no_vfr}},
      {JsonL3With("^\"vfr\": {\"a\": \"}\"}, \"mtu\": 1500"), {no_vfr}},
      // Metadata.
      {L3With("<mtu x=\"1\">^1500</mtu>"),
       {"Missing mandatory prefix for XML metadata \"x\"."}},
      {JsonL3With("\"mtu\": 1500, ^\"@mtu\": {\"ipapp:x\": 1}"),
       {"Annotation definition for attribute \"ipapp:x\" not found."}},
      // Namespaces and modules.
      {"\n^<config/>",
       {"Missing XML namespace. Expected here: <config "
        "xmlns=\"urn:vorplex:config\">."}},
      {"\n<!-- --> ^<config xmlns=\"urn:x\"/>",
       {"No module with namespace \"urn:x\" in the context. Expected here: "
        "<config xmlns=\"urn:vorplex:config\">."}},
      {"\n^<x:config/>",
       {"Unknown XML prefix \"x\". Expected here: <config "
        "xmlns=\"urn:vorplex:config\">."}},
      {"<config xmlns=\"urn:vorplex:config\">\n<interface>\n ^<l3><name>a"
       "</name></l3>\n</interface></config>",
       {"Node \"l3\" not found as a child of \"interface\" node. Expected "
        "here: "
        "<l3 xmlns=\"urn:vorplex:ipapp\">."}},
      {"{\n^\"config\": {}}",
       {"Top-level JSON object member \"config\" must be namespace-qualified. "
        "Expected here: \"vorplex-config:config\"."}},
      {"{\n^\"x:config\": {}}",
       {"No module named \"x\" in the context. Expected here: "
        "\"vorplex-config:config\"."}},
      {"{\"vorplex-config:config\": {\"interface\":\n {^\"l3\": [{\"name\": "
       "\"a\"}, {\"name\": \"b\"}]}}}",
       {"Node \"l3\" not found as a child of \"interface\" node. Expected "
        "here: "
        "\"ipapp:l3\"."}}};
  // Lines before the start count once.
  for (const std::string blanks : {"\n", " \n\t\n \n", "\ufeff\n"}) {
    rows.push_back({blanks + L3With("^<vfr/>"), {no_vfr}});
    rows.push_back({blanks + JsonL3With("^\"vfr\": 1"), {no_vfr}});
  }
  ExpectErrors(ProjectModel(), rows);
}

TEST(InputErrorPlace, IsThatOfAWrongValue) {
  const std::string no_address =
      "expected an IPv4 address with a prefix length of 0 to 32, such as "
      "10.1.1.1/24";
  const std::string high =
      "Value \"70000\" is out of type uint16 min/max bounds. Expected: range "
      "68..9216.";
  const std::string long_key(1 << 20, 'x');
  ExpectErrors(
      ProjectModel(),
      {{L3With("<ipv4><address><ip> <!-- -->\n ^10.1.1.256/24</ip></address>"
               "</ipv4>"),
        {no_address}},
       {JsonL3With("\"ipv4\": {\"address\": {\"ip\":\n^\"10.0.0.1/33\"}}"),
        {no_address}},
       {L3With("<mtu>^70000</mtu>"), {high}},
       {JsonL3With("\"mtu\": ^70000"), {high}},  // a number ends its line
       {L3With("<lower-layer-if><vlan>^4095</vlan></lower-layer-if>"),
        {"expected a VLAN of 1 to 4094"}},
       {L3With("<lower-layer-if><vlan>^0</vlan></lower-layer-if>"),
        {"expected a VLAN of 1 to 4094"}},
       {L3With("<mtu>^20</mtu>"),
        {"Unsatisfied range - value \"20\" is out of the allowed range. "
         "Expected: range 68..9216."}},
       {L3With("<mtu>^1\n2</mtu>"), {"Invalid type uint16 value \"1 2\"."}},
       {L3With("<mtu><!--\n-->^1</mtu>"), {kLow}},
       {L3With("<mtu>^14<!-- -->00</mtu>"),
        {"A comment or a processing instruction within the value."}},
       {L3With("<enabled>^maybe</enabled>"),
        {"Invalid boolean value \"maybe\"."}},
       {"<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">\n"
        "<rtmStaticRtFteIndex>^-4</rtmStaticRtFteIndex>"
        "</rtmStaticRtEntry-global>",
        {"Value \"-4\" is out of type uint32 min/max bounds."}},
       {"<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">\n"
        "<rtmStaticRtDest>^0a:1</rtmStaticRtDest></rtmStaticRtEntry-global>",
        {"expected octets of two hexadecimal digits, joined by colons, such as "
         "0a:01:00:00"}},
       {L3With("^<mtu/>"), {"Invalid type uint16 empty value."}},
       {JsonL3With("\"mtu\": ^\"1500\""),
        {"Invalid non-number-encoded uint16 value \"1500\"."}},
       {JsonL3With("\"mtu\": [^1500]"),
        {"Expected JSON name/value or special name/[null], but input data "
         "contains name/[number]."}},
       {JsonL3With("\"mtu\": ^[ ]"), {"Unexpected input data empty array."}},
       {JsonL3With("\"mtu\": ^{\"a\": 1}"), {"Unexpected input data object."}},
       {JsonL3With("\"ipv4\":\n^5"),
        {"The container \"ipv4\" is expected to be represented as JSON "
         "name/object, but input data contains name/number."}},
       {"{\"vorplex-config:config\": {\"interface\": {\n\"ipapp:l3\": "
        "^{\"name\": \"a\"}}}}",
        {"The list \"l3\" is expected to be represented as JSON name/array of "
         "objects, but input data contains name/object."}},
       // Below an entry with a long name, and with a line break in its name.
       {"<config xmlns=\"urn:vorplex:config\"><interface><l3 "
        "xmlns=\"urn:vorplex:ipapp\"><name>" +
            long_key + "</name>\n<mtu>^1</mtu></l3></interface></config>",
        {kLow}},
       {"<config xmlns=\"urn:vorplex:config\"><interface><l3 "
        "xmlns=\"urn:vorplex:ipapp\"><name>a\nb</name><mtu>^1</mtu></l3>"
        "</interface></config>",
        {kLow}}});
}

TEST(InputErrorPlace, IsThatOfAnEntryWithoutAKey) {
  const std::string no_name = "List instance is missing its key \"name\".";
  ExpectErrors(ProjectModel(),
               {{"<config xmlns=\"urn:vorplex:config\">\n<interface>\n^<l3 "
                 "xmlns=\"urn:vorplex:ipapp\"\n>\n<vrf>red</vrf>\n</l3>\n"
                 "</interface>\n</config>\n",
                 {no_name}},
                {"{\"vorplex-config:config\": {\"interface\": {\n\"ipapp:l3\": "
                 "[{\"name\": \"b\"},\n^{\"mtu\": 1500}\n]}}}",
                 {no_name}},
                // The error inside comes first: it is in the way of the key.
                {L3With("<ipv6>\n^<address/></ipv6>"),
                 {"List instance is missing its key \"ip\"."}}});
}

// --- Duplicates

TEST(InputErrorPlace, OfADuplicateIsTheSecondAndTheFirstIsNamed) {
  const auto l3 = [](const std::string& name) {
    return "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" + name +
           "</name>\n<vrf>red</vrf></l3>\n";
  };
  const auto route = [](const std::string& entry, const std::string& hop) {
    return "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">" +
           entry +
           "<rtmStaticRtDest>0a:01</rtmStaticRtDest><rtmStaticRtDestPfxLen>16"
           "</rtmStaticRtDestPfxLen><rtmStaticRtNextHop>" +
           hop + "</rtmStaticRtNextHop></rtmStaticRtEntry-global>\n";
  };
  const std::string address = "Duplicate instance of \"address\", ip ";
  const std::string vrf =
      "Duplicate instance of \"vrf\". The first one is in line 3, column ";
  ExpectErrors(
      ProjectModel(),
      {{"<config xmlns=\"urn:vorplex:config\"><interface>\n" + l3("a") +
            l3("b") + l3("^a") + l3("c") + "</interface></config>",
        {"Duplicate instance of \"l3\", name \"a\". The first one is in line "
         "2, column 37."}},
       {"{\"vorplex-config:config\": {\"interface\": {\n\"ipapp:l3\": "
        "[{\"name\":\n\"a\"},{\"name\": ^\"a\",\n\"mtu\": 1500}]}}}",
        {"Duplicate instance of \"l3\", name \"a\". The first one is in line "
         "3, column 1."}},
       {L3With("<ipv6><address><ip>2001:db8::1/64</ip></address>\n"
               "<address><ip>^2001:DB8::1/64</ip></address></ipv6>"),
        {address + "\"2001:DB8::1/64\". The first one is in line 3, column 20, "
                   "ip \"2001:db8::1/64\"."}},
       {JsonL3With("\"ipv6\": {\"address\": [{\"ip\": \"2001:db8::1/64\"},\n"
                   "{\"ip\": ^\"2001:0db8::1/64\"}]}"),
        {address + "\"2001:0db8::1/64\". The first one is in line 3, column "
                   "29, ip \"2001:db8::1/64\"."}},
       {route("<rtmStaticRtFteIndex>4</rtmStaticRtFteIndex>", "0a:ff") +
            route("<rtmStaticRtFteIndex>^4</rtmStaticRtFteIndex>", "0A:FF"),
        {"Duplicate instance of \"rtmStaticRtEntry-global\", "
         "rtmStaticRtFteIndex \"4\", rtmStaticRtDest \"0a:01\", "
         "rtmStaticRtDestPfxLen \"16\", rtmStaticRtNextHop \"0A:FF\". The "
         "first "
         "one is in line 1, column 78, rtmStaticRtFteIndex \"4\", "
         "rtmStaticRtDest \"0a:01\", rtmStaticRtDestPfxLen \"16\", "
         "rtmStaticRtNextHop \"0a:ff\"."}},
       {L3With("<vrf>red</vrf><vrf>^blue</vrf>"), {vrf + "6."}},
       {JsonL3With("\"vrf\": \"red\", \"vrf\": ^\"blue\""), {vrf + "8."}},
       {L3With("<ipv4><address><ip>10.1.1.1/24</ip></address></"
               "ipv4>\n^<ipv4><address><ip>10.1.1.1/24</ip>"
               "</address></ipv4>"),
        {"Duplicate instance of \"ipv4\". The first one is in line 3, column "
         "1."}}});
}

// --- Constraints of other models

constexpr char kConstraints[] = R"yang(
  container c {
    leaf mode { type enumeration { enum fast; enum slow; } }
    leaf-list tags { type string; max-elements 2; }
    list l {
      key k; unique "u in/a";
      leaf k { type string; }
      leaf u { type string; }
      leaf v { type uint8; must ". < 10" { error-message "v is too high"; } }
      leaf w { when "../v = 5"; type string; }
      container in { must "a or not(b)"; leaf a { type string; }
                     leaf b { type string; } }
    }
    list two { key "a b"; min-elements 1;
               leaf a { type string { length "1..3 | 5"; } }
               leaf b { type uint8; } }
    leaf ref { type leafref { path "../l/k"; } }
    choice ch { case x { leaf x { type string; } }
                case y { leaf y { type string; } } }
  }
  rpc go;
  container p { presence p;
    leaf needed { mandatory true; type string; }
    choice one { mandatory true; leaf mx { type string; }
                 leaf my { type string; } }
    list q { key k; leaf k { type string; }
             leaf r { mandatory true; type string; } }
  })yang";

// In a container that needs an entry.
std::string Data(const std::string& nodes) {
  return "<c NS><two><a>a</a><b>1</b></two>\n" + nodes + "</c>\n";
}

std::string JsonData(const std::string& nodes) {
  return "{\"m:c\": {\"two\": [{\"a\": \"a\", \"b\": 1}],\n" + nodes + "}}\n";
}

TEST(InputErrorPlace, IsThatOfAViolatedConstraint) {
  const std::string p = "<p NS><needed>x</needed><mx>x</mx>\n";
  const std::string unique =
      "Unique data leaf(s) \"u a\" not satisfied in \"/m:c/l[k='1']\" and "
      "\"/m:c/l[k='2']\".";
  const std::string no_target =
      "Invalid leafref value \"3\" - no target instance \"../l/k\" with the "
      "same value.";
  const TestModel model(kConstraints);
  ExpectErrors(
      *model,
      {{Data("<mode>^fst</mode>"), {"Invalid enumeration value \"fst\"."}},
       {Data("<two>\n<b>1</b>\n<a>^a</a></two>"),
        {"Invalid position of the key \"a\" in a list."}},
       {Data("<two><a>^long</a><b>1</b></two>"),
        {"Unsatisfied length - string \"long\" length is not allowed. "
         "Expected: length 1..3 | 5."}},
       {Data("") + "^<go NS/>", {"Unexpected RPC element \"go\"."}},
       {Data("<l><k>1</k><v>3</v></l><l><k>2</k>\n<v>^20</v></l>"),
        {"v is too high"}},
       {JsonData("\"l\": [{\"k\": \"1\",\n\"v\": ^20\n}]"), {"v is too high"}},
       {Data("<l><k>1</k>^<in>\n<b>x</b></in></l>"),
        {"Must condition \"a or not(b)\" not satisfied."}},
       {Data("<l><k>1</k><v>4</v>\n<w>^x</w></l>"),
        {"When condition \"../v = 5\" not satisfied."}},
       {Data("<l><k>1</k><u>4</u><in><a>3</a></in></l>\n<l><k>^2</k><u>4</u>"
             "<in><a>3</a></in></l><l><k>3</k><u>4</u></l>"),
        {unique}},
       {Data("<l><k>1</k></l>\n<ref>^3</ref>"), {no_target}},
       {Data("<x>1</x>\n<y>^1</y>"),
        {"Data for both cases \"x\" and \"y\" exist."}},
       {Data("<tags>1</tags>\n<tags>2</tags>\n<tags>^3</tags><tags>4</tags>"),
        {"Too many \"tags\" instances."}},
       {Data("<tags>1</tags>\n<tags>^1</tags>"),
        {"Duplicate instance of \"tags\", value \"1\". The first one is in "
         "line "
         "2, column 7."}},
       {"\n ^<c NS><x>1</x></c>", {"Too few \"two\" instances."}},
       {Data("") + "^<p NS><mx>1</mx></p>",
        {"Mandatory node \"needed\" instance does not exist."}},
       {Data("") + "^<p NS><needed>1</needed></p>",
        {"Mandatory choice \"one\" data do not exist."}},
       {Data("") + p + "<q>\n<k>^1</k></q></p>",
        {"Mandatory node \"r\" instance does not exist."}}});
}

// The values of the keys of a static route, with a ^ before each wrong one.
using Route = std::array<std::string, 6>;

constexpr std::array kRouteKeys{"FteIndex",   "DestType",    "Dest",
                                "DestPfxLen", "NextHopType", "NextHop"};

std::string XmlWith(const std::vector<Route>& routes) {
  std::string text =
      "<DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\"><rtmStaticRtTable>";
  for (const Route& route : routes) {
    text += "<rtmStaticRtEntry>";
    for (std::size_t i = 0; i < route.size(); ++i) {
      const std::string tag = std::string("rtmStaticRt") + kRouteKeys[i] + ">";
      text += "\n<" + tag + route[i] + "</" + tag;
    }
    text += "</rtmStaticRtEntry>";
  }
  return text + "</rtmStaticRtTable></DC-RTM-MIB>\n";
}

std::string JsonWith(const std::vector<Route>& routes) {
  std::string text;
  for (const Route& route : routes) {
    text += text.empty() ? "{" : ", {";
    for (std::size_t i = 0; i < route.size(); ++i) {
      const bool is_marked = route[i][0] == '^';
      const std::string value = is_marked ? route[i].substr(1) : route[i];
      const bool is_number = i == 0 || i == 3;
      text += std::string(i == 0 ? "\n" : ",\n") + "\"rtmStaticRt" +
              kRouteKeys[i] + "\": " + (is_marked ? "^" : "") +
              (is_number ? value : "\"" + value + "\"");
    }
    text += "}";
  }
  return "{\"DC-RTM-MIB:DC-RTM-MIB\": {\"rtmStaticRtTable\": "
         "{\"rtmStaticRtEntry\": [" +
         text + "]}}}\n";
}

TEST(InputErrorPlace, IsThatOfAWrongKeyOfAStaticRoute) {
  const std::string v4 = "0a:01:00:00";
  const std::string v6 = "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01";
  const std::string octets =
      "expected 4 octets for an IPv4 address and 16 for an IPv6 address";
  const std::string length =
      "expected a prefix length of 0 to 32 for IPv4, of 0 to 128 for IPv6";
  const Route right{"0", "ipv4", v4, "16", "ipv4", v4};
  const std::pair<std::vector<Route>, std::vector<std::string>> rows[] = {
      {{{"0", "ipv4", "^0a:01:00", "16", "ipv4", v4}}, {octets}},
      {{{"0", "ipv4", "^" + v6, "16", "ipv6", v6}}, {octets}},
      {{{"0", "ipv6", "^" + v4, "16", "unknown", v4}}, {octets}},
      {{{"0", "ipv4", v4, "^33", "ipv4", v4}}, {length}},
      {{{"0", "ipv6", v6, "^129", "ipv6", v6}}, {length}},
      {{{"0", "ipv4", v4, "16", "ipv4", "^" + v6}}, {octets}},
      {{{"0", "unknown", v4, "128", "ipv6", "^" + v4}}, {octets}},
      {{right,
        {"0", "ipv4", "^" + v6, "^64", "ipv6", "^" + v4},
        {"1", "ipv6", "^" + v4, "64", "ipv6", v6}},
       {octets, length, octets, octets}},
      // Without this key, the octets are those of no family.
      {{{"0", "^ipv5", "0a", "64", "ipv4", v6}},
       {"Invalid enumeration value \"ipv5\"."}}};
  for (const auto& [routes, reasons] : rows) {
    ExpectErrors(ProjectModel(),
                 {{XmlWith(routes), reasons}, {JsonWith(routes), reasons}});
  }
}

// --- Several errors

TEST(InputErrors, AreReportedAllAtOnceInTheOrderOfTheFile) {
  const std::string no_vfr =
      "Node \"vfr\" not found as a child of \"l3\" node.";
  const std::string no_name = "List instance is missing its key \"name\".";
  const std::string no_address =
      "expected an IPv6 address with a prefix length of 0 to 128, such as "
      "2001:db8::1/64";
  const std::string l3 = "<l3 xmlns=\"urn:vorplex:ipapp\">";
  ExpectErrors(
      ProjectModel(),
      {{L3With("^<vfr/><mtu>^1</mtu></l3>\n^" + l3 + "<mtu>^1</mtu></l3>\n" +
               l3 + "<name>^a</name><mtu>1500</mtu></l3>" + l3 +
               "<name>b</name><mtu>^1</mtu>"),
        {no_vfr, kLow, no_name, kLow,
         "Duplicate instance of \"l3\", name \"a\". The first one is in line "
         "2, "
         "column 37.",
         kLow}},
       {JsonL3With("^\"vfr\": [{}, {}],\n\"mtu\": ^1}, ^{\n\"mtu\": ^1}, "
                   "{\"name\": ^\"a\"}, {\"name\": \"b\", \"mtu\": ^1"),
        {no_vfr, kLow, no_name, kLow,
         "Duplicate instance of \"l3\", name \"a\". The first one is in line "
         "2, "
         "column 23.",
         kLow}},
       // A wrong key is not also a missing one, and hides nothing else.
       {L3With("<ipv6><address><ip>^x</ip></address>\n^<adress/></ipv6>"),
        {no_address, "Node \"adress\" not found as a child of \"ipv6\" node."}},
       // Under different top nodes, and beside them.
       {L3With("<ipv4><!-- x --> ^in <address><ip>^x</ip></address></ipv4>\n "
               "^<![CDATA[x]]> <mtu>^1</mtu>^x") +
            "^text ^<config/>",
        {"Text in \"ipv4\", which only holds other elements.",
         "expected an IPv4 address with a prefix length of 0 to 32, such as "
         "10.1.1.1/24",
         "Text in \"l3\", which only holds other elements.", kLow,
         "Text in \"l3\", which only holds other elements.",
         "Text outside of the elements.",
         "Missing XML namespace. Expected here: <config "
         "xmlns=\"urn:vorplex:config\">."}}});
}

TEST(InputErrors, ThatFollowFromOthersAreNotReported) {
  const TestModel model(kConstraints);
  const std::string fst = "Invalid enumeration value \"fst\".";
  const std::string high = "Value \"300\" is out of type uint8 min/max bounds.";
  ExpectErrors(
      *model,
      {// Constraints on other nodes are checked.
       {Data("<mode>^fst</mode>\n<l><k>1</k><v>^20</v>^<in><b>1</b></in></l>"
             "<ref>^3</ref>"),
        {fst, "v is too high", "Must condition \"a or not(b)\" not satisfied.",
         "Invalid leafref value \"3\" - no target instance \"../l/k\" with the "
         "same value."}},
       // The condition of w and the target of the reference are not known.
       {Data("<l><k>1</k><v>^300</v><w>x</w></l>\n<l>^<no/><k>3</k></l>"
             "<ref>3</ref>"),
        {high, "Node \"no\" not found as a child of \"l\" node."}},
       {JsonData("\"l\": [{\"k\": ^3}], \"ref\": \"3\""),
        {"Invalid non-string-encoded string value \"3\"."}},
       // The missing entry is there, but wrong.
       {"<c NS><two><a>a</a><b>^300</b></two></c>", {high}},
       // A misspelt node is missing, too.
       {Data("") + "^<p NS><mx>1</mx>^<neded>x</neded></p>",
        {"Mandatory node \"needed\" instance does not exist.",
         "Node \"neded\" not found as a child of \"p\" node."}}});
}

TEST(InputErrors, AreTwentyAtMost) {
  const auto entries = [](std::size_t count) {
    std::string text = "<name>b</name>";
    for (std::size_t i = 0; i < count; ++i) {
      text += "</l3>\n<l3 xmlns=\"urn:vorplex:ipapp\"><name>" +
              std::to_string(i) + "</name><mtu>^1</mtu>";
    }
    return L3With("</l3><l3 xmlns=\"urn:vorplex:ipapp\">" + text);
  };
  ExpectErrors(ProjectModel(), {{entries(20), {20, kLow}}});
  std::string text = entries(21);
  text.erase(std::remove(text.begin(), text.end(), '^'), text.end());
  try {
    DataTree::FromText(ProjectModel(), CheckText("f", text));
    ADD_FAILURE();
  } catch (const InputError& error) {
    ASSERT_EQ(error.errors().size(), 21U);
    EXPECT_EQ(error.errors().back(),
              "f: more than 20 errors, the others are not listed");
  }
}

}  // namespace
