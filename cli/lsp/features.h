// The requests that are answered from a document and the data model alone.
#ifndef IPAV_CLI_LSP_FEATURES_H_
#define IPAV_CLI_LSP_FEATURES_H_

#include <vector>

#include "cli/lsp/features/completion.h"
#include "cli/lsp/open_document.h"
#include "cli/lsp/protocol.h"
#include "host/datastore/model.h"

namespace ipav::cli::lsp {

// What a feature gets: the document of "textDocument", and all parameters.
struct Query {
  const OpenDocument& document;
  const Json& params;
  const datastore::Model& model;
  const features::CompletionClient& client;
};

struct Feature {
  const char* method;      // "textDocument/hover"
  const char* capability;  // "hoverProvider"
  Json options;            // of the capability: true, or an object
  // The result. Throws std::exception for wrong parameters.
  Json (*answer)(const Query& query);
};

const std::vector<Feature>& Features();

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_FEATURES_H_
