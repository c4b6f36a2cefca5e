#include "include/generic_config.h"

#include <confd_maapi.h>
#include <hostmw/fault.h>
#include <ids/vrf_id.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "src/lib/internal/assertion.h"
#include "src/lib/internal/joined.h"
#include "src/lib/internal/maapi_owners.h"
#include "src/lib/internal/maapi_reads.h"

namespace ip_application::config_valid {

namespace {

using internal::ElemValue;
using internal::kConfigSource;
using internal::RequireType;

// Size of a printed key, including the NUL.
constexpr std::size_t kKeyTextSize = 256;

constexpr char kGlobalVrf[] = "global";

constexpr internal::AssertionSite kIpv4PrefixIsInt32 = {
    "(&prefix)->type == C_INT32", kConfigSource, 225,
    "nettypes::IPv4AddrMask ip_application::config_valid::GenericConfig::"
    "get_ipv4_addr_mask(const confd_value_t&, const confd_value_t&) const"};
constexpr internal::AssertionSite kIpv6PrefixIsInt32 = {
    "(&prefix)->type == C_INT32", kConfigSource, 243,
    "nettypes::IPv6AddrMask ip_application::config_valid::GenericConfig::"
    "get_ipv6_addr_mask(const confd_value_t&, const confd_value_t&) const"};

// The octets of a C_BINARY in their order, cut or filled with zeros.
template <typename Address>
Address OctetsOf(const confd_value_t& value) {
  Address address{};
  const unsigned char* octets = CONFD_GET_BINARY_PTR(&value);
  const std::size_t size = CONFD_GET_BINARY_SIZE(&value);
  std::copy_n(octets, std::min(size, sizeof(address)),
              reinterpret_cast<unsigned char*>(&address));
  return address;
}

}  // namespace

void GenericConfig::ReadConfigIfNeeded(ConfigAddrFamily family) {
  const bool is_ipv4 = family == ConfigAddrFamily::kIpv4;
  const bool is_ipv6 = family == ConfigAddrFamily::kIpv6;
  if (!is_ipv4 && !is_ipv6) return;

  bool& read = is_ipv4 ? ipv4_read_ : ipv6_read_;
  if (read) return;

  ReadConfig(family);
  read = true;  // only now: a read that throws is repeated
}

nettypes::IPv4AddrMask GenericConfig::get_ipv4_addr_mask(
    const std::string& path) const {
  return internal::ReadIpv4Mask(sock_, trans_->thandle, path);
}

nettypes::IPv6AddrMask GenericConfig::get_ipv6_addr_mask(
    const std::string& path) const {
  return internal::ReadIpv6Mask(sock_, trans_->thandle, path);
}

limid_t GenericConfig::get_intf_lim_id(const std::string& path) const {
  if (maapi_exists(sock_, trans_->thandle, "%s", path.c_str()) != 1) return 0;

  ElemValue vlan;
  if (maapi_get_elem(sock_, trans_->thandle, vlan.get(), "%s", path.c_str()) !=
      CONFD_OK) {
    return 0;
  }
  RequireType(*vlan, C_INT32,
              {"(&confd_if_index)->type == C_INT32", kConfigSource, 264,
               "limid_t ip_application::config_valid::GenericConfig::"
               "get_intf_lim_id(const string&) const"});
  limid_t id = 0;
  // If the service has no identifier, it stays 0: no interface.
  static_cast<void>(
      limid_l3_vlan_from_components(&id, CONFD_GET_INT32(&*vlan)));
  return id;
}

std::string GenericConfig::get_vrf_name(const std::string& path) const {
  if (maapi_exists(sock_, trans_->thandle, "%s", path.c_str()) != 1) {
    return kGlobalVrf;
  }

  ElemValue name;
  if (maapi_get_elem(sock_, trans_->thandle, name.get(), "%s", path.c_str()) !=
      CONFD_OK) {
    return "";  // not "global": the interface has a VRF
  }
  RequireType(*name, C_BUF,
              {"(&l3_vrf_name)->type == C_BUF", kConfigSource, 282,
               "std::__cxx11::string ip_application::config_valid::"
               "GenericConfig::get_vrf_name(const string&) const"});
  return internal::TextOf(*name);
}

std::list<std::string> GenericConfig::get_key_list(
    const std::string& path) const {
  return internal::ReadFirstKeys<kKeyTextSize>(sock_, trans_->thandle, path);
}

std::list<std::vector<std::string>> GenericConfig::get_key_list(
    const std::string& path, unsigned int key_count) const {
  std::list<std::vector<std::string>> rows;
  internal::ForEachEntry(
      sock_, trans_->thandle, path, [&](const maapi_cursor& row) {
        std::vector<std::string>& keys = rows.emplace_back();
        for (unsigned int i = 0; i < key_count; ++i) {
          keys.emplace_back(internal::KeyText<kKeyTextSize>(row.keys[i]));
        }
      });
  return rows;
}

std::list<nettypes::IPv4AddrMask> GenericConfig::get_intf_ipv4_addr_mask_list(
    const std::string& path) const {
  return ReadMaskList(path, &GenericConfig::get_ipv4_addr_mask, "IPv4",
                      "get_intf_ipv4_addr_mask_list", 133);
}

std::list<nettypes::IPv6AddrMask> GenericConfig::get_intf_ipv6_addr_mask_list(
    const std::string& path) const {
  return ReadMaskList(path, &GenericConfig::get_ipv6_addr_mask, "IPv6",
                      "get_intf_ipv6_addr_mask_list", 208);
}

template <typename Mask>
std::list<Mask> GenericConfig::ReadMaskList(
    const std::string& path,
    Mask (GenericConfig::*read)(const std::string&) const, const char* family,
    const char* function, int line) const {
  std::list<Mask> masks;
  for (const std::string& key : get_key_list(path)) {
    const Mask mask = (this->*read)(internal::Joined({path, "{", key, "}/ip"}));
    if (mask.IsUnspecified()) {
      ReportUnspecified(family, key, function, line);
    } else {
      masks.push_back(mask);
    }
  }
  return masks;
}

void GenericConfig::ReportUnspecified(const char* family,
                                      const std::string& key,
                                      const char* function, int line) {
  char message[350];
  static_cast<void>(std::snprintf(message, sizeof(message),
                                  "Unspecified %s address for key '%s'", family,
                                  key.c_str()));
  hostmw_gen_fault(0, function, kConfigSource, line, message);
}

nettypes::IPv4Addr GenericConfig::get_ipv4_addr(
    const confd_value_t& value) const {
  nettypes::IPv4Addr address;
  if (value.type == C_BINARY) {
    address.set_addr(OctetsOf<in_addr_t>(value));
  }
  return address;
}

nettypes::IPv6Addr GenericConfig::get_ipv6_addr(
    const confd_value_t& value) const {
  nettypes::IPv6Addr address;
  if (value.type == C_BINARY) address.set_addr(OctetsOf<in6_addr>(value));
  return address;
}

nettypes::IPv4AddrMask GenericConfig::get_ipv4_addr_mask(
    const confd_value_t& addr, const confd_value_t& prefix) const {
  if (addr.type != C_BINARY || prefix.type != C_INT32) return {};
  RequireType(prefix, C_INT32, kIpv4PrefixIsInt32);
  return {get_ipv4_addr(addr).to_uint32(), CONFD_GET_INT32(&prefix)};
}

nettypes::IPv6AddrMask GenericConfig::get_ipv6_addr_mask(
    const confd_value_t& addr, const confd_value_t& prefix) const {
  if (addr.type != C_BINARY || prefix.type != C_INT32) return {};
  RequireType(prefix, C_INT32, kIpv6PrefixIsInt32);
  return {get_ipv6_addr(addr).addr(), CONFD_GET_INT32(&prefix)};
}

std::string GenericConfig::get_vrf_name_from_id(
    const confd_value_t& value) const {
  if (value.type != C_UINT32) return kGlobalVrf;

  const std::string path = internal::Joined(
      {"/vorplex-internal:internal/vorplex-internal:vrf-config/indexTOstring{",
       std::to_string(IdVrfFromComponent(CONFD_GET_UINT32(&value))),
       "}/vname"});
  // The path contains no conversion, so it can be the format.
  if (maapi_exists(sock_, trans_->thandle, path.c_str()) != 1) {
    return kGlobalVrf;
  }

  ElemValue name;
  if (maapi_get_elem(sock_, trans_->thandle, name.get(), path.c_str()) !=
      CONFD_OK) {
    return kGlobalVrf;
  }
  RequireType(*name, C_BUF,
              {"(&vrf)->type == C_BUF", kConfigSource, 303,
               "std::__cxx11::string ip_application::config_valid::"
               "GenericConfig::get_vrf_name_from_id(const confd_value_t&) "
               "const"});
  return internal::TextOf(*name);
}

std::string GenericConfig::get_hex_from_bin(const confd_value_t& value) const {
  std::string text;
  if (value.type != C_BINARY) return text;

  constexpr char kDigits[] = "0123456789abcdef";
  const unsigned char* octets = CONFD_GET_BINARY_PTR(&value);
  // At least one octet: the daemon ends every value with a NUL.
  const unsigned int count = std::max(CONFD_GET_BINARY_SIZE(&value), 1U);
  for (unsigned int i = 0; i < count; ++i) {
    if (i > 0) text += ':';
    text += kDigits[octets[i] >> 4];
    text += kDigits[octets[i] & 0x0f];
  }
  return text;
}

}  // namespace ip_application::config_valid
