#include "netconf/subtree_filter.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace ipav::netconf {

namespace {

const lyd_node_opaq& Opaque(const lyd_node& node) {
  return reinterpret_cast<const lyd_node_opaq&>(node);
}

std::string_view View(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

// The text of an element, less the blanks around it, which do not count.
std::string_view TextOf(const lyd_node& filter) {
  const std::string_view text = View(
      filter.schema == nullptr ? Opaque(filter).value : lyd_get_value(&filter));
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

// Whether the element may select the node, whatever is below either.
bool Names(const lyd_node& filter, const lyd_node& node) {
  const lysc_node& schema = *node.schema;
  if (filter.schema != nullptr) {
    return View(filter.schema->name) == schema.name &&
           View(filter.schema->module->ns) == schema.module->ns;
  }
  const lyd_node_opaq& element = Opaque(filter);
  const std::string_view space = View(element.name.module_ns);
  // No configuration has attributes to match.
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

// The children of `node` that a content match selects.
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

// What `filter` selects of `node`, which it names.
void SelectIn(const lyd_node& node, const lyd_node& filter,
              Selection* selection) {
  // 1. All of it, or one value.
  const std::vector<const lyd_node*> parts = Siblings(lyd_child(&filter));
  if (parts.empty()) {
    const std::string_view text = TextOf(filter);
    if (text.empty() || HasValue(node, text)) selection->Add(&node);
    return;
  }
  // 2. Nothing, unless each content match meets a child.
  std::vector<const lyd_node*> selected;
  bool has_others = false;
  for (const lyd_node* part : parts) {
    if (!IsContentMatch(*part)) {
      has_others = true;
      continue;
    }
    const std::vector<const lyd_node*> matches = Matches(node, *part);
    if (matches.empty()) return;
    selected.insert(selected.end(), matches.begin(), matches.end());
  }
  // 3. All of it again, or what the other elements ask for.
  if (!has_others) selected = {&node};
  for (const lyd_node* child : selected) selection->Add(child);
  for (const lyd_node* part : parts) {
    if (IsContentMatch(*part)) continue;
    for (const lyd_node* child : Siblings(lyd_child(&node))) {
      if (Names(*part, *child)) SelectIn(*child, *part, selection);
    }
  }
}

}  // namespace

void SelectSubtrees(const lyd_node* tree, const lyd_node* filter,
                    Selection* selection) {
  for (const lyd_node* element : Siblings(filter)) {
    for (const lyd_node* node : Siblings(tree)) {
      if (Names(*element, *node)) SelectIn(*node, *element, selection);
    }
  }
}

}  // namespace ipav::netconf
