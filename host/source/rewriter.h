// Changes the text of a configuration so that it holds other data. Only the
// bytes of nodes that differ change: comments, blanks, the order of nodes and
// the form of other values stay.
#ifndef IPAV_HOST_SOURCE_REWRITER_H_
#define IPAV_HOST_SOURCE_REWRITER_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"
#include "host/source/source_tree.h"

namespace ipav::source {

struct Replacement {
  Span span;  // bytes that go; empty: only an insertion
  std::string text;
};

// The replacements that make a text of `after`, in the order of the text and
// without overlap. `before` was read from the text. The caller reads the
// result again: a text that is written in an unusual way may need more.
std::vector<Replacement> FindReplacements(const datastore::InputText& text,
                                          const datastore::DataTree& before,
                                          const datastore::DataTree& after);

std::string Replace(std::string_view bytes,
                    const std::vector<Replacement>& replacements);

// Both as one: `first` leads from a text to `between`, and `second` on from
// there.
std::vector<Replacement> Compose(const std::vector<Replacement>& first,
                                 std::string_view between,
                                 const std::vector<Replacement>& second);

}  // namespace ipav::source

#endif  // IPAV_HOST_SOURCE_REWRITER_H_
