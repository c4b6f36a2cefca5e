// Parses addresses.
#ifndef IPAV_SRC_LIB_INTERNAL_ADDRESS_TEXT_H_
#define IPAV_SRC_LIB_INTERNAL_ADDRESS_TEXT_H_

#include <string>

#include "nettypes/ipv4.h"

namespace ip_application::config_valid::internal {

// Parses four decimal numbers with dots, as inet_pton(3) does. Throws
// boost::system::system_error for any other text.
nettypes::IPv4Addr ParseIpv4(const std::string& dotted);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_ADDRESS_TEXT_H_
