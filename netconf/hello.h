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

// The framing of all that follows, from what the client can. Throws HelloError
// for what is no hello of a client, or has no version in common with us.
Framing FramingAfter(std::string_view hello);

// A hello of a client of NETCONF 1.1.
std::string ClientHello();

}  // namespace ipav::netconf

#endif  // IPAV_NETCONF_HELLO_H_
