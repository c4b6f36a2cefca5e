#include "bench/network.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "bench/platform.h"
#include "include/validate.h"

namespace ipav::bench {

namespace {

constexpr std::uint32_t kL3Tag = 0x213f1a7a;
constexpr char kRouteTable[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr char kOspfTable[] = "/internal/ospf-interface-l3";
constexpr std::uint32_t kOspfProcess = 7;

// A permutation of the numbers below 2^18.
std::uint32_t Scattered(std::uint32_t number) {
  return (number * 2654435761U) & 0x3ffffU;
}

// A host in the network with that number.
confd_value_t Address(int family, std::uint32_t number, std::uint8_t host) {
  confd_value_t value{};
  const std::uint32_t network = Scattered(number);
  if (family == 4) {
    value.type = C_IPV4_AND_PLEN;
    value.val.ipv4prefix.ip.s_addr =
        htonl(0x0a000000U + (network << 8U) + host);
    value.val.ipv4prefix.len = 24;
    return value;
  }
  value.type = C_IPV6_AND_PLEN;
  const std::uint32_t words[] = {htonl(0x20010db8U), htonl(network), 0,
                                 htonl(host)};
  std::memcpy(&value.val.ipv6prefix.ip6, words, sizeof(words));
  value.val.ipv6prefix.len = 64;
  return value;
}

std::string AddressText(const confd_value_t& value) {
  char text[INET6_ADDRSTRLEN] = "";
  if (value.type == C_IPV4_AND_PLEN) {
    return inet_ntop(AF_INET, &value.val.ipv4prefix.ip, text, sizeof(text));
  }
  return inet_ntop(AF_INET6, &value.val.ipv6prefix.ip6, text, sizeof(text));
}

class Builder {
 public:
  explicit Builder(const Network& network)
      : network_(network),
        loopbacks_(std::max(1, network.interfaces / 8)),
        l3s_(network.interfaces - loopbacks_) {}

  void Store() {
    for (int i = 0; i < l3s_; ++i) StoreL3(i);
    for (int i = 0; i < loopbacks_; ++i) StoreLoopback(i);
    for (int i = 0; i < network_.routes; ++i) StoreRoute(i);
    if (network_.in_ospf) StoreOspf();
  }

 private:
  // The l3 interface that shares a network with the next interface.
  int ConflictAt() const {
    switch (network_.conflict) {
      case Conflict::kStart:
        return 0;
      case Conflict::kMiddle:
        return l3s_ / 2;
      case Conflict::kEnd:
        return l3s_ - 2;
      default:
        return -2;
    }
  }

  confd_value_t AddressOf(int interface, int k) const {
    const bool is_last = k == kAddressesEach - 1;
    if (is_last && interface >= 1 && interface - 1 == ConflictAt()) {
      return Address(network_.family, Number(interface - 1, k), 2);
    }
    if (is_last && network_.conflict == Conflict::kOtherKind &&
        interface == network_.interfaces - 1) {
      return Address(network_.family, Number(l3s_ - 1, k), 2);
    }
    return Address(network_.family, Number(interface, k), 1);
  }

  static std::uint32_t Number(int interface, int k) {
    return static_cast<std::uint32_t>(interface * kAddressesEach + k);
  }

  // An interface and the next one are in one VRF, so that they can be in
  // conflict.
  void StoreVrf(const std::string& entry, int interface) const {
    const int vrf = interface / 2 % network_.vrfs;
    const bool in_conflict =
        network_.conflict != Conflict::kNone &&
        (interface == ConflictAt() || interface == ConflictAt() + 1 ||
         interface == l3s_ - 1 || interface == network_.interfaces - 1);
    if (vrf == 0 || in_conflict) return;
    ThePlatform().SetLeaf(entry + "/vrf",
                          TextValue("tenant-" + std::to_string(vrf)));
  }

  void StoreList(const std::string& list, int interface, int first) const {
    for (int k = first; k < kAddressesEach; ++k) {
      const confd_value_t address = AddressOf(interface, k);
      const std::string key = AddressText(address);
      ThePlatform().AddRow(list, {TextValue(key)});
      std::string leaf = list;
      leaf.append("{").append(key).append("}/ip");
      ThePlatform().SetLeaf(leaf, address);
    }
  }

  void StoreL3(int i) const {
    const std::string list = "/config/interface/ipapp:l3";
    const std::string key = "port-" + std::to_string(i);
    const std::string entry = list + "{" + key + "}";
    ThePlatform().AddRow(list, {TextValue(key)});
    if (network_.family == 4) {
      ThePlatform().SetLeaf(entry + "/ipv4/address/ip", AddressOf(i, 0));
      StoreList(entry + "/ipv4/address/secondary", i, 1);
    } else {
      StoreList(entry + "/ipv6/address", i, 0);
    }
    ThePlatform().SetLeaf(entry + "/lower-layer-if/vlan", Int32Value(i + 1));
    StoreVrf(entry, i);
  }

  void StoreLoopback(int i) const {
    const std::string list = "/config/interface/ipapp:loopback";
    const std::string key = std::to_string(i);
    const std::string entry = list + "{" + key + "}";
    const std::string family = std::to_string(network_.family);
    ThePlatform().AddRow(list, {TextValue(key)});
    StoreList(entry + "/ipv" + family + "/address", l3s_ + i, 0);
    StoreVrf(entry, l3s_ + i);
  }

  static void StoreRoute(int i) {
    const auto number = static_cast<std::uint32_t>(i);
    const std::uint32_t network = htonl(0xac000000U + (number << 4U));
    const std::uint32_t next_hop = htonl(0xc0000000U + number);
    const auto octets = [](const std::uint32_t& address) {
      return std::string(reinterpret_cast<const char*>(&address), 4);
    };
    ThePlatform().AddRow(
        kRouteTable,
        {Uint32Value(0), EnumValue(1), OctetsValue(octets(network)),
         Int32Value(28), EnumValue(1), OctetsValue(octets(next_hop))});
  }

  void StoreOspf() const {
    const std::string process = std::to_string(kOspfProcess);
    const std::string entry = "/internal/ospf-index-to-proc-id{" + process;
    ThePlatform().SetLeaf(entry + "}/proc_id", Uint32Value(1));
    ThePlatform().SetLeaf(entry + "}/vrf_name", TextValue("global"));
    for (int i = 0; i < l3s_; ++i) {
      for (int k = 0; k < kAddressesEach; ++k) {
        StoreOspfRow(process, "l3-port-" + std::to_string(i), AddressOf(i, k));
      }
    }
  }

  static void StoreOspfRow(const std::string& process, const std::string& name,
                           const confd_value_t& mask) {
    const std::string address = AddressText(mask);
    ThePlatform().AddRow(kOspfTable,
                         {Uint32Value(kOspfProcess), TextValue("0.0.0.1"),
                          TextValue(name), TextValue(address)});
    confd_value_t length{};
    length.type = C_UINT8;
    length.val.u8 = mask.val.ipv4prefix.len;
    ThePlatform().SetLeaf(std::string(kOspfTable) + "{" + process +
                              " 0.0.0.1 " + name + " " + address +
                              "}/ospf-pm-ip-netmask",
                          length);
  }

  const Network& network_;
  int loopbacks_;
  int l3s_;
};

}  // namespace

void Store(const Network& network) {
  ThePlatform().Clear();
  Builder(network).Store();
}

Life::Life() { lib_init(&context_); }

Life::~Life() { lib_finish(&context_); }

ip_application::config_valid::Config& Life::config() {
  return *static_cast<ip_application::config_valid::Config*>(context_);
}

int Life::Validate(const std::string& point) {
  ThePlatform().set_context(context_);
  std::string opaque = point;
  confd_trans_ctx tctx{};
  tctx.validate_opaque = opaque.data();
  confd_hkeypath_t keypath{};
  keypath.len = 1;
  keypath.v[0][0].type = C_XMLTAG;
  keypath.v[0][0].val.xmltag.tag = kL3Tag;
  confd_value_t newval{};
  newval.type = C_NOEXISTS;
  return validate(&tctx, &keypath, &newval);
}

}  // namespace ipav::bench
