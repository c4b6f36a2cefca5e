#include "cli/report/text/source_lines.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "host/base/utf8.h"

namespace ipav::cli::report {

namespace {

// Characters of a long line that are shown: in total, and before the mark.
constexpr std::size_t kMaxShown = 96;
constexpr std::size_t kMaxInFront = 40;

constexpr char kCut[] = "...";

std::vector<std::string_view> SplitCharacters(std::string_view text) {
  std::vector<std::string_view> characters;
  while (!text.empty()) {
    characters.push_back(text.substr(0, base::FirstCharacter(text).size));
    text.remove_prefix(characters.back().size());
  }
  return characters;
}

}  // namespace

ShownLine ShowLine(const messages::Place& place) {
  const std::vector<std::string_view> characters =
      SplitCharacters(place.source_line);
  const std::size_t mark =
      std::min(place.column - 1 - place.skipped, characters.size());

  // 1. Find the characters that are shown.
  const bool fits = place.skipped == 0 && characters.size() <= kMaxShown;
  const std::size_t begin =
      fits || mark <= kMaxInFront ? 0 : mark - kMaxInFront;
  const std::size_t end =
      fits ? characters.size() : std::min(begin + kMaxShown, characters.size());

  // 2. Return them, with the position of the mark.
  ShownLine line;
  if (begin + place.skipped > 0) line.text = kCut;
  line.indent = line.text.size();
  line.length = 0;
  for (std::size_t i = begin; i < end; ++i) {
    const std::string shown =
        characters[i] == "\t" ? " " : base::Printable(characters[i]);
    line.text += shown;
    if (i < mark) line.indent += base::CountCharacters(shown);
    if (i >= mark && i < mark + place.length)
      line.length += base::CountCharacters(shown);
  }
  if (end < characters.size()) line.text += kCut;
  line.length = std::max<std::size_t>(line.length, 1);
  return line;
}

}  // namespace ipav::cli::report
