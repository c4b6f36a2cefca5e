// Compares the violations that FindEvery() lists with those that a plain model
// counts: each address, each pair of addresses, each route, each timer, in
// random small configurations with many faults.
//
// RC_PARAMS sets the number of cases and the seed ("max_success=1000 seed=1").

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <ids/limid.h>
#include <rapidcheck.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"
#include "planner/every.h"

namespace ipav::planner {
namespace {

using commit::Answer;
using commit::CallName;
using datastore::DataTree;
using datastore::Model;
using nlohmann::json;
using Texts = std::set<std::string>;

// ---- A configuration -------------------------------------------------------

// The last bits of an address of either family.
struct Address {
  unsigned number;
  unsigned host_bits;  // so many of them are not of the prefix

  std::string Host(int family) const {
    if (family == 4)
      return fmt::format("10.0.{}.{}", number / 256, number % 256);
    return number == 0 ? "2001:db8::" : fmt::format("2001:db8::{:x}", number);
  }
  unsigned Length(int family) const {
    return (family == 4 ? 32 : 128) - host_bits;
  }
  std::string Prefix(int family) const {
    return fmt::format("{}/{}", Host(family), Length(family));
  }
  std::string Octets(int family) const {
    const std::string end =
        fmt::format("{:02x}:{:02x}", number / 256, number % 256);
    if (family == 4) return "0a:00:" + end;
    return "20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:" + end;
  }
  bool operator<(const Address& other) const {
    return std::pair(number, host_bits) <
           std::pair(other.number, other.host_bits);
  }
};

// Hosts that overlap, network and broadcast addresses of IPv4.
const std::vector<Address> kPool = {{1, 8},   {2, 8},   {1, 16},
                                    {0, 8},   {255, 8}, {257, 8},
                                    {258, 7}, {513, 0}, {768, 1}};

struct Interface {
  std::string kind;
  std::string name;
  std::string vrf;
  std::map<int, std::vector<Address>> addresses;  // by family, primary first
  std::set<Address> ospfv2 = {};                  // what OSPFv2 knows
  std::set<unsigned> ospfv3 = {};                 // areas
  bool has_vlan = true;
  unsigned min_interval = 200;
  unsigned lifetime = 1800;

  std::string Text() const { return kind + " " + name; }
};

// A static route of IPv4 or IPv6 in the VRF global.
struct Route {
  int family;
  unsigned number;
  bool is_black_hole;
  Address next_hop;
  std::size_t output;  // an interface

  std::string Prefix() const {
    return family == 4
               ? fmt::format("172.{}.{}.0/24", 16 + number / 256, number % 256)
               : fmt::format("2001:db8:{}::/48", number + 1);
  }
  json Keys() const {
    const std::string zeros =
        family == 4 ? "00:00:00:00"
                    : "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00";
    return {{"rtmStaticRtFteIndex", 0},
            {"rtmStaticRtDest",
             family == 4 ? fmt::format("ac:{:02x}:{:02x}:00", 16 + number / 256,
                                       number % 256)
                         : fmt::format("20:01:0d:b8:00:{:02x}", number + 1) +
                               zeros.substr(2, 30)},
            {"rtmStaticRtDestPfxLen", family == 4 ? 24 : 48},
            {"rtmStaticRtNextHop",
             is_black_hole ? zeros : next_hop.Octets(family)}};
  }
};

struct Network {
  std::vector<Interface> interfaces;  // those of a kind together
  std::vector<Route> routes;
};

// What the running configuration has: nothing, everything but the IPv6
// addresses, or everything with another VLAN.
enum class Running : std::uint8_t { kNothing, kNoIpv6, kOtherVlan };

bool Chance(int times, int all) { return *rc::gen::inRange(0, all) < times; }

std::vector<Address> AnyAddresses(int most) {
  std::set<Address> all;
  for (int i = *rc::gen::inRange(0, most + 1); i > 0; --i) {
    all.insert(*rc::gen::elementOf(kPool));
  }
  return {all.begin(), all.end()};
}

Interface AnyInterface(const std::string& kind, std::size_t number) {
  Interface interface;
  interface.kind = kind;
  interface.name = fmt::format("if{}", number);
  interface.vrf = *rc::gen::weightedElement<std::string>(
      {{4, "global"}, {1, "red"}, {1, "mgmt"}});
  interface.addresses = {{4, AnyAddresses(kind == "mgmt" ? 1 : 2)},
                         {6, AnyAddresses(2)}};
  if (kind == "mgmt") return interface;
  if (Chance(1, 4)) interface.ospfv3 = {*rc::gen::inRange(0U, 2U), 2};
  if (kind != "l3") return interface;
  if (Chance(1, 6)) interface.name += *rc::gen::element('!', '%');
  std::set<std::string> hosts;
  for (const Address& row : AnyAddresses(Chance(1, 3) ? 3 : 0)) {
    if (hosts.insert(row.Host(4)).second) interface.ospfv2.insert(row);
  }
  interface.has_vlan = !Chance(1, 4);
  interface.min_interval = *rc::gen::element(200U, 600U);
  interface.lifetime = *rc::gen::element(600U, 1800U);
  return interface;
}

Network AnyNetwork() {
  Network network;
  for (std::size_t i = 0; i < 6; ++i) {
    network.interfaces.push_back(AnyInterface(i < 4    ? "l3"
                                              : i == 4 ? "loopback"
                                                       : "mgmt",
                                              i));
  }
  std::set<json> keys;
  for (int i = *rc::gen::inRange(0, 6); i > 0; --i) {
    const Route route{*rc::gen::element(4, 6), *rc::gen::inRange(0U, 2U),
                      Chance(1, 3), *rc::gen::elementOf(kPool),
                      *rc::gen::inRange<std::size_t>(0, 4)};
    if (keys.insert(route.Keys()).second) network.routes.push_back(route);
  }
  return network;
}

// ---- Its data --------------------------------------------------------------

// Interfaces in OSPFv3 had this VLAN.
constexpr int kOldVlan = 11;

std::uint32_t OldIfIndex() {
  limid_t limid = 0;
  std::uint32_t index = 0;
  static_cast<void>(limid_l3_vlan_from_components(&limid, kOldVlan));
  static_cast<void>(limid_to_ifindex(limid, &index));
  return index;
}

json JsonOf(const Interface& interface, int vlan, bool has_ipv6) {
  json data = {{"name", interface.name}, {"vrf", interface.vrf}};
  for (const auto& [family, addresses] : interface.addresses) {
    json list = json::array();
    for (const Address& address : addresses) {
      list.push_back({{"ip", address.Prefix(family)}});
    }
    if (family == 6) {
      if (has_ipv6) data["ipv6"]["address"] = list;
    } else if (interface.kind == "loopback") {
      data["ipv4"]["address"] = list;
    } else if (!list.empty()) {
      data["ipv4"]["address"] = list.front();
      list.erase(0);
      if (!list.empty()) data["ipv4"]["address"]["secondary"] = list;
    }
  }
  if (interface.kind != "l3") return data;
  if (vlan != 0) data["lower-layer-if"]["vlan"] = vlan;
  data["ipv6"]["nd"]["ra"] = {{"max-interval", 600},
                              {"min-interval", interface.min_interval},
                              {"lifetime", interface.lifetime}};
  return data;
}

json JsonOf(const Network& network, bool is_candidate, Running running) {
  json interfaces;
  json internal = {
      {"ospf-index-to-proc-id",
       {{{"compound-id", 10}, {"proc_id", 10}, {"vrf_name", "global"}}}},
      {"ospf-interface-l3", json::array()},
      {"ospfv3-interface-l3", json::array()}};
  for (const Interface& interface : network.interfaces) {
    const int vlan = !is_candidate && running == Running::kOtherVlan ? kOldVlan
                     : interface.has_vlan                            ? 10
                                                                     : 0;
    interfaces["ipapp:" + interface.kind].push_back(
        JsonOf(interface, vlan, is_candidate || running != Running::kNoIpv6));
    const std::string name = interface.kind + "-" + interface.name;
    for (const Address& known : interface.ospfv2) {
      internal["ospf-interface-l3"].push_back(
          {{"compound-id", 10},
           {"area", "0.0.0.0"},
           {"interface", name},
           {"address", known.Host(4)},
           {"ospf-pm-ip-netmask", known.Length(4)}});
    }
    for (const unsigned area : interface.ospfv3) {
      internal["ospfv3-interface-l3"].push_back(
          {{"router", 7},
           {"area", fmt::format("0.0.0.{}", area)},
           {"interface", name},
           {"ospfv3-pm-if-index", OldIfIndex()},
           {"ospfv3-pm-if-name", name}});
    }
  }
  json routes = json::array();
  json outputs = json::array();
  for (const Route& route : network.routes) {
    const std::string type = route.family == 4 ? "ipv4" : "ipv6";
    routes.push_back(route.Keys());
    routes.back()["rtmStaticRtDestType"] = type;
    routes.back()["rtmStaticRtNextHopType"] = type;
    outputs.push_back(route.Keys());
    outputs.back()["interface-name"] =
        "l3-" + network.interfaces.at(route.output).name;
  }
  return {{"vorplex-config:config", {{"interface", interfaces}}},
          {"vorplex-internal:internal", internal},
          {"DC-RTM-MIB:DC-RTM-MIB",
           {{"rtmStaticRtTable", {{"rtmStaticRtEntry", routes}}}}},
          {"DC-RTM-MIB:rtmStaticRtEntry-global", outputs}};
}

// ---- The plain model -------------------------------------------------------

bool IsNetwork(const Address& address) {
  return address.host_bits >= 2 &&
         address.number % (1U << address.host_bits) == 0;
}
bool IsBroadcast(const Address& address) {
  return address.host_bits >= 2 &&
         (address.number + 1) % (1U << address.host_bits) == 0;
}
// An address that its own point refuses hides what is tested after it.
bool IsHost(const Address& address, int family) {
  return family == 6 || (!IsNetwork(address) && !IsBroadcast(address));
}

bool DoOverlap(const Address& a, const Address& b) {
  const unsigned bits = std::max(a.host_bits, b.host_bits);
  return a.number >> bits == b.number >> bits;
}

void AddOverlaps(const Interface& a, const Interface& b, int family,
                 Texts* texts) {
  if (a.vrf != b.vrf && (a.vrf == "red" || b.vrf == "red")) return;
  const auto side = [&](const Interface& interface, const Address& address) {
    return fmt::format("{}{} ipv{} address {}", interface.Text(),
                       family == 4 ? " vrf " + interface.vrf : "", family,
                       address.Prefix(family));
  };
  for (const Address& mine : a.addresses.at(family)) {
    for (const Address& other : b.addresses.at(family)) {
      if (!IsHost(mine, family) || !DoOverlap(mine, other)) continue;
      texts->insert(side(a, mine) + " overlaps with " + side(b, other) + ".");
    }
  }
}

void AddNextHops(const Network& network, const Interface& interface, int family,
                 bool only_hosts, Texts* texts) {
  for (const Address& address : interface.addresses.at(family)) {
    for (const Route& route : network.routes) {
      if (interface.vrf != "global" || route.family != family ||
          route.is_black_hole || route.next_hop.number != address.number ||
          (only_hosts && !IsHost(address, family))) {
        continue;
      }
      texts->insert(fmt::format(
          "{} ipv{} address {} and static route {} next-hop {} cannot have "
          "address conflict.",
          interface.Text(), family, address.Prefix(family), route.Prefix(),
          address.Host(family)));
    }
  }
}

Texts AddressFaults(const Network& network, const std::string& kind,
                    int family) {
  Texts texts;
  const auto& all = network.interfaces;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].kind != kind) continue;
    std::map<unsigned, int> hosts;
    for (const Address& address : all[i].addresses.at(family)) {
      if (!IsHost(address, family)) {
        texts.insert(fmt::format(
            "{} ipv4 address {} cannot be configured as {} address.",
            all[i].Text(), address.Prefix(4),
            IsNetwork(address) ? "network" : "broadcast"));
      } else if (++hosts[address.number] == 2) {
        texts.insert(fmt::format("{} has duplicated IPv{} address {}",
                                 all[i].Text(), family, address.Host(family)));
      }
    }
    for (std::size_t j = 0; j < all.size(); ++j) {
      if (all[j].kind != kind || j > i) {
        AddOverlaps(all[i], all[j], family, &texts);
      }
    }
    AddNextHops(network, all[i], family, true, &texts);
  }
  return texts;
}

Texts RouteFaults(const Network& network, int family) {
  Texts texts;
  if (network.routes.size() > 1000) {
    texts.insert("The maximum number of available static routes was exceeded.");
  }
  for (const Interface& interface : network.interfaces) {
    AddNextHops(network, interface, family, false, &texts);
  }
  for (const Route& a : network.routes) {
    for (const Route& b : network.routes) {
      if (a.is_black_hole && !b.is_black_hole && a.family == family &&
          a.Prefix() == b.Prefix()) {
        texts.insert("Prefix " + a.Prefix() +
                     " cannot be black-hole and have next-hop at the same "
                     "time");
      }
    }
  }
  return texts;
}

Texts OutputFaults(const Network& network) {
  Texts texts;
  for (const Route& route : network.routes) {
    const Interface& output = network.interfaces.at(route.output);
    if (route.is_black_hole || output.has_vlan) continue;
    texts.insert(output.Text() +
                 " is being used by a static route. Lower-layer-if cannot be "
                 "removed from this interface");
  }
  return texts;
}

Texts OspfFaults(const Network& network) {
  Texts texts;
  const std::string process = " to router ospf 10 vrf global area 0 (0.0.0.0)";
  for (const Interface& interface : network.interfaces) {
    const auto& addresses = interface.addresses.at(4);
    const std::set<Address> has(addresses.begin(), addresses.end());
    bool knows_one = false;
    for (const Address& known : interface.ospfv2) {
      knows_one |= has.count(known) > 0;
      if (has.count(known) > 0) continue;
      texts.insert(known.Prefix(4) +
                   " cannot be modified nor deleted, it is assigned" + process);
    }
    // Without a row that stays, the interface is not in OSPFv2 any more.
    if (!knows_one) continue;
    for (const Address& address : has) {
      if (interface.ospfv2.count(address) > 0) continue;
      texts.insert(address.Prefix(4) +
                   " cannot be added after interface is assigned" + process);
    }
  }
  return texts;
}

Texts VrfFaults(const Network& network, const std::string& kind) {
  Texts texts = AddressFaults(network, kind, 4);
  for (const Interface& interface : network.interfaces) {
    if (!interface.ospfv2.empty() && interface.vrf != "global") {
      texts.insert(
          fmt::format("{} vrf {} and router ospf 10 vrf global cannot "
                      "be associated with divergent VRF",
                      interface.Text(), interface.vrf));
    }
    if (interface.kind == kind && !interface.ospfv3.empty()) {
      texts.insert(interface.Text() +
                   " is configured in OSPFv3 and cannot be associated with a "
                   "VRF");
    }
  }
  return texts;
}

Texts VlanFaults(const Network& network) {
  Texts texts;
  for (const Interface& interface : network.interfaces) {
    for (const unsigned area : interface.ospfv3) {
      texts.insert(fmt::format(
          "vlan {} cannot be changed, it is assigned to router ospfv3 7 area "
          "{} (0.0.0.{})",
          kOldVlan, area, area));
    }
  }
  return texts;
}

Texts NameFaults(const Network& network) {
  Texts texts;
  const std::size_t count = network.interfaces.size();
  if (count > 256) {
    texts.insert(fmt::format(
        "too many 'interface l3', {} configured, at most 256 must be "
        "configured",
        count));
  }
  for (const Interface& interface : network.interfaces) {
    if (interface.name.find_first_of("!%") == std::string::npos) continue;
    texts.insert("L3 interface name " + interface.name +
                 " contains invalid characters (allowed characters: 0-9, a-z, "
                 "A-Z, _, -)");
  }
  return texts;
}

Texts TimerFaults(const Network& network, const CallName& call) {
  for (const Interface& interface : network.interfaces) {
    if (call.second.find("{" + interface.name + "}") == std::string::npos) {
      continue;
    }
    if (call.first == "validate_ipv6_nd_ra_lifetime") {
      if (interface.lifetime > 600) return {};
      return {
          "Lifetime must be greater than maximum router advertisement "
          "interval"};
    }
    if (interface.min_interval <= 450) return {};
    return {"Minimum interval must be no greater than maximum interval * 0.75"};
  }
  return {"a path of no interface"};
}

// Calls that read the routes of IPv4. Those of IPv6 are judged only before.
const Texts kReaders = {"intf_vrf_validation", "ipv4_addr_validation",
                        "ipv4_addr_route_validation",
                        "static_route_l3_intf_validation"};

Texts FaultsOf(const Network& network, const CallName& call, Running running,
               bool has_read_ipv4) {
  const auto& [point, path] = call;
  const std::string kind = path.substr(path.rfind('/') + 1);
  if (point == "intf_l3_name_validation") return NameFaults(network);
  if (point == "intf_vrf_validation") return VrfFaults(network, kind);
  if (point == "ipv4_addr_validation") return AddressFaults(network, kind, 4);
  if (point == "ipv6_addr_validation") return AddressFaults(network, kind, 6);
  if (point == "ipv4_addr_route_validation") return RouteFaults(network, 4);
  if (point == "ipv6_addr_route_validation") {
    return RouteFaults(network, has_read_ipv4 ? 4 : 6);
  }
  if (point == "static_route_l3_intf_validation") return OutputFaults(network);
  if (point == "ipv4_addr_prot_cross_validation") return OspfFaults(network);
  if (point == "lower_layer_prot_cross_validation") {
    return running == Running::kOtherVlan ? VlanFaults(network) : Texts();
  }
  return TimerFaults(network, call);
}

// ---- The tests -------------------------------------------------------------

DataTree TreeOf(const json& data) {
  static const Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return DataTree::FromText(kModel, {"network", data.dump(), 0, LYD_JSON});
}

// What is wrong with the list of violations; empty if nothing is.
std::string FaultOfList(const Network& network, Running running) {
  const json data = JsonOf(network, true, running);
  const DataTree before =
      TreeOf(running == Running::kNothing ? json::object()
                                          : JsonOf(network, false, running));
  const DataTree candidate = TreeOf(data);
  const commit::Outcome outcome =
      commit::RunCommit(before, candidate, {IPAV_PLUGIN, true});
  const EveryFinding every =
      FindEvery({&before, "", nullptr}, {&candidate, "", nullptr}, outcome,
                {IPAV_PLUGIN, 10000});
  std::string fault = every.more;
  std::map<CallName, Texts> listed;
  for (const messages::Finding& finding : every.findings) {
    Texts& texts = listed[{finding.point, finding.path}];
    const bool is_behind = !texts.empty();
    if (finding.is_behind != is_behind || !texts.insert(finding.text).second ||
        finding.culprits.empty()) {
      fault += "\nwrong: " + finding.text;
    }
  }
  bool has_read_ipv4 = false;
  for (const Answer& answer : outcome.answers) {
    const CallName call(answer.opaque, answer.path);
    const Texts expected = FaultsOf(network, call, running, has_read_ipv4);
    has_read_ipv4 |= kReaders.count(call.first) > 0;
    if (listed[call] == expected) continue;
    fault += "\n" + call.first + " " + call.second + " expects";
    for (const std::string& text : expected) fault += "\n  " + text;
    fault += "\nbut lists";
    for (const std::string& text : listed[call]) fault += "\n  " + text;
  }
  return fault.empty() ? "" : fault + "\nin " + data.dump();
}

TEST(EveryPropertyTest, EveryViolationOfEachPointIsListedOnce) {
  ASSERT_TRUE(rc::check([] {
    const auto running = *rc::gen::element(Running::kNothing, Running::kNoIpv6,
                                           Running::kOtherVlan);
    RC_ASSERT(FaultOfList(AnyNetwork(), running) == "");
  }));
}

// A point that refuses the number of entries reports nothing else.
TEST(EveryPropertyTest, TooManyInterfacesHideNothing) {
  Network network;
  for (unsigned i = 0; i < 258; ++i) {
    const std::string end = i % 257 == 0 ? "!" : "";
    network.interfaces.push_back(
        {"l3", fmt::format("if{}{}", i, end), "global", {{4, {}}, {6, {}}}});
  }
  EXPECT_EQ(FaultOfList(network, Running::kNothing), "");
}

TEST(EveryPropertyTest, TooManyRoutesHideNothing) {
  Network network;
  network.interfaces.push_back(
      {"l3", "if0", "global", {{4, {{1, 8}}}, {6, {}}}});
  // The first and the last route have one prefix; one leads to an own address.
  for (unsigned i = 0; i < 1010; ++i) {
    network.routes.push_back(
        {4, i % 1009, i == 0, {i == 700 ? 1 : 9000 + i, 0}, 0});
  }
  EXPECT_EQ(FaultOfList(network, Running::kNothing), "");
}

}  // namespace
}  // namespace ipav::planner
