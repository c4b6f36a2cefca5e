// The errors of a configuration's text that are found node by node.
#ifndef IPAV_HOST_SOURCE_FAULTS_H_
#define IPAV_HOST_SOURCE_FAULTS_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "host/datastore/input_text.h"
#include "host/source/fragments.h"
#include "host/source/node_finder.h"
#include "host/source/source_tree.h"

namespace ipav::source {

struct Fault {
  std::size_t at = 0;  // byte of the file
  std::string reason;  // one line
};

// A text under examination. Nodes with errors are removed from it, so that the
// rest can be examined further.
class Examined {
 public:
  using Node = SourceTree::Node;

  // Borrows all.
  Examined(const ly_ctx* context, const datastore::InputText& text);
  Examined(const Examined&) = delete;
  Examined& operator=(const Examined&) = delete;

  const ly_ctx* context() const { return context_; }
  bool is_xml() const { return text_.format == LYD_XML; }
  const datastore::InputText& text() const { return text_; }
  const SourceTree& tree() const { return tree_; }
  NodeFinder& finder() { return finder_; }
  const Fragments& fragments() const { return fragments_; }

  void Add(std::size_t at, std::string reason);
  std::vector<Fault>& faults() { return faults_; }

  // With `member`, a JSON array is removed with all its elements.
  void Remove(Node node, bool member = false);
  bool IsRemoved(Node node) const;

  // Nodes of the model of which the text has instances that cannot be read.
  std::set<const lysc_node*>& unread() { return unread_; }

 private:
  const ly_ctx* context_;
  const datastore::InputText& text_;
  SourceTree tree_;
  NodeFinder finder_;
  Fragments fragments_;
  std::unordered_set<std::size_t> removed_;  // by their first byte
  std::set<const lysc_node*> unread_;
  std::vector<Fault> faults_;
};

// Step 1: nodes that the YANG library cannot read, such as unknown nodes, wrong
// values and entries without a key. Stops after `most` of them.
void FindUnreadable(Examined* text, std::size_t most);

// Step 2: second instances of a node, also if the keys are equal although they
// are written in different forms.
void FindDuplicates(Examined* text);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_FAULTS_H_
