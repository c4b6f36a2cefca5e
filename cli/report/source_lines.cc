#include "cli/report/source_lines.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ipav::cli::report {

namespace {

// Of a line that does not fit on a screen: all of it, and in front of the mark.
constexpr std::size_t kMaxShown = 96;
constexpr std::size_t kMaxInFront = 40;

constexpr char kCut[] = "...";

bool IsContinued(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

// The number of a character of well-formed UTF-8.
std::uint32_t NumberOf(std::string_view character) {
  constexpr unsigned kLeadBits[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
  std::uint32_t number = static_cast<unsigned char>(character.front()) &
                         kLeadBits[std::min<std::size_t>(character.size(), 4)];
  for (const char byte : character.substr(1)) {
    number = number << 6 | (static_cast<unsigned char>(byte) & 0x3fU);
  }
  return number;
}

// A terminal would obey it, or write what follows from right to left.
bool IsHarmful(std::uint32_t number) {
  return number < 0x20 || (number >= 0x7f && number < 0xa0) ||
         number == 0x200e || number == 0x200f ||
         (number >= 0x202a && number <= 0x202e) ||
         (number >= 0x2066 && number <= 0x2069);
}

std::vector<std::string_view> CharactersOf(std::string_view text) {
  std::vector<std::string_view> characters;
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = begin + 1;
    while (end < text.size() && IsContinued(text[end])) ++end;
    characters.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return characters;
}

std::string Shown(std::string_view character) {
  const std::uint32_t number = NumberOf(character);
  if (!IsHarmful(number)) return std::string(character);
  return number < 0x100 ? fmt::format("\\x{:02x}", number)
                        : fmt::format("\\u{:04x}", number);
}

// How many characters of a screen it takes: an escape takes several.
std::size_t WidthOf(const std::string& shown) {
  return static_cast<std::size_t>(
      std::count_if(shown.begin(), shown.end(),
                    [](char byte) { return !IsContinued(byte); }));
}

}  // namespace

std::string Harmless(const std::string& text) {
  std::string result;
  for (const std::string_view character : CharactersOf(text)) {
    result += Shown(character);
  }
  return result;
}

ShownLine ShowLine(const messages::Place& place) {
  const std::vector<std::string_view> characters =
      CharactersOf(place.source_line);
  const std::size_t mark =
      std::min(place.column - 1 - place.skipped, characters.size());

  // 1. Which of them are shown.
  const bool fits = place.skipped == 0 && characters.size() <= kMaxShown;
  const std::size_t begin =
      fits || mark <= kMaxInFront ? 0 : mark - kMaxInFront;
  const std::size_t end =
      fits ? characters.size() : std::min(begin + kMaxShown, characters.size());

  // 2. They, and the place of the mark among them.
  ShownLine line;
  if (begin + place.skipped > 0) line.text = kCut;
  line.indent = line.text.size();
  line.length = 0;
  for (std::size_t i = begin; i < end; ++i) {
    const std::string shown =
        characters[i] == "\t" ? " " : Shown(characters[i]);
    line.text += shown;
    if (i < mark) line.indent += WidthOf(shown);
    if (i >= mark && i < mark + place.length) line.length += WidthOf(shown);
  }
  if (end < characters.size()) line.text += kCut;
  line.length = std::max<std::size_t>(line.length, 1);
  return line;
}

}  // namespace ipav::cli::report
