#include "transport/attributes.h"

#include <gtest/gtest.h>

#include <string>

namespace ipav::transport {
namespace {

void ExpectUnchanged(const std::string& text) {
  EXPECT_EQ(MarkAttributes(text), text);
}

TEST(AttributesTest, AreMarkedWhereTheyHaveNoNamespace) {
  EXPECT_EQ(MarkAttributes("<rpc><a operation=\"delete\"/></rpc>"),
            "<rpc><a no-namespace-of-operation:operation=\"delete\"/></rpc>");
  EXPECT_EQ(
      MarkAttributes("<rpc><a\n b = 'c'\td='>'  >e='f'</a></rpc>"),
      "<rpc><a\n no-namespace-of-b:b = 'c'\tno-namespace-of-d:d='>'  >e='f'</a>"
      "</rpc>");
  EXPECT_EQ(
      MarkAttributes("<rpc><a x:b='c'e='\"'><f g=''/></a></rpc>"),
      "<rpc><a x:b='c'no-namespace-of-e:e='\"'><f no-namespace-of-g:g=''/></a>"
      "</rpc>");
}

TEST(AttributesTest, OfTheRequestAreTheClients) {
  ExpectUnchanged("<?xml version='1.0'?><rpc message-id='1' user='a'/>");
  ExpectUnchanged("<!-- <a b='c'/> --><nc:rpc message-id='1'/>");
}

TEST(AttributesTest, OfAFilterAreItsType) {
  ExpectUnchanged("<rpc><get><filter type='xpath' select='/a'/></get></rpc>");
  ExpectUnchanged("<rpc><x:filter type='subtree'/></rpc>");
}

TEST(AttributesTest, OfANamespaceAreNoneToMark) {
  ExpectUnchanged("<rpc><a xmlns='urn:a' xmlns:b='urn:b' b:c='d'/></rpc>");
  ExpectUnchanged("<rpc><a xml:lang='en'/></rpc>");
}

TEST(AttributesTest, AreNotWhatOnlyLooksLikeThem) {
  for (const char* text :
       {"<rpc><!-- <a b='c'/> --></rpc>", "<rpc><![CDATA[<a b='c'/>]]></rpc>",
        "<rpc><?a b='c'?></rpc>", "<rpc></rpc a='b'>", "<rpc>a='b'</rpc>",
        "<rpc x='<a b=\"c\">'/>", "<!DOCTYPE a b='c'><rpc/>"}) {
    ExpectUnchanged(text);
  }
}

TEST(AttributesTest, OfWhatIsNoXmlMayBeAnything) {
  for (const char* text : {"", "<", "<a", "<rpc><", "<rpc><a ", "<rpc><a b",
                           "<rpc><a b=", "<rpc><a b=c>", "<rpc><a =",
                           "<rpc><a / b", "<rpc><!--", "<rpc></", "text"}) {
    ExpectUnchanged(text);
  }
  EXPECT_EQ(MarkAttributes("<rpc><a b='"), "<rpc><a no-namespace-of-b:b='");
}

}  // namespace
}  // namespace ipav::transport
