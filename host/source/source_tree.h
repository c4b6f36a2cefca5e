// The nodes of a configuration's text and their positions, for any format.
// Nodes are small, because a text may have millions.
#ifndef IPAV_HOST_SOURCE_SOURCE_TREE_H_
#define IPAV_HOST_SOURCE_SOURCE_TREE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ipav::source {

// Bytes of the text.
struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;
};

class SourceTree {
 public:
  using Node = std::uint32_t;
  static constexpr Node kRoot = 0;
  static constexpr Node kNone = UINT32_MAX;

  SourceTree() : items_(1) {}

  // Number of a name; equal texts have the same number.
  std::uint32_t NumberOf(std::string_view name);
  // The same; kNone for a name that is not in the text.
  std::uint32_t FindNumber(const std::string& name) const;

  // A new last child. `module` is the number of a namespace or module name.
  Node Add(Node parent, std::uint32_t module, std::uint32_t name, Span span);
  void SetSpan(Node node, Span span);
  void SetValue(Node node, std::string_view value);

  // The number of nodes, with the root.
  std::size_t size() const { return items_.size(); }

  Node FirstChild(Node node) const { return items_[node].first_child; }
  Node Next(Node node) const { return items_[node].next; }
  std::uint32_t ModuleOf(Node node) const { return items_[node].module; }
  std::uint32_t NameOf(Node node) const { return items_[node].name; }
  // The name, or namespace or module name, of a number.
  const std::string& TextOf(std::uint32_t number) const {
    return *texts_[number];
  }

  // The marked part: the value of a leaf, the start of any other node.
  Span SpanOf(Node node) const {
    return {items_[node].begin, items_[node].end};
  }
  // XML: the start tag. JSON: the quoted name of the member; the elements of an
  // array share it.
  Span HeadOf(Node node) const {
    return {items_[node].head_begin, items_[node].head_end};
  }
  void SetHead(Node node, Span head);
  // Where the end tag or the JSON value ends.
  std::size_t EndOf(Node node) const { return items_[node].whole_end; }
  void SetEnd(Node node, std::size_t end);

  // The value of a leaf, without the escapes of the format.
  std::string_view ValueOf(Node node) const;

 private:
  struct Item {
    Node first_child = kNone;
    Node last_child = kNone;
    Node next = kNone;
    std::uint32_t module = kNone;
    std::uint32_t name = kNone;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::uint32_t head_begin = 0;
    std::uint32_t head_end = 0;
    std::uint32_t whole_end = 0;
    std::uint32_t value_begin = 0;
    std::uint32_t value_size = 0;
  };

  std::vector<Item> items_;
  std::string values_;
  std::unordered_map<std::string, std::uint32_t> numbers_;
  std::vector<const std::string*> texts_;  // the keys of `numbers_`
};

// Fill the tree from a text without byte order mark and leading blanks, which
// begins at `start`. Reading stops at text that is not XML or not JSON; nothing
// outside of the text is ever read.
void ReadXml(std::string_view text, std::size_t start, SourceTree* tree);
void ReadJson(std::string_view text, std::size_t start, SourceTree* tree);

// The first byte of a part of an XML text that is not a blank and not in a
// comment or processing instruction; its end if there is none.
std::size_t SkipToContent(std::string_view text, Span span);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_SOURCE_TREE_H_
