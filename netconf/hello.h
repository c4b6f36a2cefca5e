// The hello of a NETCONF client (RFC 6241, section 8.1).
#ifndef IPAV_NETCONF_HELLO_H_
#define IPAV_NETCONF_HELLO_H_

#include <stdexcept>
#include <string>
#include <string_view>

#include "netconf/framing.h"

namespace ipav::netconf {

class HelloError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Returns the framing of everything after the hello of a client. Throws
// HelloError when it is not a client's hello, or has no NETCONF version that
// this program supports.
Framing FramingAfter(std::string_view hello);

// The hello that a client of NETCONF 1.1 sends.
std::string ClientHello();

}  // namespace ipav::netconf

#endif  // IPAV_NETCONF_HELLO_H_
