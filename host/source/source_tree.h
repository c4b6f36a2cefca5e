// The nodes of a configuration's text and their positions, for any format.
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

  struct Item {
    Node first_child = kNone;
    Node last_child = kNone;
    Node next = kNone;
    std::uint32_t module = kNone;  // number of a namespace or module name
    std::uint32_t name = kNone;
    Span span;  // the marked part: the value of a leaf, else the start
    // XML: the start tag. JSON: the quoted name of the member; the elements of
    // an array share it.
    Span head;
    std::size_t end = 0;            // where the end tag or the JSON value ends
    std::uint32_t value_begin = 0;  // see ValueOf()
    std::uint32_t value_size = 0;
  };

  SourceTree() : items_(1) {}

  // Number of a name; equal texts have the same number.
  std::uint32_t NumberOf(std::string_view name);
  // The same; kNone for a name that is not in the text.
  std::uint32_t FindNumber(const std::string& name) const;
  // The name of a number.
  const std::string& TextOf(std::uint32_t number) const {
    return *texts_[number];
  }

  // A new last child.
  Node Add(Node parent, std::uint32_t module, std::uint32_t name, Span span);

  // The value of a leaf, without the escapes of the format.
  void SetValue(Node node, std::string_view value);
  std::string_view ValueOf(Node node) const;

  Item& operator[](Node node) { return items_[node]; }
  const Item& operator[](Node node) const { return items_[node]; }
  std::size_t size() const { return items_.size(); }  // with the root

 private:
  std::vector<Item> items_;
  std::string values_;
  std::unordered_map<std::string, std::uint32_t> numbers_;
  std::vector<const std::string*> texts_;  // the keys of `numbers_`
};

// Fill the tree from a text of less than 4 GiB without byte order mark and
// leading blanks, which begins at `start`. Reading stops at text that is not
// XML or not JSON; nothing outside of the text is ever read.
void ReadXml(std::string_view text, std::size_t start, SourceTree* tree);
void ReadJson(std::string_view text, std::size_t start, SourceTree* tree);

// As ReadXml(), up to the first element that is not wanted.
using ElementFilter = bool (*)(std::string_view space, std::string_view name);
void ReadXmlWhile(ElementFilter is_wanted, std::string_view text,
                  std::size_t start, SourceTree* tree);

// The first byte of a part of an XML text that is not a blank and not in a
// comment or processing instruction; its end if there is none.
std::size_t SkipToContent(std::string_view text, Span span);

// The XML text with the comments and processing instructions before the value
// of a leaf, as in <vlan><!-- was 19 -->20</vlan>, as blanks within its start
// tag: libyang reads no value after them. All else keeps its line and column.
// `start`: as for ReadXml().
std::string WithoutLeadingComments(std::string text, std::size_t start);

// The value between the tags of an XML leaf, without blanks, comments and CDATA
// marks around it. A content of blanks is the value.
Span ValueIn(std::string_view text, Span content);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_SOURCE_TREE_H_
