// Finds the positions of nodes in the text of a configuration. The YANG library
// does not keep positions, so the text is read a second time: only when the
// first position is needed, and never for an accepted configuration.
#ifndef IPAV_HOST_SOURCE_SOURCE_TEXT_H_
#define IPAV_HOST_SOURCE_SOURCE_TEXT_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "host/datastore/input_text.h"

namespace ipav::source {

struct Mark {
  std::size_t line = 0;    // from 1
  std::size_t column = 0;  // from 1, in characters of the line
  std::size_t length = 0;  // characters of that line to mark, at least 1
  // The line without its end. If it is long, only the part around the position,
  // and the number of omitted characters before it.
  std::string source_line;
  std::size_t skipped = 0;
};

class SourceText {
 public:
  // The text is borrowed.
  explicit SourceText(const datastore::InputText& text);
  ~SourceText();
  SourceText(const SourceText&) = delete;
  SourceText& operator=(const SourceText&) = delete;

  // The position of a node of the tree that was read from the text: the value
  // of a leaf, the first key of an entry, the start of any other node. None for
  // a node that the text does not have, such as a default value.
  std::optional<Mark> MarkOf(const lyd_node* node) const;

 private:
  class Places;

  const datastore::InputText& text_;
  mutable std::unique_ptr<Places> places_;
};

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_SOURCE_TEXT_H_
