#include "host/base/bytes.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace ipav::base {

namespace {

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
