#include "src/lib/internal/address_text.h"

#include <arpa/inet.h>

#include <boost/asio/ip/address_v4.hpp>

namespace ip_application::config_valid::internal {

nettypes::IPv4Addr ParseIpv4(const std::string& dotted) {
  nettypes::IPv4Addr address;
  address.set_addr(htonl(boost::asio::ip::make_address_v4(dotted).to_uint()));
  return address;
}

}  // namespace ip_application::config_valid::internal
