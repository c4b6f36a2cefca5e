#include "cli/similar_names.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

namespace ipav::cli {

namespace {

// Every three characters in a row of the words, in lower case, with one blank
// around each word.
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

// Dice coefficient, from 0 (nothing in common) to 1.
double Likeness(const std::set<std::string>& a,
                const std::set<std::string>& b) {
  if (a.empty() || b.empty()) return 0;
  const auto common = std::count_if(
      a.begin(), a.end(), [&](const auto& one) { return b.count(one) != 0; });
  return 2.0 * static_cast<double>(common) /
         static_cast<double>(a.size() + b.size());
}

}  // namespace

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

}  // namespace ipav::cli
