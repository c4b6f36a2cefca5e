#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ipavd/netconf/filter.h"
#include "ipavd/netconf/selection.h"
#include "ipavd/transport/request.h"

namespace ipav::netconf {

namespace {

constexpr int kDataNodes = LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST |
                           LYS_ANYXML | LYS_ANYDATA;

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

// Whether the element may select nodes of this kind.
bool Names(const lyd_node& filter, const lysc_node& schema) {
  if (filter.schema != nullptr) {
    return View(filter.schema->name) == schema.name &&
           View(filter.schema->module->ns) == schema.module->ns;
  }
  const ly_opaq_name& name = Opaque(filter).name;
  const std::string_view space = View(name.module_ns);
  return View(name.name) == schema.name &&
         (space == transport::kAnyNamespace || space == schema.module->ns);
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

// Calls `visit` with the kinds of nodes that a node and its siblings may have.
template <typename Visit>
void ForEachSchema(const lyd_node& node, const Visit& visit) {
  const lysc_node* schema = nullptr;
  if (const lyd_node* parent = lyd_parent(&node)) {
    while ((schema = lys_getnext(schema, parent->schema, nullptr, 0))) {
      visit(*schema);
    }
    return;
  }
  std::uint32_t index = 0;
  while (const lys_module* module =
             ly_ctx_get_module_iter(LYD_CTX(&node), &index)) {
    if (module->compiled == nullptr) continue;
    while ((schema = lys_getnext(schema, nullptr, module->compiled, 0))) {
      visit(*schema);
    }
  }
}

// The text that the element wants a key to have; no value if it wants none.
std::optional<std::string_view> WantedKey(const lyd_node& filter,
                                          const lysc_node& key) {
  for (const lyd_node* part = lyd_child(&filter); part != nullptr;
       part = part->next) {
    if (IsContentMatch(*part) && Names(*part, key)) return TextOf(*part);
  }
  return std::nullopt;
}

// The predicate for the keys of the only entry that the element may select; no
// value if it may select several, or a key has both kinds of quotes.
std::optional<std::string> WantedKeys(const lyd_node& filter,
                                      const lysc_node& schema) {
  if (schema.nodetype != LYS_LIST) return std::nullopt;
  std::string predicate;
  for (const lysc_node* key = lysc_node_child(&schema);
       key != nullptr && lysc_is_key(key); key = key->next) {
    const auto text = WantedKey(filter, *key);
    if (!text.has_value()) return std::nullopt;
    const char quote = text->find('\'') == std::string_view::npos ? '\'' : '"';
    if (text->find(quote) != std::string_view::npos) return std::nullopt;
    predicate.append("[").append(key->name).append("=").append(1, quote);
    predicate.append(*text).append(1, quote).append("]");
  }
  if (predicate.empty()) return std::nullopt;
  return predicate;
}

// The first of the siblings of this kind, or the entry with these keys; null if
// there is none. Does not walk over the siblings, which may be many.
const lyd_node* FindFirst(const lyd_node* siblings, const lysc_node& schema,
                          const std::optional<std::string>& keys) {
  if (schema.nodetype == LYS_LEAFLIST) {  // libyang finds it by its value only
    while (siblings != nullptr && siblings->schema != &schema) {
      siblings = siblings->next;
    }
    return siblings;
  }
  lyd_node* found = nullptr;
  const LY_ERR result = lyd_find_sibling_val(
      siblings, &schema, keys.has_value() ? keys->c_str() : nullptr,
      keys.has_value() ? keys->size() : 0, &found);
  return result == LY_SUCCESS ? found : nullptr;
}

// The nodes among `first` and its siblings that the element names, without
// entries that have other keys.
std::vector<const lyd_node*> Named(const lyd_node* first,
                                   const lyd_node& filter) {
  std::vector<const lyd_node*> nodes;
  if (first == nullptr) return nodes;
  ForEachSchema(*first, [&](const lysc_node& schema) {
    if ((schema.nodetype & kDataNodes) == 0 || !Names(filter, schema)) return;
    const auto keys = WantedKeys(filter, schema);
    const lyd_node* node = FindFirst(first, schema, keys);
    while (node != nullptr && node->schema == &schema) {
      nodes.push_back(node);
      node = keys.has_value() ? nullptr : node->next;
    }
  });
  return nodes;
}

// The children of `node` that a content match node selects.
std::vector<const lyd_node*> Matches(const lyd_node& node,
                                     const lyd_node& content_match) {
  std::vector<const lyd_node*> matches;
  for (const lyd_node* child : Named(lyd_child(&node), content_match)) {
    if (HasValue(*child, TextOf(content_match))) matches.push_back(child);
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

class SubtreeFilter {
 public:
  SubtreeFilter(const base::Countdown& countdown, Selection* selection)
      : countdown_(countdown), selection_(*selection) {}

  // Adds what `filter` selects among a node and its siblings.
  void SelectAmong(const lyd_node* first, const lyd_node& filter) {
    for (const lyd_node* node : Named(first, filter)) {
      if (countdown_.ForPoll() == 0) throw TakesTooLong();
      SelectIn(*node, filter);
    }
  }

 private:
  // Adds what `filter` selects of `node`, which it names.
  void SelectIn(const lyd_node& node, const lyd_node& filter) {
    // 1. An element without children selects one value, or the whole node.
    const lyd_node* first = lyd_child(&filter);
    const std::string_view text = TextOf(filter);
    if (first == nullptr && !text.empty() && !HasValue(node, text)) return;
    if (first == nullptr) return selection_.Add(&node);

    // 2. Nothing is selected unless each content match node selects a child.
    const std::vector<const lyd_node*> parts = Siblings(first);
    const auto matches = AllMatches(node, parts);
    if (!matches.has_value()) return;

    // 3. Without other elements the whole node is selected, else these children
    // and what the other elements select.
    if (std::all_of(parts.begin(), parts.end(),
                    [](const auto* part) { return IsContentMatch(*part); })) {
      return selection_.Add(&node);
    }
    for (const lyd_node* child : *matches) selection_.Add(child);
    for (const lyd_node* part : parts) {
      if (!IsContentMatch(*part)) SelectAmong(lyd_child(&node), *part);
    }
  }

  const base::Countdown& countdown_;
  Selection& selection_;
};

}  // namespace

void SelectSubtrees(const lyd_node* tree, const lyd_node* filter,
                    const base::Countdown& countdown, Selection* selection) {
  SubtreeFilter subtrees(countdown, selection);
  for (const lyd_node* element : Siblings(filter)) {
    if (countdown.ForPoll() == 0) throw TakesTooLong();
    subtrees.SelectAmong(tree, *element);
  }
}

}  // namespace ipav::netconf
