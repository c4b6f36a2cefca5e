#include "fuzz/support/byte_reader.h"

#include <algorithm>

namespace ipav::fuzz {

std::uint32_t ByteReader::Uint32() {
  std::uint32_t number = 0;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    number |= static_cast<std::uint32_t>(Byte()) << shift;
  }
  return number;
}

std::string ByteReader::Bytes(std::size_t count) {
  const auto left = static_cast<std::size_t>(end_ - at_);
  const std::uint8_t* stop = at_ + std::min(count, left);
  std::string bytes(at_, stop);
  at_ = stop;
  return bytes;
}

std::string ByteReader::Text() {
  constexpr std::size_t kFirstLong = 0xf0;
  constexpr std::size_t kLongUnit = 600;

  const std::size_t length = Byte();
  if (length < kFirstLong) return Bytes(length);
  return std::string((length - kFirstLong + 1) * kLongUnit,
                     static_cast<char>(Byte()));
}

std::vector<std::string> LinesOf(const std::uint8_t* data, std::size_t size) {
  return Split(std::string(data, data + size), '\n');
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

std::string UpToNul(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

}  // namespace ipav::fuzz
