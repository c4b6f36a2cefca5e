#include "cli/report/html_text.h"

#include <fmt/core.h>

#include <cstdint>

namespace ipav::cli::report {

namespace {

constexpr char kReplacement[] = "\xef\xbf\xbd";  // U+FFFD

struct Character {
  char32_t number = 0;
  std::size_t size = 0;  // 0: the text begins with no UTF-8
};

std::uint8_t ByteAt(std::string_view text, std::size_t place) {
  return static_cast<std::uint8_t>(text[place]);
}

// What the first byte of a character tells: its size and bits of its number.
Character Begin(std::uint8_t byte) {
  if (byte < 0x80) return {byte, 1};
  if (byte >= 0xc2 && byte < 0xe0) return {byte & 0x1fU, 2};
  if (byte >= 0xe0 && byte < 0xf0) return {byte & 0x0fU, 3};
  if (byte >= 0xf0 && byte < 0xf5) return {byte & 0x07U, 4};
  return {};
}

// In its shortest form, no half of a UTF-16 pair, and none behind the last one
// (RFC 3629).
bool IsNumberOfSize(char32_t number, std::size_t size) {
  if (size == 3) return number >= 0x800 && (number & ~0x7ffU) != 0xd800;
  if (size == 4) return number >= 0x10000 && number <= 0x10ffff;
  return true;
}

Character FirstCharacter(std::string_view text) {
  Character character = Begin(ByteAt(text, 0));
  if (character.size > text.size()) return {};
  for (std::size_t i = 1; i < character.size; ++i) {
    const std::uint8_t byte = ByteAt(text, i);
    if ((byte & 0xc0U) != 0x80) return {};
    character.number = character.number << 6U | (byte & 0x3fU);
  }
  return IsNumberOfSize(character.number, character.size) ? character
                                                          : Character();
}

bool TurnsDirection(char32_t number) {
  return number == 0x061c || number == 0x200e || number == 0x200f ||
         (number >= 0x202a && number <= 0x202e) ||
         (number >= 0x2066 && number <= 0x2069);
}

// U+0080 to U+009F are controls without a symbol; U+FFFE and U+FFFF are in no
// text.
bool IsUnshowable(char32_t number) {
  return (number >= 0x80 && number < 0xa0) || number == 0xfffe ||
         number == 0xffff;
}

// Its symbol is at the same place of the block U+2400.
std::string SymbolOfControl(char32_t number) {
  const unsigned place = number == 0x7f ? 0x21U : number;
  return {'\xe2', '\x90', static_cast<char>(0x80U + place)};
}

// What a character is written as where not as itself; empty otherwise.
std::string Replacement(char32_t number) {
  switch (number) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    case '\t':
    case '\n':
      return "";
    default:
      break;
  }
  if (number < 0x20 || number == 0x7f) return SymbolOfControl(number);
  if (TurnsDirection(number)) {
    return fmt::format("[U+{:04X}]", static_cast<unsigned>(number));
  }
  return IsUnshowable(number) ? kReplacement : "";
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    const std::size_t size = character.size == 0 ? 1 : character.size;
    const std::string replacement = character.size == 0
                                        ? std::string(kReplacement)
                                        : Replacement(character.number);
    if (replacement.empty()) {
      escaped += text.substr(0, size);
    } else {
      escaped += replacement;
    }
    text.remove_prefix(size);
  }
  return escaped;
}

std::size_t CharacterSize(std::string_view text) {
  const std::size_t size = FirstCharacter(text).size;
  return size == 0 ? 1 : size;
}

std::string Count(std::size_t number, const char* one, const char* many) {
  return fmt::format("{} {}", number, number == 1 ? one : many);
}

Html& Html::Text(std::string_view text) {
  page_ += Escaped(text);
  return *this;
}

Html& Html::Path(std::string_view path) {
  std::size_t begin = 0;
  int keys = 0;  // a slash in them is one of a prefix
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (path[i] == '{') ++keys;
    if (path[i] == '}') --keys;
    if (path[i] != '/' || keys != 0) continue;
    Text(path.substr(begin, i - begin)).Markup("<wbr />");
    begin = i;
  }
  return Text(path.substr(begin));
}

Html& Html::Number(std::size_t number) {
  page_ += std::to_string(number);
  return *this;
}

Html& Html::Share(double share) {
  page_ += fmt::format("{:.6g}%", share * 100);
  return *this;
}

Html& Html::Add(const Html& part) {
  page_ += part.page_;
  return *this;
}

}  // namespace ipav::cli::report
