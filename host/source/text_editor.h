// Writes and removes single nodes in the text of a configuration.
#ifndef IPAV_HOST_SOURCE_TEXT_EDITOR_H_
#define IPAV_HOST_SOURCE_TEXT_EDITOR_H_

#include <libyang/libyang.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/source/rewriter.h"
#include "host/source/source_tree.h"

namespace ipav::source {

class TextEditor {
 public:
  using Node = SourceTree::Node;
  using Nodes = std::set<Node>;

  // Borrows the text and the tree, which was filled from it.
  TextEditor(std::string_view text, const SourceTree* tree)
      : text_(text), tree_(*tree) {}
  virtual ~TextEditor() = default;
  TextEditor(const TextEditor&) = delete;
  TextEditor& operator=(const TextEditor&) = delete;

  // Gives a leaf of the text the value of this one.
  virtual void SetValue(Node leaf, const lyd_node& value) = 0;
  // Removes children of a node; all that are removed there in one call.
  virtual void Remove(Node parent, const Nodes& children) = 0;
  // Adds instances of one node of the model. `removed` are the children that
  // are removed.
  virtual void Insert(Node parent, const std::vector<const lyd_node*>& nodes,
                      const Nodes& removed) = 0;

  // In the order of the text.
  std::vector<Replacement> Take();

 protected:
  struct Layout {
    bool has_lines = false;  // a node begins its line
    std::string indent;      // of that line
    std::string unit;        // of one level
  };

  void Add(std::size_t begin, std::size_t end, std::string text) {
    replacements_.push_back({{begin, end}, std::move(text)});
  }
  std::string_view Bytes(std::size_t begin, std::size_t end) const {
    return text_.substr(begin, end - begin);
  }
  std::size_t LineOf(std::size_t at) const { return text_.rfind('\n', at) + 1; }
  // The layout of the node that begins at `begin`, a child of the one that
  // begins at `parent`.
  Layout LayoutOf(std::size_t begin, std::size_t parent) const;
  // The layout that the first child of a node would have.
  Layout LayoutBelow(std::size_t parent) const;
  std::string LineEnd() const;
  // What closes the line of a first child: nothing if the parent already ends
  // on a line of its own.
  std::string Closing(std::size_t at, const Layout& below,
                      std::size_t parent) const;

  const std::string_view text_;
  const SourceTree& tree_;

 private:
  bool IsIndent(std::size_t begin, std::size_t end) const;

  std::vector<Replacement> replacements_;
};

// A value as XML text.
std::string EscapeXml(std::string_view value);

std::unique_ptr<TextEditor> EditXml(std::string_view text,
                                    const SourceTree* tree);
// `start` is where the object begins.
std::unique_ptr<TextEditor> EditJson(std::string_view text, std::size_t start,
                                     const SourceTree* tree);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_TEXT_EDITOR_H_
