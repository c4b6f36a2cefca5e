#include "host/base/bytes.h"

#include <cstddef>
#include <stdexcept>

namespace ipav::base {

namespace {

constexpr int kHexBase = 16;

std::string HexDigits(unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  return {kDigits[byte / kHexBase], kDigits[byte % kHexBase]};
}

}  // namespace

std::string ToHex(const std::string& bytes) {
  std::string hex;
  for (const char c : bytes) {
    hex += HexDigits(static_cast<unsigned char>(c));
  }
  return hex;
}

std::string FromHex(const std::string& hex) {
  if (hex.size() % 2 != 0 ||
      hex.find_first_not_of("0123456789abcdef") != std::string::npos) {
    throw std::invalid_argument("not hexadecimal: " + hex);
  }
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, kHexBase));
  }
  return bytes;
}

std::uint64_t StableHash(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  }
  return hash;
}

}  // namespace ipav::base
