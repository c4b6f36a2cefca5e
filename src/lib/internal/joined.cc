#include "src/lib/internal/joined.h"

namespace ip_application::config_valid::internal {

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text.append(part);
  return text;
}

}  // namespace ip_application::config_valid::internal
