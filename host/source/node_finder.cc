#include "host/source/node_finder.h"

#include "host/datastore/data_tree.h"

namespace ipav::source {

using Node = SourceTree::Node;

const lysc_node* NodeFinder::SchemaOf(const ly_ctx* context,
                                      const lysc_node* parent,
                                      Node node) const {
  const std::string& module = tree_.TextOf(tree_[node].module);
  const lys_module* found =
      is_xml_ ? ly_ctx_get_module_implemented_ns(context, module.c_str())
              : ly_ctx_get_module_implemented(context, module.c_str());
  if (found == nullptr) return nullptr;
  const std::string& name = tree_.TextOf(tree_[node].name);
  return lys_find_child(parent, found, name.c_str(), 0, 0, 0);
}

Node NodeFinder::Find(const lyd_node* node) {
  if (node == nullptr) return SourceTree::kRoot;
  const auto known = found_.find(node);
  if (known != found_.end()) return known->second;
  const Node parent = Find(lyd_parent(node));
  const Node found =
      parent == SourceTree::kNone ? parent : FindUnder(parent, *node);
  found_.emplace(node, found);
  return found;
}

Node NodeFinder::FindUnder(Node parent, const lyd_node& node) {
  if (node.schema->nodetype == LYS_LIST) {
    const EntryIndex& index = IndexOf(parent, *node.schema);
    const auto entry = index.find(Join(datastore::KeysOf(&node)));
    return entry == index.end() ? SourceTree::kNone : entry->second;
  }
  Node child = FirstOf(*node.schema, tree_[parent].first_child);
  if (node.schema->nodetype != LYS_LEAFLIST) return child;
  const std::string value =
      datastore::CanonicalText(*node.schema, lyd_get_value(&node));
  while (child != SourceTree::kNone && ValueOf(child, *node.schema) != value) {
    child = FirstOf(*node.schema, tree_[child].next);
  }
  return child;
}

std::string NodeFinder::ValueOf(Node node, const lysc_node& leaf) const {
  return datastore::CanonicalText(leaf, std::string(tree_.ValueOf(node)));
}

Node NodeFinder::FirstOf(const lysc_node& schema, Node node) const {
  const std::uint32_t name = tree_.FindNumber(schema.name);
  const std::uint32_t module =
      tree_.FindNumber(is_xml_ ? schema.module->ns : schema.module->name);
  if (name == SourceTree::kNone || module == SourceTree::kNone) {
    return SourceTree::kNone;
  }
  while (node != SourceTree::kNone &&
         (tree_[node].name != name || tree_[node].module != module)) {
    node = tree_[node].next;
  }
  return node;
}

// The entries of a list under a node by their keys: an index made once, for
// fast look-ups.
const NodeFinder::EntryIndex& NodeFinder::IndexOf(Node parent,
                                                  const lysc_node& list) {
  const auto [slot, is_new] = indexes_.try_emplace({parent, &list});
  if (is_new) {
    for (Node entry = FirstOf(list, tree_[parent].first_child);
         entry != SourceTree::kNone; entry = FirstOf(list, tree_[entry].next)) {
      slot->second.emplace(Join(KeysOf(entry, list)), entry);
    }
  }
  return slot->second;
}

std::vector<std::string> NodeFinder::KeysOf(Node entry,
                                            const lysc_node& list) const {
  std::vector<std::string> keys;
  for (const lysc_node* leaf : datastore::Model::FactsOf(list).keys) {
    const Node key = FirstOf(*leaf, tree_[entry].first_child);
    keys.push_back(key == SourceTree::kNone ? "" : ValueOf(key, *leaf));
  }
  return keys;
}

Node NodeFinder::ShownOf(Node found, const lysc_node& schema) const {
  const auto& keys = datastore::Model::FactsOf(schema).keys;
  if (keys.empty()) return found;
  const Node key = FirstOf(*keys.front(), tree_[found].first_child);
  return key == SourceTree::kNone ? found : key;
}

std::string Join(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined.append(text) += '\0';
  return joined;
}

}  // namespace ipav::source
