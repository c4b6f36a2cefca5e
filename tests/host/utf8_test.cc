#include "host/base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace ipav::base {

namespace {

// One of each size, and the first and the last of each.
constexpr char kValid[] =
    "a\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf"
    "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf";

struct Invalid {
  const char* bytes;
  std::size_t size;  // of what is replaced as one
};

constexpr Invalid kInvalid[] = {
    {"\x80", 1},                 // a later byte
    {"\xc0\xaf", 1},             // '/' in two bytes
    {"\xc1\xbf", 1},             //
    {"\xe0\x9f\xbf", 1},         // two bytes would do
    {"\xed\xa0\x80", 1},         // half of a UTF-16 pair
    {"\xf0\x8f\xbf\xbf", 1},     // three bytes would do
    {"\xf4\x90\x80\x80", 1},     // above U+10FFFF
    {"\xf5\x80\x80\x80", 1},     //
    {"\xff", 1},                 //
    {"\xc3(", 1},                // cut off by another character
    {"\xe2\x82(", 2},            //
    {"\xf0\x9f\x98\xc3\xa9", 3}  //
};

TEST(Utf8, EachCharacterIsDecoded) {
  std::string_view text = kValid;
  for (const char32_t number : {0x61U, 0x7fU, 0x80U, 0x7ffU, 0x800U, 0xd7ffU,
                                0xe000U, 0xffffU, 0x10000U, 0x10ffffU}) {
    const Utf8Character character = FirstCharacter(text);
    EXPECT_TRUE(character.is_valid);
    EXPECT_EQ(character.number, number);
    text.remove_prefix(character.size);
  }
  EXPECT_EQ(text, "");
  EXPECT_EQ(CountCharacters(kValid), 10U);
  EXPECT_EQ(ToUtf8(kValid), kValid);
}

TEST(Utf8, FirstCharactersAreWhole) {
  EXPECT_EQ(FirstCharacters("a\u00fc\u6771b", 0), "");
  EXPECT_EQ(FirstCharacters("a\u00fc\u6771b", 3), "a\u00fc\u6771");
  EXPECT_EQ(FirstCharacters("a\xff\u00fcb", 3), "a\xff\u00fc");
  EXPECT_EQ(FirstCharacters("\u00fc", 5), "\u00fc");
  EXPECT_EQ(FirstCharacters("a\xe2\x82", 5), "a\xe2\x82");
}

TEST(Utf8, InvalidBytesAreOneReplacementForEachCutCharacter) {
  for (const auto& [bytes, size] : kInvalid) {
    const Utf8Character character = FirstCharacter(bytes);
    EXPECT_FALSE(character.is_valid) << Escaped(bytes);
    EXPECT_EQ(character.size, size) << Escaped(bytes);
  }
  EXPECT_EQ(ToUtf8("caf\xe9"), "caf\ufffd");
  EXPECT_EQ(ToUtf8("\xe2\x82"), "\ufffd");
  EXPECT_EQ(ToUtf8("\xed\xa0\x80!"), "\ufffd\ufffd\ufffd!");
  EXPECT_EQ(ToUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
}

// Also behind or across the end of a long block of ASCII.
TEST(Utf8, ValidSizeEndsAtTheFirstInvalidByte) {
  for (const std::size_t before : {0U, 1U, 255U, 256U, 257U, 1000U}) {
    const std::string ascii(before, 'a');
    EXPECT_EQ(ValidUtf8Size(ascii), before);
    EXPECT_EQ(ValidUtf8Size(ascii + kValid + ascii),
              2 * before + sizeof(kValid) - 1);
    for (const Invalid& invalid : kInvalid) {
      EXPECT_EQ(ValidUtf8Size(ascii + "\xc3\xbc" + invalid.bytes), before + 2)
          << Escaped(invalid.bytes);
    }
  }
}

TEST(Utf8, PrintableTextsStayAsTheyAre) {
  for (const char* text : {"", "l3 core1 {a \"b\"}", "Zürich 東京 😀"}) {
    EXPECT_TRUE(IsPrintable(text)) << text;
    EXPECT_EQ(Printable(text), text);
  }
}

// NOLINTBEGIN(misc-misleading-bidirectional)
TEST(Utf8, UnprintableCharactersAreEscaped) {
  const struct {
    const char* text;
    const char* printable;
  } rows[] = {{"\x1b[31m", "\\x1b[31m"},
              {"\t\n\r\x7f", "\\x09\\x0a\\x0d\\x7f"},
              {"\xc2\x80\xc2\x9b\xc2\x9f\xc2\xa0", "\\x80\\x9b\\x9f\xc2\xa0"},
              {"\u061c\u200e\u200f", "\\u061c\\u200e\\u200f"},
              {"\u2027\u2028\u2029\u202a\u202e\u202f",
               "\u2027\\u2028\\u2029\\u202a\\u202e\u202f"},
              {"\u2066\u2069\u206a", "\\u2066\\u2069\u206a"},
              {"caf\xe9", "caf\\xe9"},
              {"\xe2\x82(", "\\xe2\\x82("}};
  for (const auto& [text, printable] : rows) {
    EXPECT_FALSE(IsPrintable(text)) << printable;
    EXPECT_EQ(Printable(text), printable);
  }
}

TEST(Utf8, QuotedTextCanBeReadBack) {
  EXPECT_EQ(Quoted("a \"b\" \\ \n\r\t\x01 ü \u202e \xff"),
            "\"a \\\"b\\\" \\\\ \\n\\r\\t\\x01 ü \\u202e \\xff\"");
}
// NOLINTEND(misc-misleading-bidirectional)

TEST(Utf8, XmlTextHasNoControlCharacters) {
  EXPECT_EQ(ToXmlText(std::string("a\x1b[1m\0b\x7f", 8)),
            "a\\x1b[1m\\x00b\\x7f");
  EXPECT_EQ(ToXmlText("a\r\nb\tc"), "a\\x0d\nb\tc");
}

TEST(Utf8, XmlTextHasNoNoncharacters) {
  EXPECT_EQ(ToXmlText("<\ufffe\uffff\u00e9\xff>"),
            "<\ufffd\ufffd\u00e9\ufffd>");
}

}  // namespace

}  // namespace ipav::base
