#include "host/source/faults.h"

#include <algorithm>

namespace ipav::source {

namespace {

constexpr char kJsonBlanks[] = " \t\r\n";

}  // namespace

std::size_t Fragments::BeginOf(Node node) const {
  return is_xml_ ? tree_[node].head.begin : tree_[node].span.begin;
}

std::string Fragments::TextOf(std::size_t begin, std::size_t end) const {
  return text_.substr(begin, end - begin);
}

// The start tag, or the name of the JSON member.
std::string Fragments::HeadOf(Node node) const {
  return TextOf(tree_[node].head.begin, tree_[node].head.end);
}

// JSON: whether the node is an element of an array.
bool Fragments::IsInArray(Node node) const {
  const std::size_t colon = text_.find(':', tree_[node].head.end);
  return text_.find_first_not_of(kJsonBlanks, colon + 1) <
         tree_[node].span.begin;
}

std::string Fragments::Whole(Node node) const {
  std::string text = TextOf(BeginOf(node), tree_[node].end);
  if (is_xml_) return text;
  return HeadOf(node) + (IsInArray(node) ? ":[" + text + "]" : ":" + text);
}

std::string Fragments::Hollow(Node node) const {
  if (!is_xml_) return Open(node) + Close(node);
  std::string text;
  std::size_t at = BeginOf(node);
  for (Node child = tree_[node].first_child; child != SourceTree::kNone;
       child = tree_[child].next) {
    text += TextOf(at, BeginOf(child));
    at = tree_[child].end;
  }
  return text + TextOf(at, tree_[node].end);
}

std::string Fragments::Open(Node node) const {
  if (node == SourceTree::kRoot) return is_xml_ ? "" : "{";
  if (is_xml_) return HeadOf(node);
  return HeadOf(node) + (IsInArray(node) ? ":[{" : ":{");
}

std::string Fragments::Close(Node node) const {
  if (node == SourceTree::kRoot) return is_xml_ ? "" : "}";
  if (!is_xml_) return IsInArray(node) ? "}]" : "}";
  const std::size_t end = tree_[node].end;
  return TextOf(text_.rfind("</", end - 1), end);
}

void Fragments::Remove(Node node, bool member) {
  Span hole{BeginOf(node), tree_[node].end};
  if (!is_xml_) {
    const bool is_element = IsInArray(node);
    if (is_element && member) {
      // The elements share their head.
      Node last = node;
      for (Node next = node; next != SourceTree::kNone &&
                             tree_[next].head.begin == tree_[node].head.begin;
           next = tree_[next].next) {
        last = next;
      }
      hole.end = text_.find_first_not_of(" \t\r\n]", tree_[last].end);
    }
    if (!is_element || member) hole.begin = tree_[node].head.begin;
    RemoveComma(hole);
  }
  Remove(hole);
}

void Fragments::Remove(Span hole) {
  // Line ends stay, so that all lines keep their numbers.
  std::replace_if(
      text_.begin() + static_cast<std::ptrdiff_t>(hole.begin),
      text_.begin() + static_cast<std::ptrdiff_t>(hole.end),
      [](char c) { return c != '\n' && c != '\r'; }, ' ');
}

// The comma after a part that is removed; that before it if it is the last.
void Fragments::RemoveComma(Span hole) {
  std::size_t comma = text_.find_first_not_of(kJsonBlanks, hole.end);
  if (comma == std::string::npos || text_[comma] != ',') {
    comma = text_.find_last_not_of(kJsonBlanks, hole.begin - 1);
  }
  if (comma != std::string::npos && text_[comma] == ',') text_[comma] = ' ';
}

Examined::Examined(const ly_ctx* the_context,
                   const datastore::InputText& the_text)
    : context(the_context),
      text(the_text),
      is_xml(text.format == LYD_XML),
      finder(&tree, is_xml),
      fragments(text.bytes, is_xml, &tree) {
  (is_xml ? ReadXml : ReadJson)(text.bytes, text.start, &tree);
  // Without the ends of all nodes, nothing can be examined.
  for (std::size_t i = 1; i < tree.size(); ++i) {
    if (tree[static_cast<SourceTree::Node>(i)].end == 0) tree = SourceTree();
  }
}

}  // namespace ipav::source
