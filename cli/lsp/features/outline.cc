#include "cli/lsp/features/outline.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <nlohmann/json.hpp>

#include "host/base/utf8.h"
#include "host/source/text_editor.h"

namespace ipav::features {

namespace {

using Node = Outline::Node;

// The character of a reference such as "amp;" or "#x41;"; empty if it is
// unknown.
std::string CharacterOf(std::string_view reference) {
  if (reference.empty()) return "";
  reference.remove_suffix(1);
  constexpr std::pair<std::string_view, const char*> kNamed[] = {
      {"lt", "<"}, {"gt", ">"}, {"amp", "&"}, {"quot", "\""}, {"apos", "'"}};
  for (const auto& [name, character] : kNamed) {
    if (reference == name) return character;
  }
  if (reference.substr(0, 1) != "#") return "";
  const bool is_hex = reference.substr(1, 1) == "x";
  const std::string_view digits = reference.substr(is_hex ? 2 : 1);
  unsigned number = 0;
  const auto [end, error] = std::from_chars(
      digits.data(), digits.data() + digits.size(), number, is_hex ? 16 : 10);
  constexpr unsigned kLastAscii = 0x7f;
  if (error != std::errc() || end != digits.data() + digits.size() ||
      number > kLastAscii) {
    return "";
  }
  return std::string(1, static_cast<char>(number));
}

constexpr std::size_t kLongestReference = 16;  // with its ';'

std::string DecodedXml(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size();) {
    std::string_view name;
    if (text[at] == '&') {
      const std::string_view rest = text.substr(at + 1, kLongestReference);
      name = rest.substr(0, rest.find(';') + 1);
    }
    const std::string character = CharacterOf(name);
    decoded += character.empty() ? std::string(1, text[at]) : character;
    at += 1 + (character.empty() ? 0 : name.size());
  }
  return decoded;
}

std::string DecodedJson(std::string_view text) {
  const auto value = nlohmann::json::parse('"' + std::string(text) + '"',
                                           nullptr, /*allow_exceptions=*/false);
  return value.is_string() ? value.get<std::string>() : std::string(text);
}

}  // namespace

Outline::Outline(std::string_view text, Format format,
                 const datastore::Model& model)
    : text_(text), is_xml_(format == Format::kXml), model_(model), items_(1) {
  Item& root = items_.front();
  root.is_wrapper = true;
  root.whole = root.content = {0, text.size()};
  if (is_xml_) {
    ReadXmlOutline(this);
  } else {
    ReadJsonOutline(this);
  }
}

Node Outline::Add(Node parent, const Item& item) {
  const auto node = static_cast<Node>(items_.size());
  items_.push_back(item);
  items_[node].parent = parent;
  const Node last = items_[parent].last_child;
  (last == kNone ? items_[parent].first_child : items_[last].next) = node;
  items_[parent].last_child = node;
  return node;
}

Node Outline::Close(Node node, Span end, bool is_closed) {
  Item& item = items_[node];
  item.content.end = std::max(end.begin, item.content.begin);
  item.whole.end = std::max(end.end, item.content.end);
  item.is_closed = is_closed;
  return item.parent;
}

const lysc_node* Outline::SchemaBelow(Node parent, const lys_module* module,
                                      bool is_inherited,
                                      std::string_view name) const {
  const Item& item = items_[parent];
  if (item.schema == nullptr && !item.is_wrapper) return nullptr;
  const lysc_node* found =
      module == nullptr ? nullptr
                        : model_.FindChild(item.schema, module->name, name);
  if (found != nullptr || !is_inherited) return found;
  return model_.FindChild(item.schema, "", name);
}

bool Outline::Contains(const Item& item, std::size_t offset) const {
  return item.whole.begin < offset &&
         (offset < item.whole.end ||
          (offset == item.whole.end && !item.is_closed));
}

Node Outline::At(std::size_t offset) const {
  Node found = kRoot;
  for (Node node = items_[kRoot].first_child; node != kNone;) {
    if (Contains(items_[node], offset)) {
      found = node;
      node = items_[node].first_child;
    } else {
      node = items_[node].next;
    }
  }
  return found;
}

bool Outline::IsComment(std::size_t offset) const {
  const auto next = std::lower_bound(
      comments_.begin(), comments_.end(), offset,
      [](const Span& span, std::size_t at) { return span.begin < at; });
  return next != comments_.begin() && offset < std::prev(next)->end;
}

Span Outline::ValueSpan(Node leaf) const {
  Span value = items_[leaf].content;
  if (is_xml_) return source::ValueIn(text_, value);
  // A value that is not written yet is blanks.
  const bool is_missing =
      TextOf(value).find_first_not_of(" \t\r\n") == std::string_view::npos;
  const bool is_quoted = value.begin > 0 && text_[value.begin - 1] == '"';
  if (is_missing && !is_quoted) value.end = value.begin;
  return value;
}

std::string Outline::ValueOf(Node leaf) const {
  const Span span = ValueSpan(leaf);
  const std::string_view text = TextOf(span);
  const char escape = is_xml_ ? '&' : '\\';
  const bool is_cdata =
      is_xml_ && span.begin > 0 && text_[span.begin - 1] == '[';
  if (is_cdata || text.find(escape) == std::string_view::npos) {
    return std::string(text);
  }
  return is_xml_ ? DecodedXml(text) : DecodedJson(text);
}

Node Outline::Leaf(Node parent, std::string_view name) const {
  Node node = parent == kNone ? kNone : items_[parent].first_child;
  while (node != kNone &&
         (!IsLeaf(items_[node].schema) || items_[node].schema->name != name ||
          items_[node].kind != Kind::kNode)) {
    node = items_[node].next;
  }
  return node;
}

std::string Outline::LeafValue(Node parent, std::string_view name) const {
  const Node leaf = Leaf(parent, name);
  return leaf == kNone ? "" : ValueOf(leaf);
}

Node Outline::EntryOf(Node node) const {
  while (node != kNone &&
         (items_[node].kind != Kind::kNode || items_[node].schema == nullptr ||
          items_[node].schema->nodetype != LYS_LIST)) {
    node = items_[node].parent;
  }
  return node;
}

std::string Outline::Escaped(std::string_view value) const {
  if (is_xml_) return source::EscapeXml(value);
  const std::string quoted = nlohmann::json(base::ToUtf8(value)).dump();
  return quoted.substr(1, quoted.size() - 2);
}

const lysc_node* SchemaAt(const datastore::Model& model,
                          std::string_view path) {
  const lysc_node* node = nullptr;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/', 1), path.size());
    node = model.FindChild(node, "", path.substr(1, end - 1));
    if (node == nullptr) return nullptr;
    path.remove_prefix(end);
  }
  return node;
}

}  // namespace ipav::features
