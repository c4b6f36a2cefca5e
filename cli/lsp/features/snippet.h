// Writes new nodes of a configuration, with what they must hold and with tab
// stops for the rest.
#ifndef IPAV_CLI_LSP_FEATURES_SNIPPET_H_
#define IPAV_CLI_LSP_FEATURES_SNIPPET_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace ipav::features {

struct SnippetStyle {
  bool has_tab_stops = true;  // of the Language Server Protocol
  std::string unit;           // of indentation
  std::string indent;         // of every line but the first
};

class SnippetWriter {
 public:
  // `module` is that of nodes without a module, null if there is none.
  SnippetWriter(SnippetStyle style, const lys_module* module)
      : style_(std::move(style)), module_(module) {}

  // `<name>...</name>`, with the namespace if it is not the default one.
  std::string Element(const lysc_node& schema);
  // `"name": ...`, with the module's name if it is not the default one.
  std::string Member(const lysc_node& schema);
  // What follows the colon of a member, or an element of an array.
  std::string Value(const lysc_node& schema, bool is_in_array);

  std::string Text(std::string_view text) const;  // as it is
  // A place for the user's text; in a snippet, with these values to choose.
  std::string Stop(const lysc_node* leaf);

 private:
  void WriteElement(const lysc_node& schema, const lys_module* module,
                    std::size_t level);
  void WriteMember(const lysc_node& schema, const lys_module* module,
                   std::size_t level);
  void WriteValue(const lysc_node& schema, bool is_in_array, std::size_t level);
  void WriteObject(const lysc_node& schema, std::size_t level);
  void WriteLine(std::size_t level);

  const SnippetStyle style_;
  const lys_module* const module_;
  std::string text_;
  int stops_ = 0;
};

// Whether JSON has values of the leaf in quotes.
bool IsQuoted(const lysc_node& leaf);

// The name as JSON has it below nodes of that module.
std::string JsonName(const lysc_node& schema, const lys_module* module);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_SNIPPET_H_
