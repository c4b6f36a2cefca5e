// The common base of the address value types: what can be said of an address
// without knowing its family. Whoever only prints one takes a `const NetAddr&`.
#ifndef NETTYPES_NET_ADDR_H_
#define NETTYPES_NET_ADDR_H_

#include <iosfwd>
#include <string>

namespace nettypes {

// Only a whole value can be copied: through this base neither construction nor
// assignment is possible, so no part of an address is ever sliced off.
class NetAddr {
 public:
  virtual ~NetAddr();

  // The text that the C library's inet_ntop() gives the address; the types with
  // a prefix length append "/" and the length, in decimal as it is stored.
  virtual std::string to_string() const = 0;

 protected:
  NetAddr() = default;
  NetAddr(const NetAddr&) = default;
  NetAddr(NetAddr&&) = default;
  NetAddr& operator=(const NetAddr&) = default;
  NetAddr& operator=(NetAddr&&) = default;
};

// Prints to_string().
std::ostream& operator<<(std::ostream& out, const NetAddr& address);

}  // namespace nettypes

#endif  // NETTYPES_NET_ADDR_H_
