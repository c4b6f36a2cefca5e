// The path texts of platform calls: formatting, parsing, and one normal form
// per node, without prefixes and with single blanks between keys.
#ifndef IPAV_TESTS_SUPPORT_PATH_TEXT_H_
#define IPAV_TESTS_SUPPORT_PATH_TEXT_H_

#include <cstdarg>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ipav::testing {

struct PathStep {
  std::string name;               // without prefix
  std::vector<std::string> keys;  // empty: no list, or all of its entries
};

using Path = std::vector<PathStep>;

// Expands %s, %d and %u; no value for a format with any other conversion.
std::optional<std::string> FormatPath(const char* format, va_list args);

// Printf style in full, for the calls that set texts.
std::string FormatText(const char* format, va_list args);

// No value for a malformed path.
std::optional<Path> ParsePath(std::string_view text);

// The normal form. A key is quoted if it is empty or has a blank, a brace, a
// quote or a backslash.
std::string PathText(const Path& path);
std::string NormalPath(std::string_view text);  // throws on a malformed path

// The normal form of the nodes in the data model: without keys.
std::string SchemaText(const Path& path);

// A step without keys in `top` stands for every entry of its list.
bool IsAtOrBelow(const Path& node, const Path& top);

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_PATH_TEXT_H_
