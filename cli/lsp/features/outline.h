// The nodes of a configuration's text for an editor. The text may be half
// typed: tags and braces that are not closed, names without a value, and names
// that the data model does not have are all kept, and never stop the reading.
#ifndef IPAV_CLI_LSP_FEATURES_OUTLINE_H_
#define IPAV_CLI_LSP_FEATURES_OUTLINE_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/datastore/model.h"
#include "host/source/source_tree.h"

namespace ipav::features {

using source::Span;

enum class Format : std::uint8_t { kXml, kJson };

class Outline {
 public:
  using Node = std::uint32_t;
  static constexpr Node kRoot = 0;
  static constexpr Node kNone = UINT32_MAX;

  enum class Kind : std::uint8_t {
    kNode,       // XML: an element. JSON: a member or an element of an array
    kArray,      // JSON: the elements are its children, with the same schema
    kTypedName,  // XML: a start tag without '>'. JSON: a name without colon
    kEndTag,     // XML: an end tag without '>'
  };

  struct Item {
    Kind kind = Kind::kNode;
    bool is_closed = false;   // its end is written
    bool is_wrapper = false;  // the root, or what tools write around the data
    Node parent = kNone;
    Node first_child = kNone;
    Node last_child = kNone;
    Node next = kNone;
    const lysc_node* schema = nullptr;  // null: unknown
    // That of children without a module: in XML that of the default namespace,
    // in JSON that of the node. Null: none of the data model.
    const lys_module* module = nullptr;
    Span whole;
    // XML: the start tag. JSON: the quoted name; elements of an array have
    // none.
    Span head;
    Span name;     // in the head, without a prefix or the module's name
    Span content;  // between the tags, braces or quotes
  };

  // Reads the text. Borrows it and the model.
  Outline(std::string_view text, Format format, const datastore::Model& model);

  std::string_view text() const { return text_; }
  std::string_view TextOf(Span span) const {
    return text_.substr(span.begin, span.end - span.begin);
  }
  bool is_xml() const { return is_xml_; }
  const datastore::Model& model() const { return model_; }
  std::size_t size() const { return items_.size(); }
  const Item& operator[](Node node) const { return items_[node]; }

  // The innermost node around a byte offset. A node that is not closed also has
  // the offset at its end.
  Node At(std::size_t offset) const;

  // Whether the offset is in a comment or a processing instruction.
  bool IsComment(std::size_t offset) const;

  // The value of a leaf, without the escapes of the format, and its bytes.
  std::string ValueOf(Node leaf) const;
  Span ValueSpan(Node leaf) const;
  // The leaf below a node; kNone if there is none, or if the node is kNone.
  Node Leaf(Node parent, std::string_view name) const;
  // The same as a value; empty if there is none.
  std::string LeafValue(Node parent, std::string_view name) const;
  // The nearest entry of a list around a node, or itself; kNone if none.
  Node EntryOf(Node node) const;

  // A value as it is written in the text; in JSON without quotes.
  std::string Escaped(std::string_view value) const;

  // ---- For the readers -----------------------------------------------------

  Item& Mutable(Node node) { return items_[node]; }
  Node Add(Node parent, const Item& item);
  // Ends a node, at its end tag or bracket if it is closed. Returns its parent.
  Node Close(Node node, Span end, bool is_closed);
  void AddComment(Span span) { comments_.push_back(span); }

  // The node of the model below a node of the text. With `module` null, or with
  // an inherited one that has no such child, any module does.
  const lysc_node* SchemaBelow(Node parent, const lys_module* module,
                               bool is_inherited, std::string_view name) const;

 private:
  bool Contains(const Item& item, std::size_t offset) const;

  std::string_view text_;
  bool is_xml_;
  const datastore::Model& model_;
  std::vector<Item> items_;
  std::vector<Span> comments_;  // in the order of the text
};

// Fill an outline from its text.
void ReadXmlOutline(Outline* outline);
void ReadJsonOutline(Outline* outline);

// The node of the model at a path without keys; null if there is none.
const lysc_node* SchemaAt(const datastore::Model& model, std::string_view path);

inline bool IsLeaf(const lysc_node* schema) {
  return schema != nullptr &&
         (schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
}

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_OUTLINE_H_
