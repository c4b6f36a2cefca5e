#include "host/datastore/plain_xml.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ipav::datastore {

namespace {

// Whether the text has no reference, no control character, no U+FFFE and no
// U+FFFF, which XML does not allow. All characters from U+F000 to U+FFFF start
// with the byte 0xef: none of them is plain.
bool HasPlainBytes(std::string_view text) {
  // In bytes and without a branch, so that the compiler vectorizes the loop.
  std::uint8_t odd = 0;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    const auto is_control = static_cast<std::uint8_t>(byte < ' ');
    const auto is_no_blank =
        static_cast<std::uint8_t>(byte != '\t' && byte != '\n' && byte != '\r');
    const auto is_odd = static_cast<std::uint8_t>(byte == '&' || byte == 0xef);
    odd |= static_cast<std::uint8_t>((is_control & is_no_blank) | is_odd);
  }
  return odd == 0;
}

bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }

bool StartsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsInName(char c) {
  return StartsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  bool IsPlain() {
    while ((at_ = text_.find('<', at_)) != std::string_view::npos) {
      if (!SkipMarkup()) return false;
    }
    return open_.empty();
  }

 private:
  bool SkipMarkup() {
    ++at_;
    if (Skip('/')) return SkipEndTag();
    if (Skip('!')) return Skip("--") && SkipCommentEnd();
    return SkipStartTag();
  }

  // Comments must not contain "--".
  bool SkipCommentEnd() {
    at_ = std::min(text_.find("--", at_), text_.size());
    return Skip("-->");
  }

  bool SkipEndTag() {
    if (open_.empty() || !Skip(open_.back())) return false;
    open_.pop_back();
    SkipBlanks();
    return Skip('>');
  }

  // A single attribute cannot have a duplicate name.
  bool SkipStartTag() {
    const std::string_view name = SkipName();
    if (name.empty()) return false;
    if (SkipBlanks() && StartsName(Current()) && !SkipAttribute()) return false;
    SkipBlanks();
    if (Skip("/>")) return true;
    open_.push_back(name);
    return Skip('>');
  }

  bool SkipAttribute() {
    if (SkipName().empty() || !Skip("=\"")) return false;
    at_ = std::min(text_.find_first_of("\"<", at_), text_.size());
    return Skip('"');
  }

  // A name with or without a prefix; empty if there is none.
  std::string_view SkipName() {
    const std::size_t begin = at_;
    if (!SkipPartOfName()) return "";
    if (Skip(':') && !SkipPartOfName()) return "";
    return text_.substr(begin, at_ - begin);
  }

  bool SkipPartOfName() {
    if (!StartsName(Current())) return false;
    while (IsInName(Current())) ++at_;
    return true;
  }

  // Skips blanks. Whether there were any.
  bool SkipBlanks() {
    const std::size_t begin = at_;
    while (IsBlank(Current())) ++at_;
    return at_ > begin;
  }

  bool Skip(char expected) {
    if (Current() != expected) return false;
    ++at_;
    return true;
  }

  bool Skip(std::string_view expected) {
    if (text_.compare(at_, expected.size(), expected) != 0) return false;
    at_ += expected.size();
    return true;
  }

  // NUL at the end.
  char Current() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<std::string_view> open_;  // elements
};

}  // namespace

bool IsPlainXml(std::string_view text) {
  return HasPlainBytes(text) && text.find("]]>") == std::string_view::npos &&
         Scanner(text).IsPlain();
}

}  // namespace ipav::datastore
