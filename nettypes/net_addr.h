// Base class of the address types. Code that only prints an address takes a
// `const NetAddr&`.
#ifndef NETTYPES_NET_ADDR_H_
#define NETTYPES_NET_ADDR_H_

#include <iosfwd>
#include <string>

namespace nettypes {

// Copy and move are protected, so that an address cannot be sliced.
class NetAddr {
 public:
  virtual ~NetAddr();

  // The address as inet_ntop(3) writes it. The types with a prefix length
  // append "/" and the stored length in decimal.
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
