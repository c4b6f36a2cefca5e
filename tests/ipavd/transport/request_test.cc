#include "ipavd/transport/request.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "netconf/framing.h"

namespace ipav::transport {
namespace {

using netconf::Frame;
using netconf::Framing;

class RequestTest : public ::testing::TestWithParam<const char*> {};

TEST_P(RequestTest, GoesAsItIsWhereItIsXml) {
  const std::string message = GetParam();
  EXPECT_EQ(FrameRequest(message),
            "\n#" + std::to_string(message.size()) + "\n" + message + "\n##\n");
}

INSTANTIATE_TEST_SUITE_P(
    Xml, RequestTest,
    ::testing::Values("<rpc/>", " \t\r\n<rpc/>\n", "\xef\xbb\xbf<rpc/>",
                      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rpc/>",
                      "<!-- <? --><?a --?><!----><rpc/><!-- -->",
                      "<a:rpc xmlns:a=\"urn:a\" a:b=\"1\" b=\"2\"/>",
                      "<rpc><![CDATA[<&]]>&lt;&#x41;\xf0\x90\x80\x80</rpc>",
                      "<\xc3\xa4/>",
                      // Attributes of the root belong to the client; others
                      // have a namespace, another name, or are none.
                      "<?xml version='1.0'?><rpc operation='1' insert='a'/>",
                      "<rpc xmlns:nc='n'><a nc:operation='delete' "
                      "nc:insert='first'/></rpc>",
                      "<rpc><filter type='xpath' select='/a'/></rpc>",
                      "<rpc x='&lt;a insert=\"c\">'><!-- <a insert='c'/> -->"
                      "<![CDATA[<a insert='c'/>]]><?a insert='c'?>insert='b'"
                      "</rpc>"));

class NoRequestTest : public ::testing::TestWithParam<std::string> {};

TEST_P(NoRequestTest, GoesAsAMalformedOne) {
  EXPECT_EQ(FrameRequest(GetParam()), "\n#1\n<\n##\n");
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

struct Marked {
  const char* message;
  const char* expected;
};

class MarkedRequestTest : public ::testing::TestWithParam<Marked> {};

TEST_P(MarkedRequestTest, HasAPrefixForAttributesWithoutANamespace) {
  EXPECT_EQ(FrameRequest(GetParam().message),
            Frame(Framing::kChunked, GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Xml, MarkedRequestTest,
    ::testing::Values(
        Marked{"<rpc><a operation=\"delete\"/></rpc>",
               "<rpc><a no-namespace-of-operation:operation=\"delete\"/>"
               "</rpc>"},
        Marked{"<?xml version='1.0' encoding='ISO-8859-1'?><rpc operation='1'>"
               "<a\n b = 'c'\tinsert='>'  >operation='\xc3\xa4'</a></rpc>",
               "<rpc operation=\"1\"><a b=\"c\" no-namespace-of-insert:insert="
               "\"&gt;\">operation='\xc3\xa4'</a></rpc>"},
        Marked{"<rpc xmlns='u' xmlns:x='v'><x:a x:insert='c' insert='\"'>"
               "<![CDATA[&]]><f operation=''/></x:a></rpc>",
               "<rpc xmlns=\"u\" xmlns:x=\"v\"><x:a x:insert=\"c\" "
               "no-namespace-of-insert:insert=\"&quot;\"><![CDATA[&]]><f "
               "no-namespace-of-operation:operation=\"\"/></x:a></rpc>"}));

TEST(LargeRequestTest, GoesAsItIs) {
  std::string message = "<rpc>";
  while (message.size() < 12U << 20) message += "<a b=\"c\">text</a>";
  message += "</rpc>";
  EXPECT_GT(FrameRequest(message).size(), message.size());
}

std::string Nested(std::size_t depth) {
  std::string message;
  for (std::size_t i = 0; i < depth; ++i) message += "<a>";
  for (std::size_t i = 0; i < depth; ++i) message += "</a>";
  return message;
}

TEST(DeepRequestTest, GoesAsItIsWith256LevelsBelowItsRootAndNoMore) {
  EXPECT_EQ(FrameRequest(Nested(257)), Frame(Framing::kChunked, Nested(257)));
  for (const std::size_t depth : {258U, 100000U}) {
    EXPECT_EQ(FrameRequest(Nested(depth)), Frame(Framing::kChunked, "<"));
  }
}

}  // namespace
}  // namespace ipav::transport
