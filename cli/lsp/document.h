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
// Counts characters from the start of a text. Keeps the counts of blocks, as
// far as somebody asked: a line may be the whole text.
class Ruler {
 public:
  // What a character of four bytes counts.
  explicit Ruler(std::size_t of_long) : of_long_(of_long) {}

  std::size_t Before(std::string_view text, std::size_t offset);
  // The character that is `count` behind the one at `begin`, at most `end`.
  std::size_t Find(std::string_view text, const Span& part, std::size_t count);
  // The text has changed from there on.
  void Forget(std::size_t offset);

 private:
  std::size_t CountOf(char first_byte) const;
  std::size_t CountIn(std::string_view text) const;
  void AddBlock(std::string_view text);

  const std::size_t of_long_;
  std::vector<std::size_t> counts_ = {0};  // before each block
};

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

  std::string text_;
  std::vector<std::size_t> lines_;  // where they start
  // Those of the reports; empty: not asked for yet.
  mutable std::vector<std::size_t> report_lines_;
  mutable Ruler units_{2};  // UTF-16 code units
  mutable Ruler characters_{1};
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_DOCUMENT_H_
