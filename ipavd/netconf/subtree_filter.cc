#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "ipavd/netconf/selection.h"

namespace ipav::netconf {

namespace {

const lyd_node_opaq& Opaque(const lyd_node& node) {
  return reinterpret_cast<const lyd_node_opaq&>(node);
}

std::string_view View(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

// The text of an element without the blanks around it, which are not
// significant.
std::string_view TextOf(const lyd_node& filter) {
  const std::string_view text = View(
      filter.schema == nullptr ? Opaque(filter).value : lyd_get_value(&filter));
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

// Whether the element may select the node, without looking below either.
bool Names(const lyd_node& filter, const lyd_node& node) {
  const lysc_node& schema = *node.schema;
  if (filter.schema != nullptr) {
    return View(filter.schema->name) == schema.name &&
           View(filter.schema->module->ns) == schema.module->ns;
  }
  const lyd_node_opaq& element = Opaque(filter);
  const std::string_view space = View(element.name.module_ns);
  // A configuration has no attributes, so an attribute never matches.
  return element.attr == nullptr && View(element.name.name) == schema.name &&
         (space.empty() || space == schema.module->ns);
}

bool IsContentMatch(const lyd_node& filter) {
  return lyd_child(&filter) == nullptr && !TextOf(filter).empty();
}

bool HasValue(const lyd_node& node, std::string_view text) {
  return (node.schema->nodetype & LYD_NODE_TERM) != 0 &&
         lyd_value_compare(reinterpret_cast<const lyd_node_term*>(&node),
                           text.data(), text.size()) == LY_SUCCESS;
}

std::vector<const lyd_node*> Siblings(const lyd_node* first) {
  std::vector<const lyd_node*> nodes;
  for (; first != nullptr; first = first->next) nodes.push_back(first);
  return nodes;
}

// The children of `node` that a content match node selects.
std::vector<const lyd_node*> Matches(const lyd_node& node,
                                     const lyd_node& content_match) {
  std::vector<const lyd_node*> matches;
  for (const lyd_node* child : Siblings(lyd_child(&node))) {
    if (Names(content_match, *child) &&
        HasValue(*child, TextOf(content_match))) {
      matches.push_back(child);
    }
  }
  return matches;
}

// The children of `node` that the content match nodes among `parts` select; no
// value if one of these selects none.
std::optional<std::vector<const lyd_node*>> AllMatches(
    const lyd_node& node, const std::vector<const lyd_node*>& parts) {
  std::vector<const lyd_node*> all;
  for (const lyd_node* part : parts) {
    if (!IsContentMatch(*part)) continue;
    const std::vector<const lyd_node*> matches = Matches(node, *part);
    if (matches.empty()) return std::nullopt;
    all.insert(all.end(), matches.begin(), matches.end());
  }
  return all;
}

void SelectAmong(const lyd_node* first, const lyd_node& filter,
                 Selection* selection);

// Adds what `filter` selects of `node`, which it names.
void SelectIn(const lyd_node& node, const lyd_node& filter,
              Selection* selection) {
  // 1. An element without children selects one value, or the whole node.
  const lyd_node* first = lyd_child(&filter);
  const std::string_view text = TextOf(filter);
  if (first == nullptr && !text.empty() && !HasValue(node, text)) return;
  if (first == nullptr) return selection->Add(&node);

  // 2. Nothing is selected unless each content match node selects a child.
  const std::vector<const lyd_node*> parts = Siblings(first);
  const auto matches = AllMatches(node, parts);
  if (!matches.has_value()) return;

  // 3. Without other elements the whole node is selected, else these children
  // and what the other elements select.
  if (std::all_of(parts.begin(), parts.end(),
                  [](const auto* part) { return IsContentMatch(*part); })) {
    return selection->Add(&node);
  }
  for (const lyd_node* child : *matches) selection->Add(child);
  for (const lyd_node* part : parts) {
    if (!IsContentMatch(*part)) SelectAmong(lyd_child(&node), *part, selection);
  }
}

// Adds what `filter` selects among a node and its siblings.
void SelectAmong(const lyd_node* first, const lyd_node& filter,
                 Selection* selection) {
  for (const lyd_node* node : Siblings(first)) {
    if (Names(filter, *node)) SelectIn(*node, filter, selection);
  }
}

}  // namespace

void SelectSubtrees(const lyd_node* tree, const lyd_node* filter,
                    Selection* selection) {
  for (const lyd_node* element : Siblings(filter)) {
    SelectAmong(tree, *element, selection);
  }
}

}  // namespace ipav::netconf
