#include "transport/element.h"

#include <gtest/gtest.h>

#include <string>

namespace ipav::transport {
namespace {

TEST(ElementTest, IsNotInWhatIsEmptyToAParser) {
  for (const char* text :
       {"", " ", "\r\n\t ", "<!---->", "<!-- <rpc/> -->", "<?xml version='1'?>",
        " <?xml version='1'?>\n<!-- a -->\n<?b <rpc/> ?>\n"}) {
    EXPECT_FALSE(MayHaveElement(text)) << text;
  }
}

TEST(ElementTest, IsNotInWhatHasNoEnd) {
  for (const char* text : {"<!-- <rpc/>", "<!--->", "<? <rpc/>", "<?>"}) {
    EXPECT_FALSE(MayHaveElement(text)) << text;
  }
}

TEST(ElementTest, IsNotTakenForOneBehindANullCharacter) {
  EXPECT_FALSE(MayHaveElement(std::string("\0<rpc/>", 7)));
  EXPECT_FALSE(MayHaveElement(std::string("<rpc/>\0", 7)));
}

TEST(ElementTest, MayBeWhereverAParserHasSomethingToSay) {
  for (const char* text :
       {"<rpc/>", " <rpc/> ", "<?xml version='1'?><rpc/>", "<!-- a --><rpc/>",
        "<!-- a --> <?b?>\n<!-- c -->\n<rpc", "text", "<", "<!DOCTYPE a>",
        "&"}) {
    EXPECT_TRUE(MayHaveElement(text)) << text;
  }
}

}  // namespace
}  // namespace ipav::transport
