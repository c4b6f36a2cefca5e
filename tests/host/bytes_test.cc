#include "host/base/bytes.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace ipav::base {

namespace {

TEST(Bytes, Utf8IsLeftAsItIs) {
  const std::string text("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80 \x1b\n\0",
                         18);
  EXPECT_EQ(ToUtf8(text), text);
}

TEST(Bytes, WhatIsNoUtf8IsReplaced) {
  EXPECT_EQ(ToUtf8("caf\xe9"), "caf\xef\xbf\xbd");
  EXPECT_EQ(ToUtf8("\xc3("), "\xef\xbf\xbd(");
  // A surrogate and an overlong slash, whatever the number of marks for them.
  for (const char* bytes : {"\xed\xa0\x80", "\xc0\xaf"}) {
    EXPECT_EQ(ToUtf8(bytes).substr(0, 3), "\xef\xbf\xbd");
    EXPECT_EQ(ToUtf8(ToUtf8(bytes)), ToUtf8(bytes));
  }
}

TEST(Bytes, XmlTextHasNoControlCharacters) {
  EXPECT_EQ(ToXmlText(std::string("a\x1b[1m\0b\x7f", 8)),
            "a\\x1b[1m\\x00b\\x7f");
  EXPECT_EQ(ToXmlText("a\r\nb\tc"), "a\\x0d\nb\tc");
}

TEST(Bytes, XmlTextHasNoNoncharacters) {
  EXPECT_EQ(ToXmlText("<\xef\xbf\xbe\xef\xbf\xbf\xc3\xa9\xff>"),
            "<\xef\xbf\xbd\xef\xbf\xbd\xc3\xa9\xef\xbf\xbd>");
}

TEST(Bytes, HexIsReadBack) {
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  EXPECT_EQ(ToHex("\x01\xff"), "01ff");
  EXPECT_EQ(FromHex(ToHex(all)), all);
  EXPECT_EQ(FromHex(""), "");
}

TEST(Bytes, WhatIsNoHexIsRefused) {
  for (const char* text : {"0", "0g", "+1", "0X", "AB", " 1"}) {
    EXPECT_THROW(FromHex(text), std::invalid_argument) << text;
  }
}

}  // namespace

}  // namespace ipav::base
