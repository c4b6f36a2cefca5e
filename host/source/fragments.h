// Pieces of a configuration's text that a parser can read alone, and the text
// without some of its nodes. The positions of what is left do not change.
#ifndef IPAV_HOST_SOURCE_FRAGMENTS_H_
#define IPAV_HOST_SOURCE_FRAGMENTS_H_

#include <string>
#include <string_view>

#include "host/source/source_tree.h"

namespace ipav::source {

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

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_FRAGMENTS_H_
