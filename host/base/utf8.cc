#include "host/base/utf8.h"

#include <algorithm>
#include <cstdint>

namespace ipav::base {

namespace {

constexpr char32_t kDelete = 0x7f;

bool IsAscii(std::string_view text) {
  // Without a branch in the loop, so that the compiler vectorizes it.
  std::uint8_t bits = 0;
  for (const char c : text) bits |= static_cast<std::uint8_t>(c);
  return bits < 0x80;
}

// Whether `byte` may follow the first byte of a character. Some first bytes
// allow fewer second bytes: no form longer than necessary, no half of a UTF-16
// pair, nothing above U+10FFFF.
bool IsSecondByte(std::uint8_t first, std::uint8_t byte) {
  switch (first) {
    case 0xe0:
      return byte >= 0xa0 && byte <= 0xbf;
    case 0xed:
      return byte >= 0x80 && byte <= 0x9f;
    case 0xf0:
      return byte >= 0x90 && byte <= 0xbf;
    case 0xf4:
      return byte >= 0x80 && byte <= 0x8f;
    default:
      return byte >= 0x80 && byte <= 0xbf;
  }
}

// The size in bytes and the bits of the number that the first byte gives.
// Size 0: no character starts with this byte.
Utf8Character FromFirstByte(std::uint8_t byte) {
  if (byte < 0x80) return {byte, 1, true};
  if (byte >= 0xc2 && byte < 0xe0) return {byte & 0x1fU, 2, true};
  if (byte >= 0xe0 && byte < 0xf0) return {byte & 0x0fU, 3, true};
  if (byte >= 0xf0 && byte < 0xf5) return {byte & 0x07U, 4, true};
  return {};
}

std::string Hex(const char* prefix, unsigned number, unsigned digits) {
  std::string text = prefix;
  while (digits-- > 0) {
    text += "0123456789abcdef"[number >> 4 * digits & 0xfU];
  }
  return text;
}

// `\x1b`, `\u202e`; for bytes that are not UTF-8 one `\xff` for each.
std::string EscapeSequence(const Utf8Character& character,
                           std::string_view bytes) {
  if (character.is_valid) {
    return character.number < 0x100 ? Hex("\\x", character.number, 2)
                                    : Hex("\\u", character.number, 4);
  }
  std::string text;
  for (const char c : bytes)
    text += Hex("\\x", static_cast<std::uint8_t>(c), 2);
  return text;
}

std::string Join(std::string_view prefix, std::string_view text) {
  return std::string(prefix).append(text);
}

std::string EscapedForQuotes(const Utf8Character& character,
                             std::string_view bytes) {
  switch (character.number) {
    case '"':
    case '\\':
      return Join("\\", bytes);
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return character.is_valid && IsPrintable(character.number)
                 ? std::string(bytes)
                 : EscapeSequence(character, bytes);
  }
}

std::string ForXml(const Utf8Character& character, std::string_view bytes) {
  const char32_t number = character.number;
  if (!character.is_valid) return kReplacementCharacter;
  // Characters of Unicode, but not of XML.
  if (number == 0xfffe || number == 0xffff) return kReplacementCharacter;
  const bool is_control =
      (number < ' ' && number != '\t' && number != '\n') || number == kDelete;
  return is_control ? EscapeSequence(character, bytes) : std::string(bytes);
}

// Joins the results of `convert` for each character and its bytes.
template <typename Convert>
std::string ConvertEach(std::string_view text, const Convert& convert) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Utf8Character character = FirstCharacter(text);
    result += convert(character, text.substr(0, character.size));
    text.remove_prefix(character.size);
  }
  return result;
}

}  // namespace

Utf8Character FirstCharacter(std::string_view text) {
  const auto byte_at = [text](std::size_t place) {
    return static_cast<std::uint8_t>(text[place]);
  };
  Utf8Character character = FromFirstByte(byte_at(0));
  for (std::size_t i = 1; i < character.size; ++i) {
    const bool goes_on =
        i < text.size() && (i == 1 ? IsSecondByte(byte_at(0), byte_at(1))
                                   : IsContinuation(text[i]));
    if (!goes_on) return {0, i, false};
    character.number = character.number << 6U | (byte_at(i) & 0x3fU);
  }
  return character;
}

std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t size = 0;
  for (; count > 0 && size < text.size(); --count) {
    size += FirstCharacter(text.substr(size)).size;
  }
  return text.substr(0, size);
}

std::size_t ValidUtf8Size(std::string_view text) {
  if (IsAscii(text)) return text.size();
  std::size_t size = 0;
  while (size < text.size()) {
    const Utf8Character character = FirstCharacter(text.substr(size));
    if (!character.is_valid) return size;
    size += character.size;
  }
  return size;
}

std::size_t CountCharacters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(),
                    [](char byte) { return !IsContinuation(byte); }));
}

bool ChangesDirection(char32_t number) {
  return number == 0x061c || number == 0x200e || number == 0x200f ||
         (number >= 0x202a && number <= 0x202e) ||
         (number >= 0x2066 && number <= 0x2069);
}

bool IsPrintable(char32_t number) {
  const bool is_control = number < ' ' || (number >= kDelete && number < 0xa0);
  const bool ends_line = number == 0x2028 || number == 0x2029;
  return !is_control && !ends_line && !ChangesDirection(number);
}

bool IsPrintable(std::string_view text) { return Printable(text) == text; }

std::string Printable(std::string_view text) {
  return ConvertEach(text, [](const auto& character, std::string_view bytes) {
    return character.is_valid && IsPrintable(character.number)
               ? std::string(bytes)
               : EscapeSequence(character, bytes);
  });
}

std::string Escaped(std::string_view text) {
  return ConvertEach(text, EscapedForQuotes);
}

std::string Quoted(std::string_view text) { return '"' + Escaped(text) + '"'; }

std::string QuotedIfNeeded(const std::string& text) {
  const bool is_plain = !text.empty() && text.front() != ' ' &&
                        text.back() != ' ' && text.front() != '"' &&
                        IsPrintable(text);
  return is_plain ? text : Quoted(text);
}

std::string ToUtf8(std::string_view bytes) {
  return ConvertEach(bytes, [](const auto& character, std::string_view text) {
    return character.is_valid ? std::string(text) : kReplacementCharacter;
  });
}

std::string ToXmlText(std::string_view bytes) {
  return ConvertEach(bytes, ForXml);
}

}  // namespace ipav::base
