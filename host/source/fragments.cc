#include "host/source/fragments.h"

#include <algorithm>

namespace ipav::source {

namespace {

constexpr char kJsonBlanks[] = " \t\r\n";

// Line ends stay, so that all lines keep their numbers.
void Blank(Span span, std::string* text) {
  std::replace_if(
      text->begin() + static_cast<std::ptrdiff_t>(span.begin),
      text->begin() + static_cast<std::ptrdiff_t>(span.end),
      [](char c) { return c != '\n' && c != '\r'; }, ' ');
}

// The name in a start tag, with its prefix.
std::string_view NameIn(std::string_view tag) {
  return tag.substr(1, tag.find_first_of(" \t\r\n/>", 1) - 1);
}

}  // namespace

std::size_t Fragments::BeginOf(Node node) const {
  return is_xml_ ? tree_.HeadOf(node).begin : tree_.SpanOf(node).begin;
}

std::string Fragments::HeadOf(Node node) const {
  const Span head = tree_.HeadOf(node);
  return text_.substr(head.begin, head.end - head.begin);
}

// Where the '[' of an element's array is; npos for a member with one value.
std::size_t Fragments::ArrayOf(Node node) const {
  if (is_xml_) return std::string::npos;
  const std::size_t colon = text_.find(':', tree_.HeadOf(node).end);
  const std::size_t value = text_.find_first_not_of(kJsonBlanks, colon + 1);
  return value < tree_.SpanOf(node).begin ? value : std::string::npos;
}

bool Fragments::IsInArray(Node node) const {
  return ArrayOf(node) != std::string::npos;
}

std::string Fragments::Named(Node node, const std::string& value) const {
  const bool is_element = IsInArray(node);
  return HeadOf(node) + (is_element ? ":[" : ":") + value +
         (is_element ? "]" : "");
}

std::string Fragments::Whole(Node node) const {
  const std::size_t begin = BeginOf(node);
  const std::string text = text_.substr(begin, tree_.EndOf(node) - begin);
  return is_xml_ ? text : Named(node, text);
}

std::string Fragments::Hollow(Node node) const {
  if (!is_xml_) return Named(node, "{}");
  const std::size_t begin = BeginOf(node);
  std::string text = text_.substr(begin, tree_.EndOf(node) - begin);
  for (Node child = tree_.FirstChild(node); child != SourceTree::kNone;
       child = tree_.Next(child)) {
    Blank({BeginOf(child) - begin, tree_.EndOf(child) - begin}, &text);
  }
  return text;
}

std::string Fragments::Within(Node parent,
                              const std::vector<std::string>& parts) const {
  std::string inner;
  for (const std::string& part : parts) {
    if (!is_xml_ && !inner.empty()) inner += ',';
    inner += part;
  }
  if (!is_xml_) {
    inner = "{" + inner + "}";
    return parent == SourceTree::kRoot ? inner : Named(parent, inner);
  }
  if (parent == SourceTree::kRoot) return inner;
  const std::string head = HeadOf(parent);
  return head + inner + "</" + std::string(NameIn(head)) + ">";
}

void Fragments::Remove(Node node, bool member) {
  Span hole{BeginOf(node), tree_.EndOf(node)};
  if (!is_xml_) {
    const std::size_t array = ArrayOf(node);
    const bool is_element = array != std::string::npos;
    if (is_element && member) hole.end = EndOfArray(array);
    if (!is_element || member) hole.begin = tree_.HeadOf(node).begin;
    RemoveComma(hole);
  }
  Blank(hole, &text_);
}

// The position after the ']' of the array that starts there.
std::size_t Fragments::EndOfArray(std::size_t at) const {
  std::size_t depth = 0;
  for (bool is_string = false; at < text_.size(); ++at) {
    const char c = text_[at];
    if (is_string && c == '\\') {
      ++at;
    } else if (c == '"') {
      is_string = !is_string;
    } else if (!is_string && c == '[') {
      ++depth;
    } else if (!is_string && c == ']' && --depth == 0) {
      return at + 1;
    }
  }
  return text_.size();
}

// The comma after a part that is removed; that before it if it is the last.
void Fragments::RemoveComma(Span hole) {
  std::size_t comma = text_.find_first_not_of(kJsonBlanks, hole.end);
  if (comma == std::string::npos || text_[comma] != ',') {
    comma = text_.find_last_not_of(kJsonBlanks, hole.begin - 1);
  }
  if (comma != std::string::npos && text_[comma] == ',') text_[comma] = ' ';
}

}  // namespace ipav::source
