// The errors of a configuration's text that are found node by node.
#ifndef IPAV_HOST_SOURCE_FAULTS_H_
#define IPAV_HOST_SOURCE_FAULTS_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/datastore/input_text.h"
#include "host/source/node_finder.h"
#include "host/source/source_tree.h"

namespace ipav::source {

// The most errors that are reported of one file. If there are more, a further
// line says so, and the rest of the file is not examined.
inline constexpr std::size_t kMaxErrors = 20;

struct Fault {
  std::size_t at = 0;  // byte of the file
  std::string reason;  // one line
};

// Pieces of a configuration's text that a parser can read alone, and the text
// without some of its nodes. The positions of what is left do not change.
class Fragments {
 public:
  using Node = SourceTree::Node;

  // Borrows the tree, which was filled from that text.
  Fragments(std::string_view text, bool is_xml, const SourceTree* tree)
      : text_(text), is_xml_(is_xml), tree_(*tree) {}

  // The node with its name, without the nodes that were removed.
  std::string Whole(Node node) const;
  // The node without any child.
  std::string Hollow(Node node) const;

  // What is before and after the children of a node, and between two of them.
  // For the root, all together is a complete text.
  std::string Open(Node node) const;
  std::string Close(Node node) const;
  const char* Between() const { return is_xml_ ? "" : ","; }

  // Replaces the node by blanks. With `member`, a JSON array is replaced with
  // all its elements.
  void Remove(Node node, bool member);
  // Replaces a part of the text by blanks.
  void Remove(Span hole);
  bool IsRemoved(Node node) const { return text_[BeginOf(node)] == ' '; }

  const std::string& text() const { return text_; }

 private:
  std::size_t BeginOf(Node node) const;
  std::string TextOf(std::size_t begin, std::size_t end) const;
  std::string HeadOf(Node node) const;
  bool IsInArray(Node node) const;
  void RemoveComma(Span hole);

  std::string text_;
  const bool is_xml_;
  const SourceTree& tree_;
};

// A text under examination, borrowed. Nodes with errors are removed from its
// fragments, so that the rest can be examined further.
struct Examined {
  Examined(const ly_ctx* the_context, const datastore::InputText& the_text);
  Examined(const Examined&) = delete;
  Examined& operator=(const Examined&) = delete;

  const lysc_node* SchemaOf(const lysc_node* parent,
                            SourceTree::Node node) const {
    return finder.SchemaOf(context, parent, node);
  }

  // Where a node is shown.
  std::size_t PlaceOf(SourceTree::Node node, const lysc_node& schema) const {
    return tree[finder.ShownOf(node, schema)].span.begin;
  }

  const ly_ctx* context;
  const datastore::InputText& text;
  const bool is_xml;
  SourceTree tree;
  NodeFinder finder;
  Fragments fragments;
  // Schema nodes with an instance in the text that cannot be read.
  std::set<const lysc_node*> unread;
  std::vector<Fault> faults;
};

// Step 1: nodes that the YANG library cannot read, such as unknown nodes, wrong
// values and entries without a key.
void FindUnreadable(Examined* text);

// Step 2: second instances of a node, also if the keys are equal although they
// are written in different forms.
void FindDuplicates(Examined* text);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_FAULTS_H_
