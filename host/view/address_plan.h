// The addresses of a configuration by address space, as a picture or a table of
// them needs: what lies in what, what is new, what is in conflict.
#ifndef IPAV_HOST_VIEW_ADDRESS_PLAN_H_
#define IPAV_HOST_VIEW_ADDRESS_PLAN_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/novelty.h"

namespace ipav::view {

enum class Family : std::uint8_t { kIpv4, kIpv6 };

// Bits of an address.
constexpr unsigned WidthOf(Family family) {
  return family == Family::kIpv4 ? 32 : 128;
}

// In network order; IPv4 has the first four octets, the others are zero.
using AddressOctets = std::array<std::uint8_t, 16>;

// A block of addresses. Two of them are apart, or one lies in the other.
struct Network {
  Family family = Family::kIpv4;
  AddressOctets first{};  // host bits are zero
  unsigned length = 0;    // at most WidthOf(family)
};

bool operator==(const Network& a, const Network& b);
// IPv4 first, then by first address; what contains another comes before it.
bool operator<(const Network& a, const Network& b);

bool Contains(const Network& outer, const Network& inner);

// The smallest one that contains both; they are of one family.
Network CoverOf(const Network& a, const Network& b);

// "10.1.0.0/16".
std::string TextOf(const Network& network);

// An address of an interface.
struct Prefix {
  Network network;
  std::string text;       // the address with its length: "10.1.1.1/24"
  std::string interface;  // kind and name: "l3 core1"
  std::string vrf;        // "global" where the interface names none
  std::string path;       // of the leaf, or of the list entry that it is key of

  // Against the running configuration. A removed one is no longer there and
  // overlaps with nothing; of a changed one, `before` tells what it was.
  datastore::Novelty novelty = datastore::Novelty::kUnchanged;
  std::string before;

  // Which others of its space it may not stand beside: of those that contain
  // it, the nearest, and those whose nearest it is. Two prefixes are in
  // conflict when they are on two interfaces, or are one address on one.
  std::vector<std::size_t> overlaps;
  std::vector<std::size_t> findings;  // that name it, from 0

  bool InConflict() const { return !overlaps.empty() || !findings.empty(); }
};

// Addresses that must not overlap: those of one VRF. The VRFs global and mgmt
// share one.
struct Space {
  std::string name;              // "VRF guest"
  std::vector<Prefix> prefixes;  // by network, then by interface
};

struct AddressPlan {
  std::vector<Space> spaces;  // that of global first, the others by name
};

// The plan of the candidate, and what it removes. `findings` has, per finding,
// the data paths of the nodes that it names; an address is one of them when its
// leaf or its list entry is.
AddressPlan PlanOf(const datastore::DataTree& running,
                   const datastore::DataTree& candidate,
                   const std::vector<std::vector<std::string>>& findings);

}  // namespace ipav::view

#endif  // IPAV_HOST_VIEW_ADDRESS_PLAN_H_
