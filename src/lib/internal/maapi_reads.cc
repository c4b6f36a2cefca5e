#include "src/lib/internal/maapi_reads.h"

namespace ip_application::config_valid::internal {

namespace {

// The differences between the families.
struct Ipv4Reads {
  using Prefix = confd_ipv4_prefix;
  static constexpr auto kGet = maapi_get_ipv4_and_plen_elem;
  static const auto& AddressOf(const Prefix& prefix) {
    return prefix.ip.s_addr;
  }
};
struct Ipv6Reads {
  using Prefix = confd_ipv6_prefix;
  static constexpr auto kGet = maapi_get_ipv6_and_plen_elem;
  static const auto& AddressOf(const Prefix& prefix) { return prefix.ip6; }
};

template <typename Reads, typename Mask>
Mask ReadMask(int sock, int thandle, const std::string& path) {
  Mask mask;
  if (maapi_exists(sock, thandle, "%s", path.c_str()) != 1) return mask;

  typename Reads::Prefix prefix{};
  if (Reads::kGet(sock, thandle, &prefix, "%s", path.c_str()) == CONFD_OK) {
    mask.set_addr(Reads::AddressOf(prefix));
    mask.set_prefix_len(prefix.len);
  }
  return mask;
}

}  // namespace

nettypes::IPv4AddrMask ReadIpv4Mask(int sock, int thandle,
                                    const std::string& path) {
  return ReadMask<Ipv4Reads, nettypes::IPv4AddrMask>(sock, thandle, path);
}

nettypes::IPv6AddrMask ReadIpv6Mask(int sock, int thandle,
                                    const std::string& path) {
  return ReadMask<Ipv6Reads, nettypes::IPv6AddrMask>(sock, thandle, path);
}

}  // namespace ip_application::config_valid::internal
