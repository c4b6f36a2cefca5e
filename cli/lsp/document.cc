#include "cli/lsp/document.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/base/utf8.h"

namespace ipav::cli::lsp {

namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view kLineEnds = "\r\n";

constexpr std::size_t kBlock = 1024;  // bytes

}  // namespace

std::size_t Ruler::CountOf(char first_byte) const {
  if (base::IsContinuation(first_byte)) return 0;
  return static_cast<unsigned char>(first_byte) >= 0xf0 ? of_long_ : 1;
}

std::size_t Ruler::CountIn(std::string_view text) const {
  std::size_t count = 0;
  for (const char each : text) count += CountOf(each);
  return count;
}

void Ruler::AddBlock(std::string_view text) {
  const std::size_t begin = (counts_.size() - 1) * kBlock;
  counts_.push_back(counts_.back() + CountIn(text.substr(begin, kBlock)));
}

std::size_t Ruler::Before(std::string_view text, std::size_t offset) {
  while (counts_.size() <= offset / kBlock) AddBlock(text);
  const std::size_t rest = offset % kBlock;
  return counts_[offset / kBlock] + CountIn(text.substr(offset - rest, rest));
}

std::size_t Ruler::Find(std::string_view text, const Span& part,
                        std::size_t count) {
  count += Before(text, part.begin);
  while (counts_.back() <= count && counts_.size() <= part.end / kBlock) {
    AddBlock(text);
  }
  const auto next = std::upper_bound(counts_.begin(), counts_.end(), count);
  const auto block =
      static_cast<std::size_t>(next - counts_.begin() - 1) * kBlock;
  std::size_t at = std::min(std::max(block, part.begin), part.end);
  count -= Before(text, at);
  while (at < part.end && count >= CountOf(text[at])) {
    count -= CountOf(text[at++]);
  }
  return at;
}

void Ruler::Forget(std::size_t offset) {
  counts_.resize(std::min(counts_.size(), offset / kBlock + 1));
}

Document::Document(std::string_view text) : lines_{0} { Replace({0, 0}, text); }

// Depends on this byte and the one before it.
bool Document::IsLineStart(std::size_t offset) const {
  const char before = text_[offset - 1];
  return before == '\n' ||
         (before == '\r' && (offset == text_.size() || text_[offset] != '\n'));
}

std::size_t Document::OffsetOf(const Position& position) const {
  if (position.line >= lines_.size()) return text_.size();
  const std::size_t begin = lines_[position.line];
  std::size_t end = position.line + 1 < lines_.size()
                        ? lines_[position.line + 1]
                        : text_.size();
  while (end > begin &&
         kLineEnds.find(text_[end - 1]) != std::string_view::npos)
    --end;
  return units_.Find(text_, {begin, end}, position.character);
}

Span Document::SpanOf(const Range& range) const {
  const std::size_t begin = OffsetOf(range.start);
  return {begin, std::max(begin, OffsetOf(range.end))};
}

Position Document::PositionOf(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  const auto next = std::upper_bound(lines_.begin(), lines_.end(), offset);
  const auto line = std::prev(next);
  return {static_cast<std::size_t>(std::distance(lines_.begin(), line)),
          units_.Before(text_, offset) - units_.Before(text_, *line)};
}

std::size_t Document::OffsetOfPlace(std::size_t line,
                                    std::size_t column) const {
  if (report_lines_.empty()) {
    std::copy_if(
        lines_.begin(), lines_.end(), std::back_inserter(report_lines_),
        [&](std::size_t at) { return at == 0 || text_[at - 1] == '\n'; });
  }
  if (line > report_lines_.size()) return text_.size();
  line = std::max<std::size_t>(line, 1);
  std::size_t begin = report_lines_[line - 1];
  if (begin == 0 && text_.rfind(kByteOrderMark, 0) == 0) {
    begin = kByteOrderMark.size();
  }
  const std::size_t end =
      line < report_lines_.size() ? report_lines_[line] - 1 : text_.size();
  return characters_.Find(text_, {begin, end},
                          std::max<std::size_t>(column, 1) - 1);
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
  units_.Forget(span.begin);
  characters_.Forget(span.begin);
  report_lines_.clear();
  const std::size_t end = span.begin + text.size();
  for (std::size_t at = std::max(span.begin, std::size_t{1}); at <= end; ++at) {
    if (IsLineStart(at)) lines_.push_back(at);
  }
  // 3. The starts behind it.
  for (std::size_t& start : after) start = start - span.end + end;
  lines_.insert(lines_.end(), after.begin(), after.end());
}

}  // namespace ipav::cli::lsp
