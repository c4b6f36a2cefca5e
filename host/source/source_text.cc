#include "host/source/source_text.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "host/datastore/data_tree.h"
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

// Keys of an entry as one text. YANG text has no NUL (RFC 7950, section 14).
std::string Join(const std::vector<std::string>& keys) {
  std::string joined;
  for (const std::string& key : keys) joined.append(key) += '\0';
  return joined;
}

}  // namespace

// The results of reading the text.
class SourceText::Places {
 public:
  explicit Places(std::string_view text) : lines_(text) {
    const std::size_t mark = text.compare(0, 3, kByteOrderMark) == 0 ? 3 : 0;
    const std::size_t start = text.find_first_not_of(" \t\r\n", mark);
    if (start == std::string_view::npos || text.size() > UINT32_MAX) return;
    is_xml_ = text[start] == '<';
    (is_xml_ ? ReadXml : ReadJson)(text, start, &tree_);
  }

  std::optional<Mark> MarkOf(const lyd_node* node) {
    const Node found = Find(node);
    if (found == SourceTree::kNone) return std::nullopt;
    return lines_.MarkOf(tree_.SpanOf(ShownOf(found, *node)));
  }

 private:
  using EntryIndex = std::unordered_map<std::string, Node>;

  Node Find(const lyd_node* node) {
    if (node == nullptr) return SourceTree::kRoot;
    const auto known = found_.find(node);
    if (known != found_.end()) return known->second;
    const Node parent = Find(lyd_parent(node));
    const Node found =
        parent == SourceTree::kNone ? parent : FindUnder(parent, *node);
    found_.emplace(node, found);
    return found;
  }

  Node FindUnder(Node parent, const lyd_node& node) {
    if (node.schema->nodetype == LYS_LIST) {
      const EntryIndex& index = IndexOf(parent, *node.schema);
      const auto entry = index.find(Join(datastore::KeysOf(&node)));
      return entry == index.end() ? SourceTree::kNone : entry->second;
    }
    Node child = FirstOf(*node.schema, tree_.FirstChild(parent));
    if (node.schema->nodetype != LYS_LEAFLIST) return child;
    const std::string value = CanonicalOf(*node.schema, lyd_get_value(&node));
    while (child != SourceTree::kNone &&
           CanonicalOf(*node.schema, tree_.ValueOf(child)) != value) {
      child = FirstOf(*node.schema, tree_.Next(child));
    }
    return child;
  }

  static std::string CanonicalOf(const lysc_node& leaf, std::string_view text) {
    return datastore::CanonicalText(leaf, std::string(text));
  }

  // The first instance of a node of the model, starting with that sibling.
  Node FirstOf(const lysc_node& schema, Node node) const {
    const std::uint32_t name = tree_.FindNumber(schema.name);
    const std::uint32_t module =
        tree_.FindNumber(is_xml_ ? schema.module->ns : schema.module->name);
    if (name == SourceTree::kNone || module == SourceTree::kNone) {
      return SourceTree::kNone;
    }
    while (node != SourceTree::kNone &&
           (tree_.NameOf(node) != name || tree_.ModuleOf(node) != module)) {
      node = tree_.Next(node);
    }
    return node;
  }

  // The entries of a list under a node by their keys: an index made once, for
  // fast look-ups.
  const EntryIndex& IndexOf(Node parent, const lysc_node& list) {
    const auto [slot, is_new] = indexes_.try_emplace({parent, &list});
    if (is_new) {
      for (Node entry = FirstOf(list, tree_.FirstChild(parent));
           entry != SourceTree::kNone;
           entry = FirstOf(list, tree_.Next(entry))) {
        slot->second.emplace(Join(KeysOf(entry, list)), entry);
      }
    }
    return slot->second;
  }

  std::vector<std::string> KeysOf(Node entry, const lysc_node& list) const {
    std::vector<std::string> keys;
    for (const lysc_node* leaf = lysc_node_child(&list);
         leaf != nullptr && lysc_is_key(leaf); leaf = leaf->next) {
      const Node key = FirstOf(*leaf, tree_.FirstChild(entry));
      keys.push_back(key == SourceTree::kNone
                         ? ""
                         : CanonicalOf(*leaf, tree_.ValueOf(key)));
    }
    return keys;
  }

  // An entry is shown at its first key.
  Node ShownOf(Node found, const lyd_node& node) const {
    const lysc_node* child = node.schema->nodetype == LYS_LIST
                                 ? lysc_node_child(node.schema)
                                 : nullptr;
    if (child == nullptr || !lysc_is_key(child)) return found;
    const Node key = FirstOf(*child, tree_.FirstChild(found));
    return key == SourceTree::kNone ? found : key;
  }

  Lines lines_;
  bool is_xml_ = false;
  SourceTree tree_;
  std::unordered_map<const lyd_node*, Node> found_;
  std::map<std::pair<Node, const lysc_node*>, EntryIndex> indexes_;
};

SourceText::SourceText(std::string_view text) : text_(text) {}

SourceText::~SourceText() = default;

std::optional<Mark> SourceText::MarkOf(const lyd_node* node) const {
  if (node == nullptr) return std::nullopt;
  if (places_ == nullptr) places_ = std::make_unique<Places>(text_);
  return places_->MarkOf(node);
}

}  // namespace ipav::source
