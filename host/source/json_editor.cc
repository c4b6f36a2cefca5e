#include <algorithm>
#include <new>
#include <nlohmann/json.hpp>

#include "host/base/c_ptr.h"
#include "host/datastore/libyang_ptr.h"
#include "host/source/text_editor.h"

namespace ipav::source {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kBlanks[] = " \t\r\n";

// The value of a node: of an entry its object.
Json JsonOf(const lyd_node* node) {
  // Alone: the printer looks at the siblings of an entry.
  lyd_node* copy = nullptr;
  if (lyd_dup_single(node, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS,
                     &copy) != LY_SUCCESS) {
    throw std::bad_alloc();
  }
  const datastore::Nodes owned(copy);
  char* printed = nullptr;
  const LY_ERR error =
      lyd_print_mem(&printed, copy, LYD_JSON, LYD_PRINT_SHRINK);
  const base::CText text(printed);
  if (error != LY_SUCCESS || printed == nullptr) throw std::bad_alloc();
  Json value = Json::parse(printed).front();
  const bool is_list =
      (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
  return is_list ? value.front() : value;
}

class JsonEditor : public TextEditor {
 public:
  JsonEditor(std::string_view text, std::size_t start, const SourceTree* tree)
      : TextEditor(text, tree), start_(start) {}

  void SetValue(Node leaf, const lyd_node& value) override {
    Add(tree_[leaf].span.begin, tree_[leaf].end, JsonOf(&value).dump());
  }

  void Remove(Node parent, const Nodes& children) override {
    std::vector<Slot> members = MembersOf(parent, children);
    for (const Slot& member : members) {
      if (!member.is_kept || member.elements.empty()) continue;
      RemoveRuns(member.elements);
    }
    RemoveRuns(members);
  }

  void Insert(Node parent, const std::vector<const lyd_node*>& nodes,
              const Nodes& removed) override {
    const std::vector<Slot> members = MembersOf(parent, removed);
    // 1. Into an array that stays.
    const lysc_node& schema = *nodes.front()->schema;
    for (const Slot& member : members) {
      if (!member.is_kept || member.elements.empty() ||
          tree_.TextOf(tree_[member.node].name) != schema.name) {
        continue;
      }
      const Slot& last = LastKept(member.elements);
      const std::string blanks = BlanksBefore(last.begin);
      const Layout layout = LayoutOf(last.begin, last.begin);
      std::string text;
      for (const lyd_node* node : nodes) {
        text += "," + blanks + Dump(JsonOf(node), layout);
      }
      Add(last.end, last.end, std::move(text));
      return;
    }
    // 2. As a new member.
    Json value = Json::array();
    for (const lyd_node* node : nodes) value.push_back(JsonOf(node));
    const bool is_list = (schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
    InsertMember(parent, members, schema, is_list ? value : value.front());
  }

 private:
  // A member of an object, or an element of an array.
  struct Slot {
    Node node;
    std::size_t begin;
    std::size_t end;
    bool is_kept;
    std::vector<Slot> elements;  // of an array
  };

  std::size_t BeginOf(Node object) const {
    return object == SourceTree::kRoot ? start_ : tree_[object].span.begin;
  }

  // Where the value of a member begins, which may be an array.
  std::size_t ValueOf(Node member) const {
    const std::size_t colon = text_.find(':', tree_[member].head.end);
    return text_.find_first_not_of(kBlanks, colon + 1);
  }

  std::vector<Slot> MembersOf(Node parent, const Nodes& removed) const {
    std::vector<Slot> members;
    for (Node child = tree_[parent].first_child; child != SourceTree::kNone;
         child = tree_[child].next) {
      const SourceTree::Item& item = tree_[child];
      const bool is_kept = removed.count(child) == 0;
      if (members.empty() || members.back().begin != item.head.begin) {
        members.push_back({child, item.head.begin, item.end, is_kept, {}});
      }
      Slot& member = members.back();
      // An empty array is a node that begins with its bracket.
      if (ValueOf(child) == item.span.begin) continue;
      member.is_kept |= is_kept;
      member.end = text_.find(']', item.end) + 1;
      member.elements.push_back(
          {child, item.span.begin, item.end, is_kept, {}});
    }
    return members;
  }

  static const Slot& LastKept(const std::vector<Slot>& slots) {
    return *std::find_if(slots.rbegin(), slots.rend(),
                         [](const Slot& slot) { return slot.is_kept; });
  }

  // A run takes the comma behind it; the last one that before it.
  void RemoveRuns(const std::vector<Slot>& slots) {
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (slots[i].is_kept) continue;
      std::size_t next = i;
      while (next < slots.size() && !slots[next].is_kept) ++next;
      if (next < slots.size()) {
        Add(slots[i].begin, slots[next].begin, "");
      } else {
        Add(i == 0 ? slots[i].begin : slots[i - 1].end, slots.back().end, "");
      }
      i = next;
    }
  }

  std::string BlanksBefore(std::size_t at) const {
    const std::size_t before = text_.find_last_not_of(kBlanks, at - 1) + 1;
    return std::string(Bytes(before, at));
  }

  void InsertMember(Node parent, const std::vector<Slot>& members,
                    const lysc_node& schema, const Json& value) {
    const std::size_t object = BeginOf(parent);
    const bool is_inherited =
        parent != SourceTree::kRoot &&
        tree_.TextOf(tree_[parent].module) == schema.module->name;
    const std::string name =
        Json(is_inherited
                 ? schema.name
                 : std::string(schema.module->name) + ":" + schema.name)
            .dump();
    const auto last =
        std::find_if(members.rbegin(), members.rend(),
                     [](const Slot& slot) { return slot.is_kept; });
    if (last != members.rend()) {
      const Layout layout = LayoutOf(last->begin, object);
      const std::string colon(
          Bytes(tree_[last->node].head.end, ValueOf(last->node)));
      Add(last->end, last->end,
          "," + BlanksBefore(last->begin) + name + colon + Dump(value, layout));
      return;
    }
    const bool is_second = !filled_.insert(parent).second;
    const Layout layout = LayoutBelow(object);
    std::string text = is_second ? "," : "";
    if (layout.has_lines) text += LineEnd() + layout.indent;
    text += name + (layout.has_lines ? ": " : ":");
    text += Dump(value, layout);
    if (!is_second) text += Closing(object + 1, layout, object);
    Add(object + 1, object + 1, std::move(text));
  }

  // In the layout of the lines around it.
  std::string Dump(const Json& value, const Layout& layout) const {
    if (!layout.has_lines) return value.dump();
    const bool has_tabs = layout.unit.find('\t') != std::string::npos;
    const int width = static_cast<int>(layout.unit.size());
    std::string text;
    for (const char c : value.dump(width, has_tabs ? '\t' : ' ')) {
      if (c == '\n') {
        text += LineEnd() + layout.indent;
      } else {
        text += c;
      }
    }
    return text;
  }

  const std::size_t start_;
  Nodes filled_;  // objects that were empty
};

}  // namespace

std::unique_ptr<TextEditor> EditJson(std::string_view text, std::size_t start,
                                     const SourceTree* tree) {
  return std::make_unique<JsonEditor>(text, start, tree);
}

}  // namespace ipav::source
