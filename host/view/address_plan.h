// The addresses of a configuration by address space, for a picture or a table:
// nesting of blocks, new addresses and conflicts.
#ifndef IPAV_HOST_VIEW_ADDRESS_PLAN_H_
#define IPAV_HOST_VIEW_ADDRESS_PLAN_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "nettypes/network.h"

namespace ipav::view {

enum class Family : std::uint8_t { kIpv4, kIpv6 };

// A block of addresses. Of two blocks, one contains the other, or they have no
// address in common.
struct Network {
  Family family = Family::kIpv4;
  nettypes::Network block;
};

bool operator==(const Network& a, const Network& b);
// IPv4 first, then by first address; a block comes before all that it contains.
bool operator<(const Network& a, const Network& b);

bool Contains(const Network& outer, const Network& inner);

// The smallest block that contains both; they must be of one family.
Network CoverOf(const Network& a, const Network& b);

// "10.1.0.0/16"
std::string TextOf(const Network& network);

// The block of an "address/length" of either family; none for any other text.
std::optional<Network> ParseNetwork(const std::string& text);

// An address of an interface.
struct Prefix {
  Network network;
  std::string text;       // the address with its length: "10.1.1.1/24"
  std::string interface;  // kind and name: "l3 core1"
  std::string vrf;        // "global" if the interface names none
  std::string path;       // of the leaf, or of its list entry if it is a key

  // Compared with the running configuration. A removed prefix overlaps with
  // nothing; `before` is the old value of a changed one.
  datastore::Novelty novelty = datastore::Novelty::kUnchanged;
  std::string before;

  // Indices of prefixes of its space that are in conflict with it: the smallest
  // one that contains it, and those for which it is the smallest one.
  // Overlapping prefixes are in conflict when they are on two interfaces, or
  // have the same address.
  std::vector<std::size_t> overlaps;
  std::vector<std::size_t> findings;  // that name it, by number from 0

  bool InConflict() const { return !overlaps.empty() || !findings.empty(); }
};

// Addresses that must not overlap: see nettypes::AddressSpaceOf().
struct Space {
  std::string name;              // "VRF guest"
  std::vector<Prefix> prefixes;  // by network, then by interface
};

struct AddressPlan {
  std::vector<Space> spaces;  // the space of global first, then by name
};

// The plan of the candidate, including removed addresses. `findings` has, for
// each finding, the data paths of the nodes that it names. A finding names an
// address if it names the leaf or its list entry.
AddressPlan PlanOf(const datastore::DataTree& running,
                   const datastore::DataTree& candidate,
                   const std::vector<std::vector<std::string>>& findings);

}  // namespace ipav::view

#endif  // IPAV_HOST_VIEW_ADDRESS_PLAN_H_
