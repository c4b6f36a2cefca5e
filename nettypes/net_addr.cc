#include "nettypes/net_addr.h"

#include <ostream>

namespace nettypes {

// Here rather than in the header, so that one object holds the type's data.
NetAddr::~NetAddr() = default;

std::ostream& operator<<(std::ostream& out, const NetAddr& address) {
  return out << address.to_string();
}

}  // namespace nettypes
