// Relates the nodes of a configuration's text to those of the data model and of
// a data tree.
#ifndef IPAV_HOST_SOURCE_NODE_FINDER_H_
#define IPAV_HOST_SOURCE_NODE_FINDER_H_

#include <libyang/libyang.h>

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/source/source_tree.h"

namespace ipav::source {

class NodeFinder {
 public:
  using Node = SourceTree::Node;

  // Borrows the tree, which is filled before the first call.
  NodeFinder(const SourceTree* tree, bool is_xml)
      : tree_(*tree), is_xml_(is_xml) {}

  // The node of the model that a node of the text is an instance of, under
  // `parent` (null: at the top); null if the model has none.
  const lysc_node* SchemaOf(const ly_ctx* context, const lysc_node* parent,
                            Node node) const;

  // The node of the text for a node of the data tree; kNone for a node that the
  // text does not have, such as a default value.
  Node Find(const lyd_node* node);

  // The first instance of a node of the model, starting with that sibling.
  Node FirstOf(const lysc_node& schema, Node node) const;

  // The texts of an entry's keys, canonical, in the order of the model; a
  // missing key is empty.
  std::vector<std::string> KeysOf(Node entry, const lysc_node& list) const;

  // The canonical value of a leaf or of a value of a leaf-list.
  std::string ValueOf(Node node, const lysc_node& leaf) const;

  // The node at which a node is shown: for an entry its first key.
  Node ShownOf(Node found, const lysc_node& schema) const;

 private:
  using EntryIndex = std::unordered_map<std::string, Node>;

  Node FindUnder(Node parent, const lyd_node& node);
  const EntryIndex& IndexOf(Node parent, const lysc_node& list);

  const SourceTree& tree_;
  const bool is_xml_;
  std::unordered_map<const lyd_node*, Node> found_;
  std::map<std::pair<Node, const lysc_node*>, EntryIndex> indexes_;
};

// Texts as one. YANG text has no NUL (RFC 7950, section 14).
std::string Join(const std::vector<std::string>& texts);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_NODE_FINDER_H_
