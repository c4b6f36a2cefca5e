// The YANG library is asked about ever smaller parts of the text: a node,
// within the start tags or braces of its ancestors and beside their keys, is
// wrong itself or has a wrong node in it.

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/base/bytes.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"
#include "host/datastore/model.h"
#include "host/datastore/value_type.h"
#include "host/source/faults.h"

namespace ipav::source {

namespace {

using Node = SourceTree::Node;

// libyang's text for an entry without a key.
constexpr std::string_view kNoKey = "List instance is missing its key";

class Search {
 public:
  explicit Search(Examined* text) : text_(*text) {}

  void Run() {
    const Node root = SourceTree::kRoot;
    const Parent top{root, nullptr, text_.fragments.Open(root),
                     text_.fragments.Close(root), false};
    ForEachChild(root, [&](Node node) { Check(node, top); });
  }

 private:
  // The parent of the node under examination.
  struct Parent {
    Node node;
    const lysc_node* schema;
    // What a fragment needs around it: the ancestors and their keys.
    std::string before;
    std::string after;
    bool lacks_keys;  // or an ancestor does
  };

  template <typename Take>
  void ForEachChild(Node parent, const Take& take) const {
    for (Node child = text_.tree[parent].first_child;
         child != SourceTree::kNone; child = text_.tree[child].next) {
      take(child);
    }
  }

  bool IsFull() const { return text_.faults.size() > kMaxErrors; }

  void Check(Node node, const Parent& parent) {
    const Fragments& fragments = text_.fragments;
    if (fragments.IsRemoved(node) || IsFull()) return;
    // 1. Most nodes are right, with all that is in them.
    const auto error =
        ErrorOf(fragments.Whole(node), parent, node, parent.lacks_keys);
    if (!error.has_value()) return;
    // 2. If the node without its children is right, one of them is wrong.
    const lysc_node* schema = text_.SchemaOf(parent.schema, node);
    const bool has_parts = text_.tree[node].first_child != SourceTree::kNone &&
                           schema != nullptr &&
                           (schema->nodetype & LYD_NODE_ANY) == 0;
    if (has_parts &&
        !ErrorOf(fragments.Hollow(node), parent, node, true).has_value()) {
      CheckInside(node, schema, parent);
    } else {
      Refuse(node, schema, parent, *error);
    }
  }

  void CheckInside(Node node, const lysc_node* schema, const Parent& around) {
    const std::size_t faults_before = text_.faults.size();
    Parent parent{node, schema, around.before + text_.fragments.Open(node),
                  text_.fragments.Close(node) + around.after, true};
    // 1. The keys, then the other children after them.
    const bool has_wrong_key = CheckKeys(&parent);
    parent.lacks_keys = parent.lacks_keys || around.lacks_keys;
    ForEachChild(node, [&](Node child) {
      if (!IsKey(child, parent)) Check(child, parent);
    });
    // 2. If the rest is not right, an entry has no key.
    const auto error =
        ErrorOf(text_.fragments.Whole(node), around, node, around.lacks_keys);
    if (!error.has_value() || IsFull()) return;
    const bool is_known = text_.faults.size() > faults_before;
    if (has_wrong_key || (is_known && !base::StartsWith(*error, kNoKey))) {
      Remove(node, schema);
    } else {
      Refuse(node, schema, around, *error);
    }
  }

  // Checks the keys of an entry, each after those before it. Returns whether
  // one is wrong.
  bool CheckKeys(Parent* parent) {
    std::size_t right = 0;
    std::size_t wrong = 0;
    ForEachChild(parent->node, [&](Node child) {
      if (!IsKey(child, *parent)) return;
      Check(child, *parent);
      if (text_.fragments.IsRemoved(child)) {
        ++wrong;
      } else {
        ++right;
        parent->before +=
            text_.fragments.Whole(child) + text_.fragments.Between();
      }
    });
    parent->lacks_keys =
        right != datastore::Model::FactsOf(*parent->schema).keys.size();
    return wrong != 0;
  }

  bool IsKey(Node node, const Parent& parent) const {
    const lysc_node* leaf = text_.SchemaOf(parent.schema, node);
    return leaf != nullptr && lysc_is_key(leaf);
  }

  void Refuse(Node node, const lysc_node* schema, const Parent& parent,
              std::string reason) {
    // An unknown node is marked at its name.
    const Span place =
        schema == nullptr ? text_.tree[node].head : text_.tree[node].span;
    if (schema == nullptr) reason += Expected(node, parent);
    if (schema != nullptr) reason += ExpectedRange(*schema, reason);
    if (schema != nullptr && IsSplit(node)) {
      reason = "A comment or a processing instruction within the value.";
    }
    text_.faults.push_back({place.begin, std::move(reason)});
    Remove(node, schema);
  }

  void Remove(Node node, const lysc_node* schema) {
    if (schema != nullptr) text_.unread.insert(schema);
    const bool holds_many = schema != nullptr &&
                            (schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
    text_.fragments.Remove(node, !holds_many);
  }

  // Whether the text of an XML leaf goes on after a comment in it.
  bool IsSplit(Node node) const {
    const SourceTree::Item& item = text_.tree[node];
    const std::string& bytes = text_.text.bytes;
    if (!text_.is_xml || item.first_child != SourceTree::kNone) return false;
    const std::size_t rest = SkipToContent(bytes, {item.span.end, item.end});
    return bytes.find('<', item.span.end) < rest && bytes[rest] != '<';
  }

  // For a value out of its range.
  static std::string ExpectedRange(const lysc_node& schema,
                                   const std::string& reason) {
    const bool is_out = base::StartsWith(reason, "Unsatisfied range") ||
                        base::StartsWith(reason, "Unsatisfied length") ||
                        base::EndsWith(reason, " bounds.");
    if (!is_out || (schema.nodetype & LYD_NODE_TERM) == 0) return "";
    const std::string range = datastore::RangeText(
        *reinterpret_cast<const lysc_node_leaf&>(schema).type);
    return range.empty() ? "" : " Expected: " + range + ".";
  }

  // For an unknown node: the node of the same name in another module.
  std::string Expected(Node node, const Parent& parent) const {
    const std::string& name = text_.tree.TextOf(text_.tree[node].name);
    std::string words;
    std::uint32_t index = 0;
    while (const lys_module* module =
               ly_ctx_get_module_iter(text_.context, &index)) {
      if (module->implemented == 0 ||
          lys_find_child(parent.schema, module, name.c_str(), 0, 0, 0) ==
              nullptr) {
        continue;
      }
      words += words.empty() ? " Expected here: " : " or ";
      words += text_.is_xml
                   ? "<" + name + " xmlns=\"" + module->ns + "\">"
                   : std::string("\"") + module->name + ":" + name + "\"";
    }
    return words.empty() ? words : words + ".";
  }

  // Why libyang refuses a fragment that is `node`, or stands for it. The error
  // that a key is missing is ignored where it must be.
  std::optional<std::string> ErrorOf(const std::string& fragment,
                                     const Parent& parent, Node node,
                                     bool may_lack_keys) const {
    const std::string all =
        parent.before + fragment + Described(parent.node, node) + parent.after;
    datastore::ClearErrors(text_.context);
    lyd_node* nodes = nullptr;
    const LY_ERR error =
        lyd_parse_data_mem(text_.context, all.c_str(), text_.text.format,
                           LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &nodes);
    const datastore::Nodes owner(nodes);
    if (error == LY_SUCCESS) return std::nullopt;
    std::string reason = datastore::FirstReason(text_.context);
    if (may_lack_keys && base::StartsWith(reason, kNoKey)) return std::nullopt;
    return reason;
  }

  // For JSON metadata, which is only legal beside its node: that node.
  std::string Described(Node parent, Node metadata) const {
    const SourceTree& tree = text_.tree;
    const std::string& name = tree.TextOf(tree[metadata].name);
    std::string described;
    if (name.empty() || name[0] != '@') return described;
    ForEachChild(parent, [&](Node child) {
      if (name.compare(1, std::string::npos, tree.TextOf(tree[child].name)) ==
              0 &&
          tree[child].module == tree[metadata].module) {
        described = "," + text_.fragments.Whole(child);
      }
    });
    return described;
  }

  Examined& text_;
};

}  // namespace

void FindUnreadable(Examined* text) { Search(text).Run(); }

}  // namespace ipav::source
