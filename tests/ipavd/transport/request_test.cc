#include "ipavd/transport/request.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "ipavd/transport/start_tags.h"

namespace ipav::transport {
namespace {

class RequestTest : public ::testing::TestWithParam<const char*> {};

TEST_P(RequestTest, GoesAsItIsWhereItIsXml) {
  EXPECT_EQ(PrepareRequest(GetParam()), GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Xml, RequestTest,
    ::testing::Values("<rpc/>", " \t\r\n<rpc/>\n", "\xef\xbb\xbf<rpc/>",
                      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rpc/>",
                      "<?xml version=\"1.0\" encoding=\"UTF-16\"?><\xc3\xa4/>",
                      "<!-- <? --><?a --?><!----><rpc/><!-- -->",
                      "<a:rpc xmlns:a=\"urn:a\" a:b=\"1\" b=\"2\"/>",
                      "<rpc><![CDATA[<&]]>&lt;&#x41;\xf0\x90\x80\x80</rpc>",
                      "<\xc3\xa4/>",
                      // Attributes of the root belong to the client; others
                      // have a namespace, another name, or are none.
                      "<?xml version='1.0'?><rpc operation='1' insert='a'/>",
                      "<rpc xmlns:nc='n'><a nc:operation='delete' "
                      "nc:insert='first'/></rpc>",
                      "<rpc x='&lt;a insert=\"c\">'><!-- <a insert='c'/> -->"
                      "<![CDATA[<a insert='c'/>]]><?a insert='c'?>insert='b'"
                      "</rpc>"));

class NoRequestTest : public ::testing::TestWithParam<std::string> {};

TEST_P(NoRequestTest, GoesAsAMalformedOne) {
  EXPECT_EQ(PrepareRequest(GetParam()), "<");
}

INSTANTIATE_TEST_SUITE_P(NoElement, NoRequestTest,
                         ::testing::Values("", " ", "\n", "<", "text",
                                           "text<rpc/>", "<!-- -->", "<!-- ",
                                           "<!-- <rpc/>",
                                           "<?xml version=\"1.0\"?>", "<?",
                                           "\xef\xbb\xbf", "</rpc>", "< rpc/>",
                                           "<1/>", "<![CDATA[<rpc/>]]>"));

INSTANTIATE_TEST_SUITE_P(
    NoWellFormedElement, NoRequestTest,
    ::testing::Values("<rpc", "<rpc>", "<rpc></rp>", "<rpc/><rpc/>",
                      "<rpc a=\"1\" a=\"1\"/>", "<rpc a=\"<\"/>", "<rpc a/>",
                      "<a:rpc/>", "<rpc a:b=\"1\"/>",
                      "<rpc xmlns:a=\"u\" xmlns:b=\"u\" a:c=\"\" b:c=\"\"/>",
                      "<rpc>&a;</rpc>", "<rpc>&#1;</rpc>", "<rpc>]]></rpc>"));

INSTANTIATE_TEST_SUITE_P(
    NoUtf8Text, NoRequestTest,
    ::testing::Values("<rpc>\xff</rpc>", "<rpc><![CDATA[\x01]]></rpc>",
                      "<\xc3/>", "<rpc>\xed\xa0\x80</rpc>",
                      std::string("\0", 1), std::string("\0<rpc/>", 7),
                      std::string("<rpc/>\0", 7),
                      std::string("<!-- \0 --><rpc/>", 16),
                      std::string("\xff\xfe<\0r\0/\0>\0", 10)));

INSTANTIATE_TEST_SUITE_P(
    DocumentType, NoRequestTest,
    ::testing::Values("<!DOCTYPE rpc>", "<!DOCTYPE rpc><rpc/>",
                      "<!DOCTYPE rpc SYSTEM \"/etc/passwd\"><rpc/>",
                      "<!DOCTYPE rpc [<!ENTITY a \"b\">]><rpc>&a;</rpc>"));

constexpr char kRpc[] =
    "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
    "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
    "xmlns:y=\"urn:ietf:params:xml:ns:yang:1\" message-id=\"1\">";

struct Changed {
  const char* content;
  const char* expected;
};

class ChangedRequestTest : public ::testing::TestWithParam<Changed> {};

TEST_P(ChangedRequestTest, LosesTheElementsWithAttributesInAFilter) {
  const auto whole = [](const std::string& content) {
    return kRpc + content + "</rpc>";
  };
  EXPECT_EQ(PrepareRequest(kRpc + std::string(GetParam().content) + "</rpc>"),
            whole(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Filter, ChangedRequestTest,
    ::testing::Values(
        Changed{"<get><filter type='subtree'><a b='c'><d/></a><e/></filter>"
                "</get>",
                "<get><filter type=\"subtree\"><no-node-has-attributes><d/>"
                "</no-node-has-attributes><e/></filter></get>"},
        Changed{"<get-config><filter><a><b operation='c'>d</b></a></filter>"
                "</get-config>",
                "<get-config><filter><a><no-node-has-attributes>d"
                "</no-node-has-attributes></a></filter></get-config>"},
        // Elements without a namespace.
        Changed{"<get><filter><a xmlns=''/><b><c xmlns=''/></b></filter></get>",
                "<get><filter xmlns:ipav-any=\"urn:ipav:any-namespace\">"
                "<ipav-any:a xmlns=\"\"/><b><ipav-any:c xmlns=\"\"/></b>"
                "</filter></get>"},
        Changed{"<action xmlns='urn:ietf:params:xml:ns:yang:1'>a</action>",
                "<action/>"},
        // Only the operation's own element is a filter.
        Changed{"<a><b><filter><c d=\"e\"/></filter></b></a>",
                "<a><b><filter><c d=\"e\"/></filter></b></a>"},
        Changed{"<a><filter xmlns=\"u\"><c d=\"e\"/></filter></a>",
                "<a><filter xmlns=\"u\"><c d=\"e\"/></filter></a>"},
        Changed{"<get><filter type=\"xpath\" select=\"//*[x:y]\"/></get>",
                "<get><filter type=\"xpath\" select=\"//*[x:y]\"/></get>"}));

struct Refused {
  const char* message;
  const char* reason;  // empty: it is malformed
};

class RefusedRequestTest : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedRequestTest, SaysWhyAndLosesItsContent) {
  std::string message = GetParam().message;
  std::string root = kRpc;
  const std::size_t mark = message.find('!');  // stands for the root
  if (mark == 0) root.erase(root.find(" message-id"), 15);
  message.erase(0, mark == 0 ? 1 : 0);
  const std::string sent = PrepareRequest(root + message + "</rpc>");
  if (std::string(GetParam().reason).empty()) {
    EXPECT_EQ(sent, "<");
    return;
  }
  EXPECT_EQ(sent, root +
                      "<do xmlns:ipav-netconf=\"urn:ipav:netconf\" "
                      "ipav-netconf:refuse=\"" +
                      GetParam().reason + "\"/></rpc>");
}

INSTANTIATE_TEST_SUITE_P(
    Attributes, RefusedRequestTest,
    ::testing::Values(
        Refused{"!<do><a/></do>",
                "missing-attribute message-id rpc A request needs a "
                "message-id."},
        Refused{"<do a='b'><c/><l3 operation='delete'/></do>",
                "unknown-attribute operation l3 The attribute operation is not "
                "in its namespace."},
        Refused{"<do><a insert='first'/><b operation=''/></do>",
                "unknown-attribute insert a The attribute insert is not in its "
                "namespace."},
        Refused{"<do><a nc:operation='increase'/></do>",
                "bad-attribute operation a The attribute operation has no "
                "value increase."},
        Refused{"<do><a nc:operation='merge replace'/></do>",
                "bad-attribute operation a The attribute operation has no "
                "value merge replace."},
        Refused{"<do><a y:insert='second'/></do>",
                "bad-attribute insert a The attribute insert has no value "
                "second."},
        Refused{"<do><filter type='none'><a b='c'/></filter></do>",
                "bad-attribute type filter A filter has the type subtree or "
                "xpath."},
        Refused{"<do><filter type='xpath' select='/a['/></do>",
                "bad-attribute select filter The attribute select is no XPath "
                "expression, see character 4: /a["},
        Refused{"<do><filter type='xpath' select=\"/a[b='\xc3\xa4'\"/></do>",
                "bad-attribute select filter The attribute select is no XPath "
                "expression, see character 9: /a[b='\xc3\xa4'"},
        Refused{"<do><a/><b xmlns=''/></do>",
                "unknown-namespace - b The element has no namespace."},
        Refused{"<do xmlns=''/>",
                "unknown-namespace - do The element has no namespace."},
        // Nothing else can use the annotation's prefix.
        Refused{"!<do xmlns:ipav-netconf='u'/>", ""}));

// A message whose element below the root has that many attributes, among text
// that only looks like attributes.
std::string WithAttributes(std::size_t count) {
  const std::string marks(1000, '=');
  std::string message = "<a b='>" + marks + "'><!-- > don't" + marks +
                        " --><![CDATA[<>" + marks + "]]><?a > \"" + marks +
                        "?>" + marks + "<c";
  for (std::size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    message +=
        i % 2 == 0 ? " xmlns:a" + number + " = 'u'" : "\na" + number + "='>'";
  }
  return message + "/></a>";
}

std::string WithRootTag(std::size_t size) {
  return "<a b='" + std::string(size - std::string("<a b=''>").size(), '>') +
         "'></a>";
}

TEST(LargeTagTest, GoesAsItIsUpToALimitAndNoFurther) {
  EXPECT_EQ(PrepareRequest(WithAttributes(kMaxAttributes)),
            WithAttributes(kMaxAttributes));
  EXPECT_EQ(PrepareRequest(WithAttributes(kMaxAttributes + 1)), "<");
  EXPECT_EQ(PrepareRequest(WithRootTag(kMaxRootTag)), WithRootTag(kMaxRootTag));
  EXPECT_EQ(PrepareRequest(WithRootTag(kMaxRootTag + 1)), "<");
  // Only the root's attributes are in the reply.
  const std::string below = "<a>" + WithRootTag(kMaxRootTag + 1) + "</a>";
  EXPECT_EQ(PrepareRequest(below), below);
}

TEST(LargeRequestTest, GoesAsItIs) {
  std::string message = "<rpc>";
  while (message.size() < 12U << 20) message += "<a b=\"c\">text</a>";
  message += "</rpc>";
  EXPECT_EQ(PrepareRequest(message), message);
}

std::string Nested(std::size_t depth) {
  std::string message;
  for (std::size_t i = 0; i < depth; ++i) message += "<a>";
  for (std::size_t i = 0; i < depth; ++i) message += "</a>";
  return message;
}

TEST(DeepRequestTest, GoesAsItIsWith256LevelsBelowItsRootAndNoMore) {
  EXPECT_EQ(PrepareRequest(Nested(257)), Nested(257));
  for (const std::size_t depth : {258U, 100000U}) {
    EXPECT_EQ(PrepareRequest(Nested(depth)), "<");
  }
}

}  // namespace
}  // namespace ipav::transport
