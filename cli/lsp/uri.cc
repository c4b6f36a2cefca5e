#include "cli/lsp/uri.h"

#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace ipav::cli::lsp {

namespace {

constexpr std::string_view kScheme = "file://";
constexpr std::string_view kLocalHost = "localhost";

// A "%" that no two digits follow stands for itself.
std::string Decoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char byte = 0;
    const char* digits = text.data() + i + 1;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      decoded += static_cast<char>(byte);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

}  // namespace

std::optional<std::string> PathOf(const std::string& uri) {
  std::string_view rest = uri;
  if (rest.substr(0, kScheme.size()) != kScheme) return std::nullopt;
  rest.remove_prefix(kScheme.size());
  if (rest.substr(0, kLocalHost.size()) == kLocalHost) {
    rest.remove_prefix(kLocalHost.size());
  }
  if (rest.empty() || rest.front() != '/') return std::nullopt;
  std::string path = Decoded(rest);
  if (path.find('\0') != std::string::npos) return std::nullopt;
  return std::filesystem::path(path).lexically_normal().string();
}

std::string FileUri(const std::string& path) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri(kScheme);
  for (const char each : path) {
    const auto byte = static_cast<unsigned char>(each);
    if (byte < 0x80 &&
        (std::isalnum(byte) != 0 || std::strchr("/-._~", each) != nullptr)) {
      uri += each;
    } else {
      uri += '%';
      uri += kDigits[byte >> 4U];
      uri += kDigits[byte & 0xfU];
    }
  }
  return uri;
}

}  // namespace ipav::cli::lsp
