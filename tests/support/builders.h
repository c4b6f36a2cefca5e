// Builders of inputs: key paths, and valid configurations in which a test
// changes one member.
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

// A key path, written from the root and stored leaf first. The pointer of get()
// is valid until the object is changed, copied or destroyed.
class KeyPath {
 public:
  KeyPath& Node(const std::string& name) { return Element({Tag(TagOf(name))}); }
  KeyPath& Keys(std::vector<Value> keys) { return Element(std::move(keys)); }
  KeyPath& Key(Value key) { return Element({std::move(key)}); }

  // Appends an element of any type, also one that the daemon never puts there.
  KeyPath& Element(std::vector<Value> row);

  // Replaces the element at the index v[index] of the stored path.
  KeyPath& Replace(std::size_t index, Value value);

  confd_hkeypath_t* get();
  std::string text() const;  // as a path text

 private:
  std::vector<std::vector<Value>> rows_;  // root first
  confd_hkeypath_t stored_{};
};

// The router-advertisement timers of one interface. Both rules accept the
// defaults.
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

// One interface. Every rule accepts the defaults.
struct InterfaceData {
  std::string kind = "l3";
  std::string name = "core1";
  std::optional<std::string> vrf;
  std::optional<std::int32_t> vlan;
  std::optional<std::string> ipv4 = "10.1.1.1/24";  // not of a loopback
  std::vector<std::string> ipv4_list;  // all of a loopback, secondaries of l3
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

// One row of the routing stack's table of OSPFv2 interface addresses. By
// default the address of the default interface, in the default process.
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

// The OSPFv2 process and the VRF that a compound identifier stands for.
struct OspfProcess {
  std::uint32_t compound_id = 7;
  std::optional<std::uint32_t> proc_id = 10;
  std::optional<std::string> vrf_name = "global";

  std::string proc_id_path() const;
  std::string vrf_name_path() const;
  void StoreIn(FakePlatform& platform) const;
};

// One row of the routing stack's table of OSPFv3 interfaces. By default the
// default interface on VLAN 10, which has the index 1010 on the fake platform.
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

// Parses "l3 core1 vrf red vlan 7 10.1.1.1/24 2001:db8::1/64". An interface
// without an address in the line has none.
InterfaceData InterfaceFrom(const std::string& line);

// Parses "1 10.1.0.0/16 via 10.0.0.1 by eth1": identifier of the VRF, prefix,
// next hop, and the output interface, if any.
StaticRouteRow RouteFrom(const std::string& line);

// Parses "7 l3-core1 10.1.1.1/24 0.0.0.2": compound identifier, interface,
// address, and the area if it is not 0.0.0.1. The length "-" means none.
OspfRow OspfRowFrom(const std::string& line);

// Parses "7 10 red": compound identifier, process number and VRF; "-" means
// none.
OspfProcess OspfProcessFrom(const std::string& line);

// Stores each of these lines. It begins with "route", "ospf" or "process", or
// is an interface.
void StoreLines(FakePlatform& platform, const std::vector<std::string>& lines);

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_BUILDERS_H_
