#include "cli/lsp/uri.h"

#include <libxml/uri.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>

namespace ipav::cli::lsp {

namespace {

constexpr std::string_view kScheme = "file://";
constexpr std::string_view kLocalHost = "localhost";

}  // namespace

std::optional<std::string> PathOf(const std::string& uri) {
  std::string_view rest = uri;
  if (rest.substr(0, kScheme.size()) != kScheme) return std::nullopt;
  rest.remove_prefix(kScheme.size());
  if (rest.substr(0, kLocalHost.size()) == kLocalHost) {
    rest.remove_prefix(kLocalHost.size());
  }
  const bool has_nul = uri.find('\0') != std::string::npos ||
                       uri.find("%00") != std::string::npos;
  if (rest.empty() || rest.front() != '/' || has_nul) return std::nullopt;
  std::string path(rest.size() + 1, '\0');
  xmlURIUnescapeString(rest.data(), static_cast<int>(rest.size()), path.data());
  path.resize(std::strlen(path.c_str()));
  return std::filesystem::path(path).lexically_normal().string();
}

std::string FileUri(const std::string& path) {
  const std::unique_ptr<xmlChar, void (*)(void*)> escaped(
      xmlURIEscapeStr(reinterpret_cast<const xmlChar*>(path.c_str()),
                      reinterpret_cast<const xmlChar*>("/")),
      xmlFree);
  if (escaped == nullptr) throw std::bad_alloc();
  return std::string(kScheme) + reinterpret_cast<const char*>(escaped.get());
}

}  // namespace ipav::cli::lsp
