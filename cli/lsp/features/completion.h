// What a user may type at a place of a configuration.
#ifndef IPAV_CLI_LSP_FEATURES_COMPLETION_H_
#define IPAV_CLI_LSP_FEATURES_COMPLETION_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/lsp/features/outline.h"

namespace ipav::features {

struct Completion {
  // CompletionItemKind of the protocol: Struct, Field, EnumMember, Reference
  // and Keyword.
  enum class Kind : std::uint8_t {
    kNode = 22,
    kLeaf = 5,
    kValue = 20,
    kName = 18,
    kEndTag = 14
  };
  Kind kind = Kind::kNode;
  std::string label;
  std::string detail;    // one line; empty: none
  std::string markdown;  // what it means; empty: none
  std::string text;      // a snippet if the client has them
  std::string typed;     // what the replaced text is compared with
};

struct Completions {
  Span replaced;  // within one line
  // Where a comma is missing before it.
  std::optional<std::size_t> comma;
  std::vector<Completion> items;  // the most useful first
};

// What the client can do.
struct CompletionClient {
  bool has_snippets = true;
  bool indents = true;  // it indents new lines like the first one
};

Completions CompletionsAt(const Outline& outline, std::size_t offset,
                          const CompletionClient& client);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_COMPLETION_H_
