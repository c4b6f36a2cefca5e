// The kind of a place in a configuration's text: what may be typed there.
#ifndef IPAV_CLI_LSP_FEATURES_PLACE_H_
#define IPAV_CLI_LSP_FEATURES_PLACE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "cli/lsp/features/outline.h"

namespace ipav::features {

struct Place {
  enum class Kind : std::uint8_t {
    kNone,
    kChild,    // the name of a child of `parent`, or between its children
    kValue,    // the value of a leaf; in JSON, what follows a colon
    kElement,  // JSON: an element of an array
    kEndTag,   // XML: the name in the end tag of `parent`
  };

  Kind kind = Kind::kNone;
  Span replaced;  // what is typed already; in one line
  Outline::Node parent = Outline::kNone;
  Outline::Node node = Outline::kNone;  // that has the name; kNone: none yet
  const lysc_node* schema = nullptr;    // of kValue and kElement

  // XML
  bool has_bracket = false;  // '<' is there
  std::string prefix;        // with its colon
  // The rest of the node is there: only its name is replaced.
  bool is_name_only = false;

  // JSON
  bool is_in_quotes = false;
  std::optional<std::size_t> comma;  // where one is missing before the place
  std::string missing_end;  // of a string and of a member, behind the place
};

Place PlaceAt(const Outline& outline, std::size_t offset);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_PLACE_H_
