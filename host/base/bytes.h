// Texts of any bytes, as a plug-in may set them, for formats that hold UTF-8.
#ifndef IPAV_HOST_BASE_BYTES_H_
#define IPAV_HOST_BASE_BYTES_H_

#include <string>

namespace ipav::base {

// The text itself where it is UTF-8; else U+FFFD stands for what is not.
std::string ToUtf8(const std::string& bytes);

// The same for XML 1.0: the four characters \xNN stand for a control character,
// a carriage return among them.
std::string ToXmlText(const std::string& bytes);

// Two lower-case digits for each byte, and back; throws std::invalid_argument.
std::string ToHex(const std::string& bytes);
std::string FromHex(const std::string& hex);

}  // namespace ipav::base

#endif  // IPAV_HOST_BASE_BYTES_H_
