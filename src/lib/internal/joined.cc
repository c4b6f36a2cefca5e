#include "src/lib/internal/joined.h"

#include <cstddef>

namespace ip_application::config_valid::internal {

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::size_t size = 0;
  for (const std::string_view part : parts) size += part.size();
  std::string text;
  text.reserve(size);
  for (const std::string_view part : parts) text.append(part);
  return text;
}

}  // namespace ip_application::config_valid::internal
