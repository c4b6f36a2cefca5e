// URIs of files (RFC 8089).
#ifndef IPAV_CLI_LSP_URI_H_
#define IPAV_CLI_LSP_URI_H_

#include <optional>
#include <string>

namespace ipav::cli::lsp {

// The absolute path in "file:///path" or "file://localhost/path", without "."
// and ".."; none in another URI.
std::optional<std::string> PathOf(const std::string& uri);

std::string FileUri(const std::string& path);

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_URI_H_
