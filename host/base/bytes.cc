#include "host/base/bytes.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace ipav::base {

namespace {

using nlohmann::json;

constexpr int kHexBase = 16;
constexpr unsigned char kDelete = 0x7f;
constexpr char kReplacement[] = "\xef\xbf\xbd";  // U+FFFD

// Control characters but tab and line end; a carriage return would be read back
// as a line end.
bool IsControl(unsigned char c) {
  return (c < ' ' && c != '\t' && c != '\n') || c == kDelete;
}

// U+FFFE and U+FFFF are characters of Unicode, but not of XML.
constexpr std::size_t kNoncharacterSize = 3;

bool IsNoncharacter(const std::string& text, std::size_t place) {
  return text.compare(place, kNoncharacterSize, "\xef\xbf\xbe") == 0 ||
         text.compare(place, kNoncharacterSize, "\xef\xbf\xbf") == 0;
}

std::string HexDigits(unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  return {kDigits[byte / kHexBase], kDigits[byte % kHexBase]};
}

}  // namespace

std::string ToUtf8(const std::string& bytes) {
  const std::string quoted =
      json(bytes).dump(-1, ' ', false, json::error_handler_t::replace);
  return json::parse(quoted).get<std::string>();
}

std::string ToXmlText(const std::string& bytes) {
  const std::string utf8 = ToUtf8(bytes);
  std::string text;
  for (std::size_t place = 0; place < utf8.size();) {
    const auto byte = static_cast<unsigned char>(utf8[place]);
    if (IsNoncharacter(utf8, place)) {
      text += kReplacement;
      place += kNoncharacterSize;
    } else {
      text += IsControl(byte) ? "\\x" + HexDigits(byte)
                              : std::string(1, utf8[place]);
      ++place;
    }
  }
  return text;
}

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

}  // namespace ipav::base
