// Bytes as text.
#ifndef IPAV_HOST_BASE_BYTES_H_
#define IPAV_HOST_BASE_BYTES_H_

#include <string>

namespace ipav::base {

// Two lower-case hexadecimal digits for each byte.
std::string ToHex(const std::string& bytes);
// The inverse of ToHex(). Throws std::invalid_argument for any other text.
std::string FromHex(const std::string& hex);

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_BYTES_H_
