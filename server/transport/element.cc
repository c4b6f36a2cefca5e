#include "transport/element.h"

#include <cstddef>
#include <optional>

namespace ipav::transport {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// What follows a part that begins and ends with these marks, or begins nothing
// of the kind; no value where such a part has no end.
std::optional<std::string_view> Behind(std::string_view text,
                                       std::string_view begin,
                                       std::string_view end) {
  if (text.substr(0, begin.size()) != begin) return text;
  const std::size_t found = text.find(end, begin.size());
  if (found == std::string_view::npos) return std::nullopt;
  return text.substr(found + end.size());
}

}  // namespace

bool MayHaveElement(std::string_view message) {
  if (message.find('\0') != std::string_view::npos) return false;
  while (true) {
    const std::size_t start = message.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return false;
    message.remove_prefix(start);
    auto rest = Behind(message, "<!--", "-->");
    if (rest.has_value()) rest = Behind(*rest, "<?", "?>");
    if (!rest.has_value()) return false;
    if (rest->size() == message.size()) return true;
    message = *rest;
  }
}

}  // namespace ipav::transport
