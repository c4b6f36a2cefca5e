#include "cli/lsp/document.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/base/utf8.h"

namespace ipav::cli::lsp {

namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view kLineEnds = "\r\n";

// UTF-16 code units of the character that starts with this byte: characters of
// four bytes need two.
std::size_t UnitsOf(char first_byte) {
  return static_cast<unsigned char>(first_byte) >= 0xf0 ? 2 : 1;
}

constexpr std::size_t kBlock = 1024;  // bytes

std::size_t UnitsIn(std::string_view text) {
  std::size_t units = 0;
  for (const char each : text) {
    if (!base::IsContinuation(each)) units += UnitsOf(each);
  }
  return units;
}

// The start of the character after the one at `at`.
std::size_t NextCharacter(std::string_view text, std::size_t at) {
  ++at;
  while (at < text.size() && base::IsContinuation(text[at])) ++at;
  return at;
}

}  // namespace

Document::Document(std::string_view text) : lines_{0} { Replace({0, 0}, text); }

// Depends on this byte and the one before it.
bool Document::IsLineStart(std::size_t offset) const {
  const char before = text_[offset - 1];
  return before == '\n' ||
         (before == '\r' && (offset == text_.size() || text_[offset] != '\n'));
}

std::size_t Document::OffsetOf(const Position& position) const {
  if (position.line >= lines_.size()) return text_.size();
  std::size_t at = lines_[position.line];
  const std::size_t end =
      std::min(text_.find_first_of(kLineEnds, at), text_.size());
  std::size_t left = position.character;
  while (at < end && left >= UnitsOf(text_[at])) {
    left -= UnitsOf(text_[at]);
    at = NextCharacter(text_, at);
  }
  return at;
}

Span Document::SpanOf(const Range& range) const {
  const std::size_t begin = OffsetOf(range.start);
  return {begin, std::max(begin, OffsetOf(range.end))};
}

std::size_t Document::UnitsBefore(std::size_t offset) const {
  const std::string_view text = text_;
  while (units_.size() <= offset / kBlock) {
    const std::size_t block = (units_.size() - 1) * kBlock;
    units_.push_back(units_.back() + UnitsIn(text.substr(block, kBlock)));
  }
  const std::size_t rest = offset % kBlock;
  return units_[offset / kBlock] + UnitsIn(text.substr(offset - rest, rest));
}

Position Document::PositionOf(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  const auto next = std::upper_bound(lines_.begin(), lines_.end(), offset);
  const auto line = std::prev(next);
  return {static_cast<std::size_t>(std::distance(lines_.begin(), line)),
          UnitsBefore(offset) - UnitsBefore(*line)};
}

std::size_t Document::OffsetOfPlace(std::size_t line,
                                    std::size_t column) const {
  std::size_t at = 0;
  for (; line > 1; --line) {
    const std::size_t end = text_.find('\n', at);
    if (end == std::string::npos) return text_.size();
    at = end + 1;
  }
  if (at == 0 && text_.rfind(kByteOrderMark, 0) == 0) {
    at = kByteOrderMark.size();
  }
  const std::size_t end = std::min(text_.find('\n', at), text_.size());
  for (; column > 1 && at < end; --column) at = NextCharacter(text_, at);
  return at;
}

void Document::Replace(const Span& span, std::string_view text) {
  // 1. The starts that depend on a byte that goes.
  const auto first = std::lower_bound(lines_.begin() + 1, lines_.end(),
                                      std::max(span.begin, std::size_t{1}));
  const auto last = std::upper_bound(first, lines_.end(), span.end);
  std::vector<std::size_t> after(last, lines_.end());
  lines_.erase(first, lines_.end());
  // 2. The text, and the starts in its new part.
  text_.replace(span.begin, span.end - span.begin, text);
  units_.resize(std::min(units_.size(), span.begin / kBlock + 1));
  const std::size_t end = span.begin + text.size();
  for (std::size_t at = std::max(span.begin, std::size_t{1}); at <= end; ++at) {
    if (IsLineStart(at)) lines_.push_back(at);
  }
  // 3. The starts behind it.
  for (std::size_t& start : after) start = start - span.end + end;
  lines_.insert(lines_.end(), after.begin(), after.end());
}

}  // namespace ipav::cli::lsp
