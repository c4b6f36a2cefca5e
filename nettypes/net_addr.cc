#include "nettypes/net_addr.h"

#include <ostream>

namespace nettypes {

// Defined here, so that only one object file has the virtual table.
NetAddr::~NetAddr() = default;

std::ostream& operator<<(std::ostream& out, const NetAddr& address) {
  return out << address.to_string();
}

}  // namespace nettypes
