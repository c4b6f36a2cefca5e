// Addresses from texts.
#ifndef IPAV_SRC_LIB_INTERNAL_ADDRESS_TEXT_H_
#define IPAV_SRC_LIB_INTERNAL_ADDRESS_TEXT_H_

#include <string>

#include "nettypes/ipv4.h"

namespace ip_application::config_valid::internal {

// The address of a dotted text, four decimal numbers as inet_pton(3) takes
// them. Throws boost::system::system_error for any other text.
nettypes::IPv4Addr ParseIpv4(const std::string& dotted);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_ADDRESS_TEXT_H_
