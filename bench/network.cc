#include "bench/network.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace ipav::bench {

namespace {

// A permutation of the numbers below 2^18.
std::uint32_t Scattered(std::uint32_t number) {
  return (number * 2654435761U) & 0x3ffffU;
}

// Appends an address of the network of that number.
void AddAddress(int family, std::uint32_t number, std::uint8_t host,
                Interface* interface) {
  const std::uint32_t network = Scattered(number);
  if (family == 4) {
    interface->ipv4.emplace_back(0x0a000000U + (network << 8U) + host, 24);
    return;
  }
  const std::uint32_t words[] = {htonl(0x20010db8U), htonl(network), 0,
                                 htonl(host)};
  in6_addr octets{};
  std::memcpy(&octets, words, sizeof(words));
  auto& mask = interface->ipv6.emplace_back();
  mask.set_addr(octets);
  mask.set_prefix_len(64);
}

// The first of the two interfaces in conflict, and the other one.
struct Pair {
  int first;
  int second;
};

Pair ConflictOf(const Network& network, int l3s) {
  switch (network.conflict) {
    case Conflict::kNone:
      break;
    case Conflict::kStart:
      return {0, 1};
    case Conflict::kMiddle:
      return {l3s / 2, l3s / 2 + 1};
    case Conflict::kEnd:
      return {l3s - 2, l3s - 1};
    case Conflict::kOtherKind:
      return {l3s - 1, network.interfaces - 1};
  }
  return {-1, -1};
}

}  // namespace

Records RecordsOf(const Network& network) {
  const int l3s = network.interfaces - std::max(1, network.interfaces / 8);
  const Pair conflict = ConflictOf(network, l3s);
  Records records;
  for (int i = 0; i < network.interfaces; ++i) {
    const bool is_l3 = i < l3s;
    Interface interface;
    interface.name = is_l3 ? "l3 port-" + std::to_string(i)
                           : "loopback " + std::to_string(i - l3s);
    // Neighbours are in one VRF; so are the two in conflict.
    const int vrf = i / 2 % network.vrfs;
    const bool is_global =
        vrf == 0 || i == conflict.first || i == conflict.second;
    interface.vrf_name = is_global ? "global" : "tenant-" + std::to_string(vrf);
    for (int k = 0; k < kAddressesEach; ++k) {
      const bool is_shared = i == conflict.second && k == kAddressesEach - 1;
      const int owner = is_shared ? conflict.first : i;
      AddAddress(network.family,
                 static_cast<std::uint32_t>(owner * kAddressesEach + k),
                 is_shared ? 2 : 1, &interface);
    }
    (is_l3 ? records.l3 : records.loopback).push_back(interface);
  }
  return records;
}

}  // namespace ipav::bench
