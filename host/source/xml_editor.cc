#include <algorithm>
#include <map>

#include "host/base/bytes.h"
#include "host/datastore/diff.h"
#include "host/source/text_editor.h"

namespace ipav::source {

namespace {

constexpr char kBlanks[] = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return "";
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Whether a node is in no text: a default, or a container without content.
bool IsImplicit(const lyd_node* node) {
  if ((node->flags & LYD_DEFAULT) != 0) return true;
  if (!datastore::IsPlainContainer(*node->schema)) return false;
  for (const lyd_node* child = lyd_child(node); child != nullptr;
       child = child->next) {
    if (!IsImplicit(child)) return false;
  }
  return true;
}

class XmlEditor : public TextEditor {
 public:
  using TextEditor::TextEditor;

  void SetValue(Node leaf, const lyd_node& value) override {
    const SourceTree::Item& item = tree_[leaf];
    const std::string text = lyd_get_value(&value);
    const std::string escaped = EscapeXml(text);
    const std::string_view tag = Bytes(item.head.begin, item.head.end);
    if (base::EndsWith(tag, "/>")) {
      Add(item.head.end - 2, item.head.end,
          ">" + escaped + "</" + NameOf(leaf) + ">");
      return;
    }
    Span content{item.head.end, text_.rfind("</", item.end - 1)};
    // Only the value itself, if nothing else of it is around.
    const bool is_string =
        reinterpret_cast<const lysc_node_leaf*>(value.schema)->type->basetype ==
        LY_TYPE_STRING;
    const std::string_view known = tree_.ValueOf(leaf);
    const std::string_view marked = Bytes(item.span.begin, item.span.end);
    const bool is_whole =
        marked == known || (!is_string && marked == Trimmed(known));
    const bool is_in_cdata =
        text_.find("<![CDATA[", content.begin) < item.span.begin;
    if (is_whole && (!is_in_cdata || escaped == text)) content = item.span;
    Add(content.begin, content.end, escaped);
  }

  void Remove(Node /*parent*/, const Nodes& children) override {
    for (const Node child : children) {
      std::size_t begin = tree_[child].head.begin;
      std::size_t end = tree_[child].end;
      const std::size_t next = text_.find_first_not_of(" \t\r", end);
      const bool is_last_in_line =
          next == std::string_view::npos || text_[next] == '\n';
      if (LayoutOf(begin, begin).has_lines && is_last_in_line) {
        begin = begin == 0 ? 0 : LineOf(begin - 1);
        end = next == std::string_view::npos ? text_.size() : next + 1;
      }
      Add(begin, end, "");
    }
  }

  void Insert(Node parent, const std::vector<const lyd_node*>& nodes,
              const Nodes& removed) override {
    const Node last = LastKept(parent, *nodes.front()->schema, removed);
    const bool is_top = parent == SourceTree::kRoot;
    if (last == SourceTree::kNone) {
      if (!is_top) InsertFirstChild(parent, nodes);
      return;
    }
    const std::size_t begin = tree_[last].head.begin;
    const Layout layout =
        LayoutOf(begin, is_top ? begin : tree_[parent].head.begin);
    std::string text;
    for (const lyd_node* node : nodes) text += Printed(parent, node, layout);
    // A comment in the same line belongs to the node before it.
    std::size_t at = tree_[last].end;
    const std::size_t line_end =
        std::min(text_.find_first_of("\r\n", at), text_.size());
    if (layout.has_lines && SkipToContent(text_, {at, line_end}) == line_end) {
      at = line_end;
    }
    Add(at, at, std::move(text));
  }

 private:
  // With its prefix.
  std::string NameOf(Node node) const {
    const std::size_t begin = tree_[node].head.begin + 1;
    return std::string(Bytes(begin, text_.find_first_of(" \t\r\n/>", begin)));
  }

  // The node to insert after: an entry of the same list, else any.
  Node LastKept(Node parent, const lysc_node& schema,
                const Nodes& removed) const {
    Node last = SourceTree::kNone;
    Node last_entry = SourceTree::kNone;
    for (Node child = tree_[parent].first_child; child != SourceTree::kNone;
         child = tree_[child].next) {
      if (removed.count(child) > 0) continue;
      last = child;
      if (tree_.TextOf(tree_[child].name) == schema.name) last_entry = child;
    }
    return last_entry == SourceTree::kNone ? last : last_entry;
  }

  void InsertFirstChild(Node parent,
                        const std::vector<const lyd_node*>& nodes) {
    const Span head = tree_[parent].head;
    const Layout layout = LayoutBelow(head.begin);
    std::string text;
    for (const lyd_node* node : nodes) text += Printed(parent, node, layout);
    if (base::EndsWith(Bytes(head.begin, head.end), "/>")) {
      if (layout.has_lines) {
        text += LineEnd() + LayoutOf(head.begin, head.begin).indent;
      }
      Add(head.end - 2, head.end, ">" + text + "</" + NameOf(parent) + ">");
    } else {
      text += Closing(head.end, layout, head.begin);
      Add(head.end, head.end, std::move(text));
    }
  }

  // With the line end before it. The namespace is that of the parent if the
  // parent has no prefix.
  std::string Printed(Node parent, const lyd_node* node,
                      const Layout& layout) const {
    const bool is_inherited =
        parent != SourceTree::kRoot &&
        tree_.TextOf(tree_[parent].module) == node->schema->module->ns &&
        NameOf(parent).find(':') == std::string::npos;
    std::string text;
    Print(node, !is_inherited, layout, layout.indent, &text);
    return text;
  }

  void Print(const lyd_node* node, bool with_space, const Layout& layout,
             const std::string& indent, std::string* text) const {
    const std::string line = layout.has_lines ? LineEnd() + indent : "";
    const std::string name = node->schema->name;
    *text += line + "<" + name;
    if (with_space) {
      *text += std::string(" xmlns=\"") + node->schema->module->ns + "\"";
    }
    *text += ">";
    if (lyd_child(node) == nullptr) {
      const char* value = lyd_get_value(node);
      *text += EscapeXml(value == nullptr ? "" : value);
    } else {
      for (const lyd_node* child = lyd_child(node); child != nullptr;
           child = child->next) {
        if (IsImplicit(child)) continue;
        Print(child, child->schema->module != node->schema->module, layout,
              indent + layout.unit, text);
      }
      *text += line;
    }
    *text += "</" + name + ">";
  }
};

}  // namespace

std::string EscapeXml(std::string_view value) {
  // A reader would take a carriage return for a line end.
  static const std::map<char, const char*> kReferences = {
      {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'\r', "&#xD;"}};
  std::string escaped;
  for (const char c : value) {
    const auto found = kReferences.find(c);
    escaped += found == kReferences.end() ? std::string(1, c) : found->second;
  }
  return escaped;
}

std::unique_ptr<TextEditor> EditXml(std::string_view text,
                                    const SourceTree* tree) {
  return std::make_unique<XmlEditor>(text, tree);
}

}  // namespace ipav::source
