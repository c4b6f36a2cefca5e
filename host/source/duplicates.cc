#include <map>
#include <string>
#include <utility>

#include "host/base/utf8.h"
#include "host/datastore/model.h"
#include "host/source/faults.h"

namespace ipav::source {

namespace {

using datastore::Position;
using datastore::PositionAt;
using Node = SourceTree::Node;

// A longer value is cut.
constexpr std::size_t kShownCharacters = 80;

class Search {
 public:
  explicit Search(Examined* text) : text_(*text) {}

  void CheckChildren(Node parent, const lysc_node* parent_schema) {
    const SourceTree& tree = text_.tree;
    std::map<std::pair<const lysc_node*, std::string>, Node> met;
    for (Node node = tree[parent].first_child; node != SourceTree::kNone;
         node = tree[node].next) {
      if (text_.fragments.IsRemoved(node)) continue;
      const lysc_node* schema = text_.SchemaOf(parent_schema, node);
      if (schema == nullptr || MayRepeat(node, *schema)) continue;
      const auto [first, is_new] =
          met.emplace(std::pair(schema, IdentityOf(node, *schema)), node);
      if (!is_new) {
        Refuse(node, first->second, *schema);
      } else if ((schema->nodetype & (LYS_CONTAINER | LYS_LIST)) != 0) {
        CheckChildren(node, schema);
      }
    }
  }

 private:
  // Entries without keys, values of state data, and containers with no data.
  bool MayRepeat(Node node, const lysc_node& schema) const {
    switch (schema.nodetype) {
      case LYS_LIST:
        return (schema.flags & LYS_KEYLESS) != 0 ||
               text_.tree[node].first_child == SourceTree::kNone;  // "[]"
      case LYS_LEAFLIST:
        return (schema.flags & LYS_CONFIG_R) != 0;
      default:
        return !HasData(node, schema);
    }
  }

  bool HasData(Node node, const lysc_node& schema) const {
    if (schema.nodetype != LYS_CONTAINER ||
        (schema.flags & LYS_PRESENCE) != 0) {
      return true;
    }
    for (Node child = text_.tree[node].first_child; child != SourceTree::kNone;
         child = text_.tree[child].next) {
      const lysc_node* inner = text_.SchemaOf(&schema, child);
      if (inner != nullptr && HasData(child, *inner)) return true;
    }
    return false;
  }

  std::string IdentityOf(Node node, const lysc_node& schema) const {
    if (schema.nodetype == LYS_LIST) {
      return Join(text_.finder.KeysOf(node, schema));
    }
    return schema.nodetype == LYS_LEAFLIST ? text_.finder.ValueOf(node, schema)
                                           : "";
  }

  void Refuse(Node node, Node first, const lysc_node& schema) {
    const Position place =
        PositionAt(text_.text.bytes, text_.PlaceOf(first, schema));
    const std::string keys = KeysOf(node, schema);
    const std::string first_keys = KeysOf(first, schema);
    std::string reason = std::string("Duplicate instance of \"") + schema.name +
                         "\"" + keys + ". The first one is in line " +
                         std::to_string(place.line) + ", column " +
                         std::to_string(place.column);
    if (keys != first_keys) reason += first_keys;
    text_.faults.push_back({text_.PlaceOf(node, schema), reason + "."});
    text_.fragments.Remove(node, false);
  }

  // The keys of an entry or the value of a leaf-list, as written.
  std::string KeysOf(Node node, const lysc_node& schema) const {
    const SourceTree& tree = text_.tree;
    if (schema.nodetype == LYS_LEAFLIST) {
      return ", value " + Shown(tree.ValueOf(node));
    }
    std::string words;
    for (const lysc_node* key : datastore::Model::FactsOf(schema).keys) {
      const Node leaf = text_.finder.FirstOf(*key, tree[node].first_child);
      if (leaf == SourceTree::kNone) continue;
      words += std::string(", ") + key->name + " " + Shown(tree.ValueOf(leaf));
    }
    return words;
  }

  static std::string Shown(std::string_view value) {
    const std::string_view shown =
        base::FirstCharacters(value, kShownCharacters);
    return base::Quoted(shown) + (shown.size() < value.size() ? "..." : "");
  }

  Examined& text_;
};

}  // namespace

void FindDuplicates(Examined* text) {
  Search(text).CheckChildren(SourceTree::kRoot, nullptr);
}

}  // namespace ipav::source
