// Texts and their bytes.
#ifndef IPAV_HOST_BASE_BYTES_H_
#define IPAV_HOST_BASE_BYTES_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace ipav::base {

// Two lower-case hexadecimal digits for each byte.
std::string ToHex(const std::string& bytes);
// The inverse of ToHex(). Throws std::invalid_argument for any other text.
std::string FromHex(const std::string& hex);

// A hash (FNV-1a) that is the same on every machine and in every version.
std::uint64_t StableHash(std::string_view text);

inline bool StartsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}
inline bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() &&
         text.substr(text.size() - end.size()) == end;
}

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_BYTES_H_
