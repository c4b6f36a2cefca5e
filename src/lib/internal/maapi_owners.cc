#include "src/lib/internal/maapi_owners.h"

#include <cstring>

namespace ip_application::config_valid::internal {

std::string TextOf(const confd_value_t& value) {
  const auto* text = reinterpret_cast<const char*>(CONFD_GET_BUFPTR(&value));
  return {text, strnlen(text, CONFD_GET_BUFSIZE(&value))};
}

}  // namespace ip_application::config_valid::internal
