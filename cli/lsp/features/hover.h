// What an editor shows for a place of a configuration.
#ifndef IPAV_CLI_LSP_FEATURES_HOVER_H_
#define IPAV_CLI_LSP_FEATURES_HOVER_H_

#include <cstddef>
#include <optional>
#include <string>

#include "cli/lsp/features/outline.h"
#include "messages/catalogue.h"

namespace ipav::features {

struct Hover {
  std::string markdown;
  Span span;  // of the text that it is about
};

// What the node is, and which validation points look at it; none if there is no
// node of the data model.
std::optional<Hover> HoverAt(const Outline& outline, std::size_t offset);

// What `ipav explain` says of a message, as Markdown.
std::string Explanation(const messages::Message& message);

}  // namespace ipav::features

#endif  // IPAV_CLI_LSP_FEATURES_HOVER_H_
