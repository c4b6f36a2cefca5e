// Inputs of validation calls: key paths, and valid configurations of which a
// test changes one thing.
#ifndef IPAV_TESTS_SUPPORT_BUILDERS_H_
#define IPAV_TESTS_SUPPORT_BUILDERS_H_

#include <confd_lib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/value.h"

namespace ipav::testing {

class FakePlatform;

// A key path, written from the root and stored leaf first. The pointer of
// get() is good until the object is changed, copied or destroyed.
class KeyPath {
 public:
  KeyPath& Node(const std::string& name) { return Element({Tag(TagOf(name))}); }
  KeyPath& Keys(std::vector<Value> keys) { return Element(std::move(keys)); }
  KeyPath& Key(Value key) { return Element({std::move(key)}); }

  // One element of any kind, also of a kind that the daemon never makes there.
  KeyPath& Element(std::vector<Value> row);

  // Replaces the element at the index v[index] of the stored path.
  KeyPath& Replace(std::size_t index, Value value);

  confd_hkeypath_t* get();
  std::string text() const;  // as a path text

 private:
  std::vector<std::vector<Value>> rows_;  // root first
  confd_hkeypath_t stored_{};
};

// The router-advertisement timers of one interface: what both rules accept.
struct RaConfig {
  std::string kind = "l3";
  std::string name = "core1";
  std::optional<std::uint16_t> max_interval = 600;
  std::optional<std::uint16_t> min_interval = 200;
  std::optional<std::uint16_t> lifetime = 1800;

  std::string container() const;  // path text, ends in a slash
  KeyPath keypath() const;        // of the validation point
  void StoreIn(FakePlatform& platform) const;
};

// One interface that every rule accepts.
struct InterfaceData {
  std::string kind = "l3";
  std::string name = "core1";
  std::optional<std::string> vrf;
  std::optional<std::int32_t> vlan;
  std::optional<std::string> ipv4 = "10.1.1.1/24";  // not of a loopback
  std::vector<std::string> ipv4_list;  // a loopback's all, an l3's secondaries
  std::vector<std::string> ipv6;

  std::string entry() const;      // path text, ends in a brace
  std::string ipv4_path() const;  // of the list
  std::string ipv6_path() const;
  void StoreIn(FakePlatform& platform) const;
};

// One row of the static-route table, and of the list that names its output
// interface. The family is that of the destination.
struct StaticRouteRow {
  std::uint32_t vrf_id = 0;
  std::string destination = "10.1.0.0";
  std::int32_t prefix_len = 24;
  std::string next_hop = "192.168.1.1";
  std::optional<std::string> interface_name;

  std::vector<Value> keys() const;          // of the table
  std::string interface_name_path() const;  // as a text without extra blanks
  void AddNameEntry(FakePlatform& platform) const;  // without its name
  void StoreIn(FakePlatform& platform) const;
};

void StoreVrfName(FakePlatform& platform, std::uint32_t index,
                  const std::string& name);

// One row of the routing side's table of OSPFv2 interface addresses: by
// default that OSPFv2 knows the address of the default interface, in the
// default process.
struct OspfRow {
  std::uint32_t compound_id = 7;
  std::string area = "0.0.0.1";
  std::string interface = "l3-core1";
  std::string address = "10.1.1.1";
  std::optional<std::uint8_t> prefix_len = 24;

  std::vector<Value> keys() const;
  std::string prefix_len_path() const;
  void StoreIn(FakePlatform& platform) const;
};

// What a compound identifier stands for: an OSPFv2 process in a VRF.
struct OspfProcess {
  std::uint32_t compound_id = 7;
  std::optional<std::uint32_t> proc_id = 10;
  std::optional<std::string> vrf_name = "global";

  std::string proc_id_path() const;
  std::string vrf_name_path() const;
  void StoreIn(FakePlatform& platform) const;
};

// One row of the routing side's table of OSPFv3 interfaces: by default that the
// default interface is on VLAN 10, whose index the fake platform makes 1010.
struct Ospfv3Row {
  std::uint32_t router = 1;
  std::string area = "0.0.0.1";
  std::string interface = "l3-core1";
  std::optional<std::uint32_t> if_index = 1010;
  std::optional<std::string> if_name = "l3-core1";

  std::vector<Value> keys() const;
  std::string entry() const;  // path text, ends in a brace
  std::string if_index_path() const;
  void StoreIn(FakePlatform& platform) const;
};

// ---- One line of text for each ----------------------------------------------

// Such as "l3 core1 vrf red vlan 7 10.1.1.1/24 2001:db8::1/64"; without an
// address it has none.
InterfaceData InterfaceFrom(const std::string& line);

// Such as "1 10.1.0.0/16 via 10.0.0.1 by eth1": the identifier of its VRF, its
// prefix, its next hop, and the name of its output interface, if any.
StaticRouteRow RouteFrom(const std::string& line);

// Such as "7 l3-core1 10.1.1.1/24 0.0.0.2": its compound identifier, its
// interface and address, and its area where that is not 0.0.0.1. The length of
// a row without one is "-".
OspfRow OspfRowFrom(const std::string& line);

// Such as "7 10 red": its compound identifier, its number and its VRF. What it
// does not have is "-".
OspfProcess OspfProcessFrom(const std::string& line);

// Each of these lines behind the word "route", "ospf" or "process"; an
// interface needs none.
void StoreLines(FakePlatform& platform, const std::vector<std::string>& lines);

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_BUILDERS_H_
