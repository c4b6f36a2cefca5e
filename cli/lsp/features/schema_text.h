// What the data model says of a node, as texts for people.
#ifndef IPAV_CLI_LSP_FEATURES_SCHEMA_TEXT_H_
#define IPAV_CLI_LSP_FEATURES_SCHEMA_TEXT_H_

#include <libyang/libyang.h>

#include <string>
#include <string_view>
#include <vector>

namespace ipav::features {

// One line: "list, key name", "leaf, uint16".
std::string KindText(const lysc_node& node);

// A value that a type names, and what it means.
struct NamedValue {
  std::string name;
  std::string description;
};

// The values of an enumeration, a boolean or a bits type, or of the members of
// a union; none for another type.
std::vector<NamedValue> NamedValues(const lysc_type& type);

// One line for each restriction of a type: "range 68..9216", or the message of
// the model for values that do not match.
std::vector<std::string> RestrictionTexts(const lysc_type& type);

// The default value; empty if there is none.
std::string DefaultText(const lysc_node& node);

const lysc_type& TypeOf(const lysc_node& leaf);

// Markdown that shows the text as it is.
std::string MarkdownText(std::string_view text);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_SCHEMA_TEXT_H_
