// The YANG library is asked about ever smaller parts of the text: a node,
// within the start tags or braces of its ancestors and beside their keys, is
// wrong itself or has a wrong node in it.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"
#include "host/datastore/model.h"
#include "host/source/faults.h"

namespace ipav::source {

namespace {

using Node = SourceTree::Node;

// libyang's text for an entry without a key.
constexpr std::string_view kNoKey = "List instance is missing its key";

bool Starts(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

bool HoldsMany(const lysc_node* schema) {
  return schema != nullptr &&
         (schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

class Search {
 public:
  Search(Examined* text, std::size_t most) : text_(*text), most_(most) {}

  void Run() {
    levels_.push_back({SourceTree::kRoot, nullptr, {}, true});
    ForEachChild(SourceTree::kRoot, [&](Node node) { Check(node, false); });
  }

 private:
  // An ancestor of the node under examination.
  struct Level {
    Node node;
    const lysc_node* schema;
    std::vector<Node> keys;
    bool has_all_keys;
  };

  template <typename Take>
  void ForEachChild(Node parent, const Take& take) const {
    for (Node child = text_.tree().FirstChild(parent);
         child != SourceTree::kNone; child = text_.tree().Next(child)) {
      take(child);
    }
  }

  void Check(Node node, bool is_key) {
    if (text_.IsRemoved(node) || text_.faults().size() >= most_) return;
    // 1. Most nodes are right, with all that is in them.
    const Fragments& fragments = text_.fragments();
    const auto error = ErrorOf(node, fragments.Whole(node), is_key);
    if (!error.has_value()) return;
    // 2. If the node without its children is right, one of them is wrong.
    const lysc_node* schema = SchemaOf(node);
    const bool has_parts = text_.tree().FirstChild(node) != SourceTree::kNone &&
                           schema != nullptr &&
                           (schema->nodetype & LYD_NODE_ANY) == 0;
    if (has_parts && !ErrorOf(node, fragments.Hollow(node), true).has_value()) {
      CheckInside(node, schema);
    } else {
      Refuse(node, schema, *error);
    }
  }

  void CheckInside(Node node, const lysc_node* schema) {
    const std::size_t faults_before = text_.faults().size();
    levels_.push_back({node, schema, {}, false});
    // 1. The keys, each beside those before it.
    bool has_wrong_key = false;
    ForEachChild(node, [&](Node child) {
      if (!IsKey(child)) return;
      Check(child, true);
      if (text_.IsRemoved(child)) {
        has_wrong_key = true;
      } else {
        levels_.back().keys.push_back(child);
      }
    });
    levels_.back().has_all_keys = levels_.back().keys.size() ==
                                  datastore::Model::FactsOf(*schema).key_count;
    // 2. Its other children, beside the keys.
    ForEachChild(node, [&](Node child) {
      if (!IsKey(child)) Check(child, false);
    });
    levels_.pop_back();
    // 3. If the rest is not right, an entry has no key.
    const auto error = ErrorOf(node, text_.fragments().Whole(node), false);
    if (!error.has_value() || text_.faults().size() >= most_) return;
    const bool is_known = text_.faults().size() > faults_before;
    if (has_wrong_key || (is_known && !Starts(*error, kNoKey))) {
      Remove(node, schema);
    } else {
      Refuse(node, schema, *error);
    }
  }

  bool IsKey(Node node) const {
    const lysc_node* leaf = SchemaOf(node);
    return leaf != nullptr && lysc_is_key(leaf);
  }

  const lysc_node* SchemaOf(Node node) const {
    return text_.finder().SchemaOf(text_.context(), levels_.back().schema,
                                   node);
  }

  void Refuse(Node node, const lysc_node* schema, std::string reason) {
    // An unknown node is marked at its name.
    const SourceTree& tree = text_.tree();
    const Span place =
        schema == nullptr ? tree.HeadOf(node) : tree.SpanOf(node);
    if (schema == nullptr) reason += Expected(node);
    text_.Add(place.begin, std::move(reason));
    Remove(node, schema);
  }

  void Remove(Node node, const lysc_node* schema) {
    if (schema != nullptr) text_.unread().insert(schema);
    text_.Remove(node, !HoldsMany(schema));
  }

  // For an unknown node: the node of the same name in another module.
  std::string Expected(Node node) const {
    const std::string& name = text_.tree().TextOf(text_.tree().NameOf(node));
    std::string words;
    std::uint32_t index = 0;
    while (const lys_module* module =
               ly_ctx_get_module_iter(text_.context(), &index)) {
      if (module->implemented == 0 ||
          lys_find_child(levels_.back().schema, module, name.c_str(), 0, 0,
                         0) == nullptr) {
        continue;
      }
      words += words.empty() ? " Expected here: " : " or ";
      words += text_.is_xml()
                   ? "<" + name + " xmlns=\"" + module->ns + "\">"
                   : std::string("\"") + module->name + ":" + name + "\"";
    }
    return words.empty() ? words : words + ".";
  }

  // Why libyang refuses a fragment that is `node`, or stands for it. The error
  // that a key is missing is ignored where it must be.
  std::optional<std::string> ErrorOf(Node node, std::string fragment,
                                     bool may_lack_keys) const {
    for (auto level = levels_.rbegin(); level != levels_.rend(); ++level) {
      fragment = text_.fragments().Within(
          level->node, Beside(*level, node, std::move(fragment)));
      node = level->node;
      may_lack_keys = may_lack_keys || !level->has_all_keys;
    }
    const ly_ctx* context = text_.context();
    datastore::ClearErrors(context);
    lyd_node* nodes = nullptr;
    const LY_ERR error =
        lyd_parse_data_mem(context, fragment.c_str(), text_.text().format,
                           LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &nodes);
    const datastore::Nodes owner(nodes);
    if (error == LY_SUCCESS) return std::nullopt;
    std::string reason = datastore::FirstReason(context);
    if (may_lack_keys && Starts(reason, kNoKey)) return std::nullopt;
    return reason;
  }

  // The fragment among the keys of its parent, in the order of the text.
  std::vector<std::string> Beside(const Level& parent, Node node,
                                  std::string fragment) const {
    std::vector<std::string> parts;
    auto key = parent.keys.begin();
    for (; key != parent.keys.end() && *key < node; ++key) {
      parts.push_back(text_.fragments().Whole(*key));
    }
    parts.push_back(std::move(fragment));
    for (; key != parent.keys.end(); ++key) {
      if (*key != node) parts.push_back(text_.fragments().Whole(*key));
    }
    // JSON metadata is only legal beside its node.
    const Node described = DescribedBy(parent.node, node);
    if (described != SourceTree::kNone) {
      parts.push_back(text_.fragments().Whole(described));
    }
    return parts;
  }

  Node DescribedBy(Node parent, Node metadata) const {
    const SourceTree& tree = text_.tree();
    const std::string& name = tree.TextOf(tree.NameOf(metadata));
    Node described = SourceTree::kNone;
    if (name.empty() || name[0] != '@') return described;
    ForEachChild(parent, [&](Node child) {
      if (name.compare(1, std::string::npos, tree.TextOf(tree.NameOf(child))) ==
              0 &&
          tree.ModuleOf(child) == tree.ModuleOf(metadata)) {
        described = child;
      }
    });
    return described;
  }

  Examined& text_;
  const std::size_t most_;
  std::vector<Level> levels_;
};

}  // namespace

void FindUnreadable(Examined* text, std::size_t most) {
  Search(text, most).Run();
}

}  // namespace ipav::source
