// An open document: its text, and positions in it.
#ifndef IPAV_CLI_LSP_DOCUMENT_H_
#define IPAV_CLI_LSP_DOCUMENT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lsp/protocol.h"
#include "host/source/source_tree.h"

namespace ipav::cli::lsp {

using source::Span;

// Lines end with "\n", "\r\n" or "\r", as the protocol says. The reports of
// ipav only count "\n".
class Document {
 public:
  explicit Document(std::string_view text);

  const std::string& text() const { return text_; }

  // A position beyond the end of a line is the end of that line, one beyond the
  // last line the end of the text, and one inside of a character its start.
  std::size_t OffsetOf(const Position& position) const;
  Span SpanOf(
      const Range& range) const;  // empty if the end is before the start
  Position PositionOf(std::size_t offset) const;
  Range RangeOf(const Span& span) const {
    return {PositionOf(span.begin), PositionOf(span.end)};
  }

  // The byte at a line and column of a report, both from 1 and in characters.
  std::size_t OffsetOfPlace(std::size_t line, std::size_t column) const;

  void Replace(const Span& span, std::string_view text);

 private:
  bool IsLineStart(std::size_t offset) const;
  std::size_t UnitsBefore(std::size_t offset) const;

  std::string text_;
  std::vector<std::size_t> lines_;  // where they start
  // The UTF-16 code units before each block of the text, as far as somebody
  // asked: a line may be the whole text.
  mutable std::vector<std::size_t> units_ = {0};
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_DOCUMENT_H_
