#include "cli/lsp/features/place.h"

#include <algorithm>
#include <string_view>

namespace ipav::features {

namespace {

using Item = Outline::Item;
using Kind = Outline::Kind;
using Node = Outline::Node;

constexpr char kBlanks[] = " \t\r\n";
constexpr char kWord[] =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-.";

bool Has(const Span& span, std::size_t offset) {
  return span.begin <= offset && offset <= span.end;
}

// The word around an offset, in a part of the text.
Span WordAt(std::string_view text, const Span& part, std::size_t offset) {
  const std::string_view before = text.substr(part.begin, offset - part.begin);
  const std::size_t begin = before.find_last_not_of(kWord);
  const std::string_view whole = text.substr(0, part.end);
  return {part.begin + (begin == std::string_view::npos ? 0 : begin + 1),
          std::min(whole.find_first_not_of(kWord, offset), part.end)};
}

// What is replaced of a value: all of it, but never more than the line.
Span ValuePart(std::string_view text, const Span& value, std::size_t offset) {
  const bool is_value =
      Has(value, offset) &&
      text.substr(value.begin, value.end - value.begin).find_first_of("\r\n") ==
          std::string_view::npos;
  return is_value ? value : Span{offset, offset};
}

bool HoldsNodes(const Item& item) {
  return item.is_wrapper || (item.schema != nullptr && !IsLeaf(item.schema));
}

// ---- XML -------------------------------------------------------------------

Place XmlNameAt(const Outline& outline, Node node, std::size_t offset) {
  const Item& item = outline[node];
  Place place;
  if (!Has({item.head.begin + 1, item.name.end}, offset)) return place;
  place.replaced = item.name;
  place.parent = item.parent;
  place.node = node;
  place.has_bracket = true;
  place.prefix = outline.TextOf({item.head.begin + 1, item.name.begin});
  place.is_name_only = item.kind == Kind::kNode;
  const bool is_named = place.prefix.empty() || offset >= item.name.begin;
  if (is_named && HoldsNodes(outline[item.parent])) {
    place.kind = Place::Kind::kChild;
  }
  return place;
}

Place XmlContentAt(const Outline& outline, Node node, std::size_t offset) {
  const Item& item = outline[node];
  Place place;
  place.parent = node;
  if (!Has(item.content, offset)) return place;
  if (IsLeaf(item.schema)) {
    place.kind = Place::Kind::kValue;
    place.node = node;
    place.schema = item.schema;
    place.replaced = ValuePart(outline.text(), outline.ValueSpan(node), offset);
  } else if (HoldsNodes(item)) {
    place.kind = Place::Kind::kChild;
    place.replaced = WordAt(outline.text(), item.content, offset);
  }
  return place;
}

Place XmlPlaceAt(const Outline& outline, std::size_t offset) {
  const Node node = outline.At(offset);
  const Item& item = outline[node];
  if (item.kind == Kind::kEndTag) {
    Place place;
    place.parent = item.parent;
    place.replaced = item.name;
    if (Has(item.name, offset)) place.kind = Place::Kind::kEndTag;
    return place;
  }
  const bool is_in_head =
      item.kind == Kind::kTypedName || offset < item.head.end;
  return is_in_head ? XmlNameAt(outline, node, offset)
                    : XmlContentAt(outline, node, offset);
}

// ---- JSON ------------------------------------------------------------------

Place JsonNameAt(const Outline& outline, Node node) {
  const Item& item = outline[node];
  Place place;
  place.parent = item.parent;
  place.node = node;
  place.replaced = item.head;
  place.is_name_only = item.kind != Kind::kTypedName;
  if (HoldsNodes(outline[item.parent])) place.kind = Place::Kind::kChild;
  return place;
}

Place JsonValueAt(const Outline& outline, Node node, std::size_t offset) {
  const Item& item = outline[node];
  Place place;
  place.parent = item.parent;
  place.node = node;
  place.schema = item.schema;
  if (!Has(item.content, offset) || item.schema == nullptr) return place;
  const bool is_element = outline[item.parent].kind == Kind::kArray;
  place.kind = is_element ? Place::Kind::kElement : Place::Kind::kValue;
  place.is_in_quotes =
      item.content.begin > 0 && outline.text()[item.content.begin - 1] == '"';
  if (place.is_in_quotes && !item.is_closed) place.missing_end = "\"";
  Span value = item.content;  // of a missing value: blanks
  const std::string_view text = outline.TextOf(value);
  if (!place.is_in_quotes &&
      text.find_first_not_of(kBlanks) == std::string_view::npos) {
    value = {offset, offset};
  }
  place.replaced = ValuePart(outline.text(), value, offset);
  return place;
}

Place JsonContentAt(const Outline& outline, Node node, std::size_t offset) {
  const Item& item = outline[node];
  Place place;
  place.parent = node;
  if (!Has(item.content, offset)) return place;
  place.replaced = WordAt(outline.text(), item.content, offset);
  if (item.kind == Kind::kArray) {
    place.schema = item.schema;
    if (item.schema != nullptr) place.kind = Place::Kind::kElement;
  } else if (HoldsNodes(item)) {
    place.kind = Place::Kind::kChild;
  }
  return place;
}

// Whether the value of a member is an object or an array.
bool IsOpened(const Outline& outline, Node node) {
  const Item& item = outline[node];
  if (node == Outline::kRoot || item.kind == Kind::kArray) return true;
  return item.content.begin > 0 &&
         outline.text()[item.content.begin - 1] == '{';
}

// Finds the commas that are missing around what is inserted.
void FindCommas(const Outline& outline, Place* place) {
  const std::string_view text = outline.text();
  const auto lacks = [&](std::size_t at, std::string_view marks) {
    return at != std::string_view::npos &&
           marks.find(text[at]) == std::string_view::npos;
  };
  const std::size_t before =
      text.substr(0, place->replaced.begin).find_last_not_of(kBlanks);
  const std::size_t behind =
      text.find_first_not_of(kBlanks, place->replaced.end);
  if (!place->is_in_quotes && lacks(before, "{[,:")) place->comma = before + 1;
  if (lacks(behind, "}],:")) place->missing_end += ",";
}

Place JsonPlaceAt(const Outline& outline, std::size_t offset) {
  const Node node = outline.At(offset);
  const Item& item = outline[node];
  // In the quotes, or behind the end of an open string.
  const bool is_in_head = item.kind == Kind::kTypedName ||
                          (item.head.begin < offset && offset < item.head.end);
  Place place = is_in_head                ? JsonNameAt(outline, node)
                : IsOpened(outline, node) ? JsonContentAt(outline, node, offset)
                                          : JsonValueAt(outline, node, offset);
  const bool has_end = place.is_in_quotes && place.missing_end.empty();
  if (!place.is_name_only && !has_end) FindCommas(outline, &place);
  return place;
}

}  // namespace

Place PlaceAt(const Outline& outline, std::size_t offset) {
  offset = std::min(offset, outline.text().size());
  Place place;
  if (!outline.IsComment(offset)) {
    place = outline.is_xml() ? XmlPlaceAt(outline, offset)
                             : JsonPlaceAt(outline, offset);
  }
  if (place.kind == Place::Kind::kNone) place.replaced = {offset, offset};
  return place;
}

}  // namespace ipav::features
