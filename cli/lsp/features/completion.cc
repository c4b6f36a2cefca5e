#include "cli/lsp/features/completion.h"

#include <algorithm>

#include "cli/lsp/features/names.h"
#include "cli/lsp/features/place.h"
#include "cli/lsp/features/schema_text.h"
#include "cli/lsp/features/snippet.h"

namespace ipav::features {

namespace {

using Item = Outline::Item;
using Kind = Outline::Kind;
using Node = Outline::Node;

// ---- Layout ----------------------------------------------------------------

std::string BlanksAt(std::string_view text, std::size_t at) {
  const std::size_t end =
      std::min(text.find_first_not_of(" \t", at), text.size());
  return std::string(text.substr(at, end - at));
}

// The indentation of the first line that has one.
std::string UnitOf(std::string_view text) {
  constexpr std::size_t kWidest = 8;
  for (std::size_t at = text.find('\n'); at < text.size();
       at = text.find('\n', at + 1)) {
    const std::string blanks = BlanksAt(text, at + 1);
    if (blanks.empty()) continue;
    return blanks[0] == '\t' ? "\t" : blanks.substr(0, kWidest);
  }
  return "  ";
}

SnippetStyle StyleOf(const Outline& outline, const Place& place,
                     const CompletionClient& client) {
  const std::string_view text = outline.text();
  SnippetStyle style{client.has_snippets, UnitOf(text), ""};
  if (!client.indents && place.replaced.begin > 0) {
    const std::size_t line = text.rfind('\n', place.replaced.begin - 1) + 1;
    style.indent = BlanksAt(text.substr(0, place.replaced.begin), line);
  }
  return style;
}

// ---- Nodes -----------------------------------------------------------------

// Nodes of the model below a node, in the model's order.
std::vector<const lysc_node*> ChildrenOf(const datastore::Model& model,
                                         const lysc_node* parent) {
  std::vector<const lysc_node*> children;
  const auto add = [&](const lysc_module* module) {
    const lysc_node* child = nullptr;
    while ((child = lys_getnext(child, parent, module, 0)) != nullptr) {
      constexpr std::uint16_t kData =
          LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST;
      const bool is_configuration = (child->flags & LYS_CONFIG_R) == 0;
      if (is_configuration && (child->nodetype & kData) != 0) {
        children.push_back(child);
      }
    }
  };
  if (parent != nullptr) {
    add(nullptr);
    return children;
  }
  std::uint32_t index = 0;
  while (const lys_module* module =
             ly_ctx_get_module_iter(model.context(), &index)) {
    if (module->implemented != 0 && module->compiled != nullptr) {
      add(module->compiled);
    }
  }
  return children;
}

// Whether two nodes are in different cases of one choice.
bool Exclude(const lysc_node& a, const lysc_node& b) {
  return a.parent != nullptr && b.parent != nullptr && a.parent != b.parent &&
         a.parent->nodetype == LYS_CASE && b.parent->nodetype == LYS_CASE &&
         a.parent->parent == b.parent->parent;
}

// Whether the text may have another instance of the node there.
bool IsAllowed(const Outline& outline, const Place& place,
               const lysc_node& schema) {
  const bool may_repeat =
      outline.is_xml() && (schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
  for (Node node = outline[place.parent].first_child; node != Outline::kNone;
       node = outline[node].next) {
    const Item& item = outline[node];
    if (node == place.node || item.schema == nullptr) continue;
    if (item.kind != Kind::kNode && item.kind != Kind::kArray) continue;
    if (item.schema == &schema && !may_repeat) return false;
    if (Exclude(*item.schema, schema)) return false;
  }
  return true;
}

// What is inserted for a child.
std::string TextOf(const Outline& outline, const Place& place,
                   const lysc_node& schema, const SnippetStyle& style) {
  const lys_module* module = outline[place.parent].module;
  SnippetWriter writer(style, module);
  if (outline.is_xml()) {
    if (place.is_name_only) return schema.name;
    if (!place.prefix.empty()) {
      return schema.name + (">" + writer.Stop(nullptr)) + "</" + place.prefix +
             schema.name + ">";
    }
    const std::string element = writer.Element(schema);
    return place.has_bracket ? element.substr(1) : element;
  }
  if (place.is_name_only) return "\"" + JsonName(schema, module) + "\"";
  return writer.Member(schema);
}

void AddChildren(const Outline& outline, const Place& place,
                 const SnippetStyle& style, Completions* completions) {
  const Item& parent = outline[place.parent];
  for (const lysc_node* child : ChildrenOf(outline.model(), parent.schema)) {
    if (!IsAllowed(outline, place, *child)) continue;
    Completion completion;
    if (IsLeaf(child)) completion.kind = Completion::Kind::kLeaf;
    completion.label = child->name;
    completion.detail = KindText(*child);
    if (child->dsc != nullptr) completion.markdown = MarkdownText(child->dsc);
    completion.text = TextOf(outline, place, *child, style) + place.missing_end;
    completion.typed = completion.label;
    if (!outline.is_xml()) {
      const std::string_view typed = outline.TextOf(place.replaced);
      const std::string name = JsonName(*child, parent.module);
      completion.typed = typed.substr(0, 1) == "\"" ? "\"" + name + "\"" : name;
    }
    completions->items.push_back(std::move(completion));
  }
}

void AddEndTag(const Outline& outline, const Place& place,
               Completions* completions) {
  const Item& parent = outline[place.parent];
  if (parent.head.begin == parent.head.end || parent.is_closed) return;
  const std::string name(
      outline.TextOf({parent.head.begin + 1, parent.name.end}));
  Completion completion;
  completion.kind = Completion::Kind::kEndTag;
  completion.label = "/" + name;
  completion.detail = "end tag";
  completion.text = place.kind == Place::Kind::kEndTag ? name : "/" + name;
  completion.typed = completion.text;
  completion.text += ">";
  completions->items.push_back(std::move(completion));
}

// ---- Values ----------------------------------------------------------------

void AddValues(const Outline& outline, const Place& place,
               const SnippetStyle& style, Completions* completions) {
  const lysc_node& leaf = *place.schema;
  const char* quote =
      !outline.is_xml() && !place.is_in_quotes && IsQuoted(leaf) ? "\"" : "";
  const SnippetWriter writer(style, nullptr);
  const auto add = [&](Completion::Kind kind, const NamedValue& value) {
    Completion completion;
    completion.kind = kind;
    completion.label = value.name;
    if (kind == Completion::Kind::kName) {
      completion.detail = value.description;
    } else {
      completion.markdown = MarkdownText(value.description);
    }
    const std::string escaped = outline.Escaped(value.name);
    completion.text = writer.Text(quote + escaped + quote) + place.missing_end;
    completion.typed = escaped;
    completions->items.push_back(std::move(completion));
  };
  for (const NamedValue& value : NamedValues(TypeOf(leaf))) {
    add(Completion::Kind::kValue, value);
  }
  for (const NamedValue& name : NamesFor(outline, leaf, place.node)) {
    add(Completion::Kind::kName, name);
  }
}

// The object or the array of a member, or an element of an array.
void AddInnerValue(const Place& place, const SnippetStyle& style,
                   Completions* completions) {
  Completion completion;
  completion.label = place.schema->name;
  completion.detail = KindText(*place.schema);
  completion.text =
      SnippetWriter(style, place.schema->module)
          .Value(*place.schema, place.kind == Place::Kind::kElement) +
      place.missing_end;
  completion.typed = completion.label;
  completions->items.push_back(std::move(completion));
}

}  // namespace

Completions CompletionsAt(const Outline& outline, std::size_t offset,
                          const CompletionClient& client) {
  const Place place = PlaceAt(outline, offset);
  const SnippetStyle style = StyleOf(outline, place, client);
  Completions completions{place.replaced, place.comma, {}};
  switch (place.kind) {
    case Place::Kind::kNone:
      break;
    case Place::Kind::kChild:
      AddChildren(outline, place, style, &completions);
      if (place.has_bracket && place.prefix.empty()) {
        AddEndTag(outline, place, &completions);
      }
      break;
    case Place::Kind::kEndTag:
      AddEndTag(outline, place, &completions);
      break;
    case Place::Kind::kValue:
    case Place::Kind::kElement:
      if (IsLeaf(place.schema)) {
        AddValues(outline, place, style, &completions);
      } else {
        AddInnerValue(place, style, &completions);
      }
      break;
  }
  return completions;
}

}  // namespace ipav::features
