#include "ipavd/transport/attributes.h"

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
  EXPECT_EQ(MarkAttributes("<rpc><a\n b = 'c'\tinsert='>'  >operation='f'</a>"
                           "</rpc>"),
            "<rpc><a\n b = 'c'\tno-namespace-of-insert:insert='>'  >"
            "operation='f'</a></rpc>");
  EXPECT_EQ(MarkAttributes("<rpc><a x:b='c'insert = '\"'><f operation=''/></a>"
                           "</rpc>"),
            "<rpc><a x:b='c'no-namespace-of-insert:insert = '\"'>"
            "<f no-namespace-of-operation:operation=''/></a></rpc>");
}

TEST(AttributesTest, OfTheRequestAreTheClients) {
  ExpectUnchanged("<?xml version='1.0'?><rpc operation='1' insert='a'/>");
  ExpectUnchanged("<!-- <a b='c'/> --><nc:rpc operation='1'/>");
}

TEST(AttributesTest, WithANamespaceAreWhatTheySay) {
  ExpectUnchanged("<rpc><a nc:operation='delete' yang:insert='first'/></rpc>");
}

TEST(AttributesTest, OfOtherNamesAreNobodys) {
  ExpectUnchanged("<rpc><get><filter type='xpath' select='/a'/></get></rpc>");
  ExpectUnchanged(
      "<rpc><a xmlns='urn:a' xmlns:b='urn:b' b:c='d' e='f'/></rpc>");
}

TEST(AttributesTest, AreNotWhatOnlyLooksLikeThem) {
  for (const char* text :
       {"<rpc><!-- <a insert='c'/> --></rpc>",
        "<rpc><![CDATA[<a insert='c'/>]]></rpc>", "<rpc><?a insert='c'?></rpc>",
        "<rpc></rpc insert='b'>", "<rpc>insert='b'</rpc>",
        "<rpc x='<a insert=\"c\">'/>", "<!DOCTYPE a insert='c'><rpc/>"}) {
    ExpectUnchanged(text);
  }
}

TEST(AttributesTest, OfWhatIsNoXmlMayBeAnything) {
  for (const char* text : {"", "<", "<a", "<rpc><", "<rpc><a ", "<rpc><a b",
                           "<rpc><a b=", "<rpc><a b=c>", "<rpc><a =",
                           "<rpc><a / b", "<rpc><!--", "<rpc></", "text"}) {
    ExpectUnchanged(text);
  }
  EXPECT_EQ(MarkAttributes("<rpc><a insert='"),
            "<rpc><a no-namespace-of-insert:insert='");
}

}  // namespace
}  // namespace ipav::transport
