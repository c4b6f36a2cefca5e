// A configuration as one transaction shows it, described without types of the
// plug-in or the platform.
#ifndef IPAV_TESTS_MODEL_CONFIGURATION_H_
#define IPAV_TESTS_MODEL_CONFIGURATION_H_

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace ipav::model {

// ---- Values ----------------------------------------------------------------

using Octets = std::vector<std::uint8_t>;  // in network order

struct Prefix {
  Octets address;
  std::int32_t length = 0;
};

bool operator==(const Prefix& a, const Prefix& b);

// "10.0.0.1", "10.0.0.1/24", of either family. The first two throw on any other
// text.
Octets AddressOf(const std::string& text);
Prefix PrefixOf(const std::string& text);
std::string AddressText(const Octets& address);
std::string PrefixText(const Prefix& prefix);

bool IsZero(const Octets& address);

// Does not exist, exists but cannot be read (no value), or has a value.
template <typename T>
struct Leaf {
  bool exists = false;
  std::optional<T> value;
};

// The place of a node, from the root: the names of nodes, and for each list
// entry its first key.
struct PathElement {
  std::string text;
  bool is_key = false;
};
using Place = std::vector<PathElement>;

// "/config/interface/l3{1}/vrf". No name or key has a slash or a brace.
Place PlaceOf(const std::string& text);
std::string PlaceText(const Place& place);

// Whether a path can contain the key. Nothing can be read below another key.
bool IsAddressable(const std::string& key);

// ---- Interfaces ------------------------------------------------------------

struct AddressEntry {
  std::string key;
  std::optional<Prefix> ip;
};

struct RaTimers {
  Leaf<std::uint16_t> max_interval;
  Leaf<std::uint16_t> min_interval;
  Leaf<std::uint16_t> lifetime;
};

struct InterfaceEntry {
  std::string key;
  Leaf<std::string> vrf;
  std::optional<std::int32_t> vlan;  // of an l3
  std::optional<Prefix> primary;     // of an l3 or mgmt
  std::vector<AddressEntry> ipv4;    // of an l3 only secondaries
  std::vector<AddressEntry> ipv6;
  RaTimers timers;  // of an l3 or mgmt
};

// VLAN of an l3 interface in the running configuration.
struct RunningVlan {
  std::string key;
  std::int32_t vlan = 0;
};

// ---- Static routes ---------------------------------------------------------

struct RouteRow {
  std::uint32_t vrf = 0;
  std::int32_t type = 1;
  Octets destination;
  std::int32_t length = 0;
  Octets next_hop;
  unsigned times = 1;  // number of such rows
};

// Output interface of the routes with these values.
struct OutputRow {
  std::uint32_t vrf = 0;
  Octets destination;
  std::int32_t length = 0;
  Octets next_hop;
  std::string interface_name;
};

struct VrfIndexRow {
  std::uint32_t index = 0;
  Leaf<std::string> name;
};

// ---- OSPF ------------------------------------------------------------------

// One address of an interface in an OSPFv2 process. The keys are texts, as the
// table may hold some that are not what they should be.
struct Ospfv2Row {
  std::string compound_id;
  std::string area;
  std::string interface_key;  // "l3-1"
  std::string address;
  std::optional<std::uint8_t> netmask;
};

struct ProcessRow {
  std::uint32_t compound_id = 0;
  std::optional<std::uint32_t> process_id;
  std::optional<std::string> vrf;
};

struct Ospfv3Row {
  std::uint32_t router = 0;
  Octets area;
  std::string interface_key;
  std::optional<std::uint32_t> if_index;
  std::optional<std::string> if_name;  // "l3-1"
};

// ---- The whole -------------------------------------------------------------

enum class Operation : std::uint8_t {
  kCreated,
  kDeleted,
  kModified,
  kValueSet,
};

// What the transaction does to one node.
struct Change {
  Place node;
  Operation operation = Operation::kValueSet;
  std::optional<std::string> new_value;
};

// What one transaction shows. Keys are unique within their list.
struct Configuration {
  std::vector<InterfaceEntry> l3;
  std::vector<InterfaceEntry> loopback;
  std::vector<InterfaceEntry> mgmt;
  std::vector<RunningVlan> running;
  std::vector<RouteRow> routes;
  std::vector<OutputRow> outputs;
  std::vector<VrfIndexRow> vrfs;
  std::vector<Ospfv2Row> ospfv2;
  std::vector<ProcessRow> processes;
  std::vector<Ospfv3Row> ospfv3;
  std::vector<Change> changes;  // in the order in which they are reported
};

// For the report of a counterexample.
std::ostream& operator<<(std::ostream& out, const Configuration& configuration);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_CONFIGURATION_H_
