#include "cli/lsp/features/hover.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "cli/lsp/features/schema_text.h"
#include "host/base/bytes.h"

namespace ipav::features {

namespace {

using Kind = Outline::Kind;
using Node = Outline::Node;

// ---- Validation points -----------------------------------------------------

bool IsIn(const lysc_node* node, const lysc_node* ancestor) {
  while (node != nullptr && node != ancestor) node = lysc_data_parent(node);
  return node == ancestor;
}

// Whether the point reads the node: it is the point's own, or in a part that
// the point depends on.
bool LooksAt(const datastore::UseSite& site, const lysc_node& node) {
  if (site.node == &node) return true;
  return std::any_of(site.dependencies.begin(), site.dependencies.end(),
                     [&](const datastore::Dependency& dependency) {
                       const lysc_node* target = TargetOf(site, dependency);
                       return target == nullptr || IsIn(&node, target);
                     });
}

// "`name`: what it tests"
std::string PointText(const datastore::UseSite& site) {
  const std::string& name = site.has_opaque ? site.opaque : site.point;
  for (const messages::Point& point : messages::Points()) {
    // A use site may append to the name.
    if (!base::StartsWith(name, point.name)) continue;
    const std::size_t end = point.about.find(". ");
    return fmt::format("- `{}`: {}", point.name,
                       MarkdownText(point.about.substr(
                           0, end == std::string::npos ? end : end + 1)));
  }
  return "- `" + name + "`";
}

std::vector<std::string> PointTexts(const datastore::Model& model,
                                    const lysc_node& node) {
  std::vector<std::string> texts;
  for (const datastore::UseSite& site : model.use_sites()) {
    if (!LooksAt(site, node)) continue;
    std::string text = PointText(site);
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
      texts.push_back(std::move(text));
    }
  }
  return texts;
}

// ---- The node --------------------------------------------------------------

void AddParagraph(const std::string& paragraph, std::string* markdown) {
  if (paragraph.empty()) return;
  if (!markdown->empty()) *markdown += "\n\n";
  *markdown += paragraph;
}

// Units, default and restrictions of a leaf, and the values that its type
// names.
std::string ValueTexts(const lysc_node& leaf) {
  std::vector<std::string> lines = RestrictionTexts(TypeOf(leaf));
  if (leaf.nodetype == LYS_LEAF) {
    const auto& own = reinterpret_cast<const lysc_node_leaf&>(leaf);
    if (own.units != nullptr) lines.push_back(fmt::format("in {}", own.units));
  }
  const std::string preset = DefaultText(leaf);
  if (!preset.empty()) lines.push_back(fmt::format("default `{}`", preset));
  for (const NamedValue& value : NamedValues(TypeOf(leaf))) {
    lines.push_back(fmt::format("`{}`", value.name) +
                    (value.description.empty() ? "" : ": ") +
                    MarkdownText(value.description));
  }
  std::string text;
  for (const std::string& line : lines) {
    text += (text.empty() ? "- " : "\n- ") + line;
  }
  return text;
}

std::string Describe(const datastore::Model& model, const lysc_node& node) {
  std::string markdown = fmt::format("**{}** ({})", node.name, KindText(node));
  AddParagraph("`" + datastore::SchemaPath(node) + "`", &markdown);
  if (node.dsc != nullptr) AddParagraph(MarkdownText(node.dsc), &markdown);
  if (IsLeaf(&node)) AddParagraph(ValueTexts(node), &markdown);
  const std::vector<std::string> points = PointTexts(model, node);
  if (!points.empty()) {
    AddParagraph("Validation points that look at it:\n\n" +
                     fmt::format("{}", fmt::join(points, "\n")),
                 &markdown);
  }
  return markdown;
}

// The part of the node that the offset is in: its name, its end tag, or the
// value of a leaf.
std::optional<Span> PartAt(const Outline& outline, Node node,
                           std::size_t offset) {
  const Outline::Item& item = outline[node];
  const auto has = [&](const Span& span) {
    return span.begin <= offset && offset <= span.end && span.begin < span.end;
  };
  if (has(item.head)) return item.head;
  if (IsLeaf(item.schema) && has(outline.ValueSpan(node))) {
    return outline.ValueSpan(node);
  }
  const Span tail{item.content.end, item.whole.end};
  const bool is_end_tag = outline.is_xml() && item.kind == Kind::kNode;
  if (is_end_tag && has(tail)) return tail;
  return std::nullopt;
}

}  // namespace

std::optional<Hover> HoverAt(const Outline& outline, std::size_t offset) {
  if (outline.IsComment(offset)) return std::nullopt;
  // An offset before the first character of a node is on that character.
  for (const std::size_t at : {offset + 1, offset}) {
    const Node node = outline.At(at);
    const lysc_node* schema = outline[node].schema;
    if (schema == nullptr) continue;
    const std::optional<Span> span = PartAt(outline, node, offset);
    if (span) return Hover{Describe(outline.model(), *schema), *span};
  }
  return std::nullopt;
}

std::string Explanation(const messages::Message& message) {
  std::string markdown = "**" + MarkdownText(message.title) + "**";
  for (const std::string& paragraph : message.about) {
    AddParagraph(MarkdownText(paragraph), &markdown);
  }
  if (!message.advice.empty()) {
    AddParagraph("**What to do:** " + MarkdownText(message.advice), &markdown);
  }
  for (const std::string& paragraph : message.why) {
    AddParagraph(MarkdownText(paragraph), &markdown);
  }
  const std::vector<std::string> points = messages::PointsOf(message);
  if (!points.empty()) {
    AddParagraph(fmt::format("Reported by: `{}`", fmt::join(points, "`, `")),
                 &markdown);
  }
  return markdown;
}

}  // namespace ipav::features
