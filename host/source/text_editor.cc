#include "host/source/text_editor.h"

#include <algorithm>

namespace ipav::source {

namespace {

constexpr char kUsualUnit[] = "  ";

}  // namespace

std::vector<Replacement> TextEditor::Take() {
  std::stable_sort(replacements_.begin(), replacements_.end(),
                   [](const Replacement& a, const Replacement& b) {
                     return a.span.begin != b.span.begin
                                ? a.span.begin < b.span.begin
                                : a.span.end < b.span.end;
                   });
  return std::move(replacements_);
}

bool TextEditor::IsIndent(std::size_t begin, std::size_t end) const {
  return Bytes(begin, end).find_first_not_of(" \t") == std::string_view::npos;
}

TextEditor::Layout TextEditor::LayoutOf(std::size_t begin,
                                        std::size_t parent) const {
  Layout layout;
  const std::size_t line = begin == 0 ? 0 : LineOf(begin - 1);
  layout.has_lines = IsIndent(line, begin) && text_.find('\n') < text_.size();
  if (!layout.has_lines) return layout;
  layout.indent = Bytes(line, begin);
  layout.unit = kUsualUnit;
  const std::size_t parent_line = parent == 0 ? 0 : LineOf(parent - 1);
  if (parent_line == line) return layout;
  const std::string_view above =
      Bytes(parent_line, text_.find_first_not_of(" \t", parent_line));
  if (above.size() < layout.indent.size()) {
    layout.unit = layout.indent.substr(above.size());
  }
  return layout;
}

TextEditor::Layout TextEditor::LayoutBelow(std::size_t parent) const {
  Layout layout = LayoutOf(parent, parent);
  const bool has_tabs = layout.indent.find('\t') != std::string::npos;
  layout.unit = has_tabs ? "\t" : kUsualUnit;
  layout.indent += layout.unit;
  return layout;
}

std::string TextEditor::LineEnd() const {
  const std::size_t newline = text_.find('\n');
  const bool has_return = newline != std::string_view::npos && newline > 0 &&
                          text_[newline - 1] == '\r';
  return has_return ? "\r\n" : "\n";
}

std::string TextEditor::Closing(std::size_t at, const Layout& below,
                                std::size_t parent) const {
  const std::size_t next = text_.find_first_not_of(" \t\r", at);
  const bool is_closed = next != std::string_view::npos && text_[next] == '\n';
  if (!below.has_lines || is_closed) return "";
  return LineEnd() + LayoutOf(parent, parent).indent;
}

}  // namespace ipav::source
