// docs/messages.md against the texts of the plug-in and those that the
// end-to-end cases expect.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/messages/messages_document.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

// Texts of the document that no configuration provokes: they need a data model
// or a host that is wrong.
const std::set<std::string>& NeverShownByACase() {
  static const std::set<std::string> texts = {
      "invalid interface being handled by IP-App validation",
      "Lib context is null!",
  };
  return texts;
}

bool IsNumber(const std::string& word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
  });
}

// A bare number is filled in, too: it comes from a limit.
std::string NumbersAsPlaceholders(const std::string& text) {
  std::string result;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    const std::string word = text.substr(begin, end - begin);
    result += IsNumber(word) ? "<number>" : word;
    if (end < text.size()) result += ' ';
    begin = end + 1;
  }
  return result;
}

// The fixed pieces around the placeholders: one more than these, empty ones at
// the ends included.
std::vector<std::string> PiecesOf(const std::string& message) {
  const std::string text = NumbersAsPlaceholders(message);
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  for (std::size_t open = text.find('<'); open != std::string::npos;
       open = text.find('<', begin)) {
    pieces.push_back(text.substr(begin, open - begin));
    begin = text.find('>', open) + 1;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Whether the text is the message with something, maybe nothing, filled in.
bool Matches(const DocumentedText& message, const std::string& text) {
  const std::vector<std::string> pieces = PiecesOf(message.text);
  if (pieces.size() == 1) return text == pieces.front();
  if (text.rfind(pieces.front(), 0) != 0) return false;

  std::size_t at = pieces.front().size();
  for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
    at = text.find(pieces[i], at);
    if (at == std::string::npos) return false;
    at += pieces[i].size();
  }
  return text.size() >= at + pieces.back().size() &&
         EndsWith(text, pieces.back());
}

// ---- The sources -----------------------------------------------------------

// The string literals of a source, each with those that follow it directly, as
// the compiler joins them: one line as it would be without a margin.
class Literals {
 public:
  explicit Literals(std::string source) : source_(std::move(source)) {}

  std::vector<std::string> All() {
    std::vector<std::string> literals;
    while (at_ < source_.size()) {
      if (SkipComment() || SkipCharacter()) continue;
      if (source_[at_] == '"') {
        literals.push_back(Joined());
      } else {
        ++at_;
      }
    }
    return literals;
  }

 private:
  bool SkipComment() {
    if (source_.compare(at_, 2, "//") != 0) return false;
    at_ = std::min(source_.find('\n', at_), source_.size());
    return true;
  }

  bool SkipCharacter() {
    const bool is_separator =  // as in 1'000
        at_ > 0 &&
        std::isalnum(static_cast<unsigned char>(source_[at_ - 1])) != 0;
    if (source_[at_] != '\'' || is_separator) return false;
    at_ += source_[at_ + 1] == '\\' ? 4U : 3U;
    return true;
  }

  std::string Joined() {
    std::string text;
    while (at_ < source_.size() && source_[at_] == '"') {
      for (++at_; source_[at_] != '"'; ++at_) {
        if (source_[at_] == '\\') ++at_;
        text += source_[at_];
      }
      at_ = std::min(source_.find_first_not_of(" \n", at_ + 1), source_.size());
    }
    return text;
  }

  std::string source_;
  std::size_t at_ = 0;
};

const std::vector<std::string>& AllLiterals() {
  static const std::vector<std::string> literals = [] {
    std::vector<std::string> all;
    for (const auto& file :
         fs::recursive_directory_iterator(IPAV_ROOT "/src/lib")) {
      const std::string extension = file.path().extension();
      if (extension != ".cc" && extension != ".h") continue;
      const auto of_file = Literals(Read(file.path())).All();
      all.insert(all.end(), of_file.begin(), of_file.end());
    }
    return all;
  }();
  return literals;
}

// A text for people, which has words; not a signature, expression or path.
bool IsProse(const std::string& literal) {
  for (const char* mark : {"->", "::", "(int", "(confd", "{%", "{ %"}) {
    if (literal.find(mark) != std::string::npos) return false;
  }
  return std::count(literal.begin(), literal.end(), ' ') >= 2;
}

// What stands between the conversions of a format.
std::vector<std::string> PiecesOfFormat(const std::string& format) {
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  for (std::size_t at = format.find('%'); at != std::string::npos;
       at = format.find('%', begin)) {
    pieces.push_back(format.substr(begin, at - begin));
    begin = at + 2;
  }
  pieces.push_back(format.substr(begin));
  return pieces;
}

// How many of the sources' texts have the piece.
std::ptrdiff_t TextsWith(const std::string& piece) {
  return std::count_if(AllLiterals().begin(), AllLiterals().end(),
                       [&](const std::string& literal) {
                         return literal.find(piece) != std::string::npos;
                       });
}

// ---- Tests -----------------------------------------------------------------

TEST(MessagesTest, EachTextStandsInOneSourceLine) {
  ASSERT_GE(ReadMessages().size(), 30U);
  for (const DocumentedText& message : ReadMessages()) {
    const std::vector<std::string> pieces = PiecesOf(message.text);
    const std::string& longest = *std::max_element(
        pieces.begin(), pieces.end(),
        [](const auto& a, const auto& b) { return a.size() < b.size(); });
    EXPECT_EQ(TextsWith(longest), 1) << message.text << "\n  " << longest;
    for (const std::string& piece : pieces) {
      EXPECT_GE(TextsWith(piece), 1) << message.text << "\n  " << piece;
    }
  }
}

TEST(MessagesTest, NoTextOfTheSourcesIsMissing) {
  const std::string document = Read(IPAV_ROOT "/docs/messages.md");
  unsigned texts = 0;
  for (const std::string& literal : AllLiterals()) {
    if (!IsProse(literal)) continue;
    ++texts;
    for (const std::string& piece : PiecesOfFormat(literal)) {
      EXPECT_NE(document.find(piece), std::string::npos) << piece;
    }
  }
  EXPECT_GE(texts, 25U);
}

TEST(MessagesTest, EachExpectedTextOfACaseIsOneOfTheDocument) {
  const std::vector<DocumentedText> messages = ReadMessages();
  for (const std::string& text : ExpectedTexts()) {
    const auto count =
        std::count_if(messages.begin(), messages.end(), [&](const auto& one) {
          return IsForOperators(one) && Matches(one, text);
        });
    EXPECT_EQ(count, 1) << text;
  }
}

TEST(MessagesTest, EachTextForOperatorsIsShownByACase) {
  const std::vector<std::string> texts = ExpectedTexts();
  for (const DocumentedText& message : ReadMessages()) {
    if (!IsForOperators(message) ||
        NeverShownByACase().count(message.text) != 0) {
      continue;
    }
    const bool shown = std::any_of(
        texts.begin(), texts.end(),
        [&](const std::string& text) { return Matches(message, text); });
    EXPECT_TRUE(shown) << message.text;
  }
}

}  // namespace

}  // namespace ipav::testing
