#include "messages/match.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>

namespace ipav::messages {

namespace {

constexpr char kDigits[] = "0123456789";

// A documented text, taken apart: a fixed piece, and the gap behind it.
struct Piece {
  std::string fixed;
  std::string gap;  // name of a placeholder, or kNumber; empty at the end
};
constexpr char kNumber[] = "0";

// Where the next gap is: its first character and the one behind it.
std::pair<std::size_t, std::size_t> NextGap(const std::string& pattern,
                                            std::size_t from) {
  for (std::size_t at = from; at < pattern.size(); ++at) {
    if (pattern[at] == '<') return {at, pattern.find('>', at) + 1};
    const bool begins_word = at == 0 || pattern[at - 1] == ' ';
    const std::size_t end =
        std::min(pattern.find_first_not_of(kDigits, at), pattern.size());
    const bool ends_word = end == pattern.size() || pattern[end] == ' ';
    if (end > at && begins_word && ends_word) return {at, end};
  }
  return {pattern.size(), pattern.size()};
}

std::vector<Piece> TakeApart(const std::string& pattern) {
  std::vector<Piece> pieces;
  std::size_t at = 0;
  for (;;) {
    const auto [begin, end] = NextGap(pattern, at);
    std::string gap = pattern.substr(begin, end - begin);
    if (!gap.empty() && gap[0] != '<') gap = kNumber;
    pieces.push_back({pattern.substr(at, begin - at), gap});
    if (gap.empty()) return pieces;
    at = end;
  }
}

bool Fits(const std::string& gap, const std::string& filled) {
  return gap != kNumber ||
         (!filled.empty() &&
          filled.find_first_not_of(kDigits) == std::string::npos);
}

// Where a piece behind a gap is in a text, from a place on: the last one at the
// end, any other as early as it can be.
std::size_t PlaceOf(const std::string& fixed, bool is_last,
                    const std::string& text, std::size_t from) {
  if (!is_last) return text.find(fixed, from);
  if (fixed.size() > text.size() - from) return std::string::npos;
  const std::size_t place = text.size() - fixed.size();
  return text.compare(place, fixed.size(), fixed) == 0 ? place
                                                       : std::string::npos;
}

// What fills the gaps of a text; none where the text is another one.
std::optional<std::vector<std::string>> Fill(const std::vector<Piece>& pieces,
                                             const std::string& text) {
  const std::string& first = pieces.front().fixed;
  if (text.rfind(first, 0) != 0) return std::nullopt;
  std::vector<std::string> filled;
  std::size_t at = first.size();
  for (std::size_t i = 1; i < pieces.size(); ++i) {
    const std::string& fixed = pieces[i].fixed;
    const std::size_t place = PlaceOf(fixed, i + 1 == pieces.size(), text, at);
    if (place == std::string::npos) return std::nullopt;
    filled.push_back(text.substr(at, place - at));
    if (!Fits(pieces[i - 1].gap, filled.back())) return std::nullopt;
    at = place + fixed.size();
  }
  if (at != text.size()) return std::nullopt;
  return filled;
}

std::size_t FixedSize(const std::vector<Piece>& pieces) {
  std::size_t size = 0;
  for (const Piece& piece : pieces) size += piece.fixed.size();
  return size;
}

Match MakeMatch(const Section& section, const std::string& pattern,
                const std::vector<Piece>& pieces,
                const std::vector<std::string>& filled) {
  Match match{&section, pattern, {}};
  for (std::size_t i = 0; i < filled.size(); ++i) {
    if (pieces[i].gap != kNumber) {
      match.filled_in.emplace_back(pieces[i].gap, filled[i]);
    }
  }
  return match;
}

// Letters and digits in runs of three, of words with a blank around them.
std::set<std::string> TrigramsOf(const std::string& text) {
  std::string words = " ";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool is_word = std::isalnum(byte) != 0;
    if (is_word) {
      words += static_cast<char>(std::tolower(byte));
    } else if (words.back() != ' ') {
      words += ' ';
    }
  }
  if (words.back() != ' ') words += ' ';
  std::set<std::string> trigrams;
  for (std::size_t i = 0; i + 3 <= words.size(); ++i) {
    trigrams.insert(words.substr(i, 3));
  }
  return trigrams;
}

// From 0 to 1.
double Likeness(const std::set<std::string>& a,
                const std::set<std::string>& b) {
  if (a.empty() || b.empty()) return 0;
  const auto common = std::count_if(
      a.begin(), a.end(), [&](const auto& one) { return b.count(one) != 0; });
  return 2.0 * static_cast<double>(common) /
         static_cast<double>(a.size() + b.size());
}

}  // namespace

std::optional<Match> FindText(const std::vector<Section>& document,
                              const std::string& text) {
  std::optional<Match> best;
  std::size_t best_size = 0;
  for (const Section& section : document) {
    for (const std::string& pattern : TextsOf(section)) {
      const std::vector<Piece> pieces = TakeApart(pattern);
      const auto filled = Fill(pieces, text);
      const std::size_t size = FixedSize(pieces);
      if (!filled.has_value() || (best.has_value() && size <= best_size)) {
        continue;
      }
      best = MakeMatch(section, pattern, pieces, *filled);
      best_size = size;
    }
  }
  return best;
}

std::vector<std::string> MostAlike(const std::vector<std::string>& names,
                                   const std::string& text, std::size_t count) {
  constexpr double kLittle = 0.3;
  const std::set<std::string> wanted = TrigramsOf(text);
  std::vector<std::pair<double, std::string>> rated;
  for (const std::string& name : names) {
    const double likeness = Likeness(wanted, TrigramsOf(name));
    if (likeness > kLittle) rated.emplace_back(-likeness, name);
  }
  std::stable_sort(
      rated.begin(), rated.end(),
      [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> best;
  for (const auto& one : rated) {
    if (best.size() < count) best.push_back(one.second);
  }
  return best;
}

}  // namespace ipav::messages
