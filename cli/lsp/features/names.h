// The names by which parts of a configuration refer to each other: interfaces,
// VRFs, OSPF processes and areas.
#ifndef IPAV_CLI_LSP_FEATURES_NAMES_H_
#define IPAV_CLI_LSP_FEATURES_NAMES_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/lsp/features/outline.h"
#include "cli/lsp/features/schema_text.h"
#include "host/source/rewriter.h"

namespace ipav::features {

// The values in the text that define what the offset refers to: from the name
// of an interface its entry, from a route its output interface, and so on.
std::vector<Span> DefinitionsAt(const Outline& outline, std::size_t offset);

// All values that have the name at the offset, in the order of the text.
std::vector<Span> ReferencesAt(const Outline& outline, std::size_t offset,
                               bool with_definitions);

// The names that a leaf of that schema may have, each once, with a description:
// those of the other leaves of the text. If the leaf defines a name, only those
// that no leaf defines.
std::vector<NamedValue> NamesFor(const Outline& outline,
                                 const lysc_node& schema, Outline::Node leaf);

// Whether it is an IPv4 address, as the rules want an OSPF area, too.
bool IsDottedQuad(const std::string& text);

// The renaming is not possible; what() is a reason for the user.
class RenameError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The name at the offset, as its place in the text has it; empty if there is
// none. Throws RenameError for a name that the rules fix.
Span RenamedAt(const Outline& outline, std::size_t offset);

// Gives all values that have the name at the offset another one. `name` is what
// the place at the offset gets. Throws RenameError.
std::vector<source::Replacement> Rename(const Outline& outline,
                                        std::size_t offset,
                                        std::string_view name);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_NAMES_H_
