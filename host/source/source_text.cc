#include "host/source/source_text.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "host/source/node_finder.h"
#include "host/source/source_tree.h"

namespace ipav::source {

namespace {

using Node = SourceTree::Node;

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

// A longer line is cut to this much around the position: a file of one
// line may have megabytes.
constexpr std::size_t kLongLine = 1024;
constexpr std::size_t kShownAround = 256;

// The position, moved back to the start of its character.
std::size_t AtCharacter(std::string_view text, std::size_t at) {
  while (at > 0 && at < text.size() && base::IsContinuation(text[at])) --at;
  return at;
}

// Lines and columns of a text.
class Lines {
 public:
  explicit Lines(std::string_view text) : text_(text) {
    const bool has_mark = text.compare(0, 3, kByteOrderMark) == 0;
    begins_.push_back(has_mark ? kByteOrderMark.size() : 0);
    for (std::size_t at = text.find('\n'); at != std::string_view::npos;
         at = text.find('\n', at + 1)) {
      begins_.push_back(at + 1);
    }
  }

  Mark MarkOf(Span span) {
    const auto next =
        std::upper_bound(begins_.begin(), begins_.end(), span.begin);
    const std::size_t begin = next == begins_.begin() ? 0 : *std::prev(next);
    Span line{begin, next == begins_.end() ? text_.size() : *next - 1};
    if (line.end > line.begin && text_[line.end - 1] == '\r') --line.end;

    Mark mark;
    mark.line = static_cast<std::size_t>(next - begins_.begin());
    mark.column = CharactersTo(begin, span.begin) + 1;
    span.end = std::max(std::min(span.end, line.end), span.begin);
    mark.length = std::max<std::size_t>(base::CountCharacters(TextOf(span)), 1);
    Show(line, span, &mark);
    return mark;
  }

 private:
  std::string_view TextOf(Span span) const {
    return text_.substr(span.begin, span.end - span.begin);
  }

  // Characters of the line before a position. If the previous position was in
  // the same line, the count continues from there: most come in order.
  std::size_t CharactersTo(std::size_t line, std::size_t place) {
    if (line != counted_line_ || place < counted_to_) {
      counted_line_ = line;
      counted_to_ = line;
      count_ = 0;
    }
    count_ += base::CountCharacters(TextOf({counted_to_, place}));
    counted_to_ = place;
    return count_;
  }

  void Show(Span line, Span span, Mark* mark) const {
    if (line.end - line.begin > kLongLine) {
      line.end = AtCharacter(
          text_, std::min(line.end, std::min(span.end, span.begin + kLongLine) +
                                        kShownAround));
      if (span.begin - line.begin > kShownAround) {
        line.begin = AtCharacter(text_, span.begin - kShownAround);
      }
      mark->skipped = mark->column - 1 -
                      base::CountCharacters(TextOf({line.begin, span.begin}));
    }
    mark->source_line = TextOf(line);
  }

  std::string_view text_;
  std::vector<std::size_t> begins_;
  std::size_t counted_line_ = 0;
  std::size_t counted_to_ = 0;
  std::size_t count_ = 0;
};

}  // namespace

// The results of reading the text.
class SourceText::Places {
 public:
  explicit Places(const datastore::InputText& text)
      : lines_(text.bytes), finder_(&tree_, text.format == LYD_XML) {
    (text.format == LYD_XML ? ReadXml : ReadJson)(text.bytes, text.start,
                                                  &tree_);
  }

  std::optional<Mark> MarkOf(const lyd_node* node) {
    const Node found = finder_.Find(node);
    if (found == SourceTree::kNone) return std::nullopt;
    return lines_.MarkOf(tree_[finder_.ShownOf(found, *node->schema)].span);
  }

 private:
  Lines lines_;
  SourceTree tree_;
  NodeFinder finder_;
};

SourceText::SourceText(const datastore::InputText& text) : text_(text) {}

SourceText::~SourceText() = default;

std::optional<Mark> SourceText::MarkOf(const lyd_node* node) const {
  if (node == nullptr) return std::nullopt;
  if (places_ == nullptr) places_ = std::make_unique<Places>(text_);
  return places_->MarkOf(node);
}

}  // namespace ipav::source
