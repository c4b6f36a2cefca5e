// Compares the violations that FindEvery() lists with those that a plain model
// counts: each address, each pair of addresses, each route, each timer, in
// random small configurations with many faults.
//
// RC_PARAMS sets the number of cases and the seed ("max_success=1000 seed=1").

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
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
using commit::Outcome;
using datastore::DataTree;
using datastore::Model;

// ---- A configuration -------------------------------------------------------

// 10.0.HIGH.LOW/LENGTH
struct Address {
  unsigned high;
  unsigned low;
  unsigned length;

  std::string Host() const {
    return "10.0." + std::to_string(high) + "." + std::to_string(low);
  }
  std::string Prefix() const { return Host() + "/" + std::to_string(length); }
  unsigned Number() const { return 256 * high + low; }
  unsigned HostBits() const { return Number() & ((1U << (32 - length)) - 1); }
  bool operator<(const Address& other) const {
    return Prefix() < other.Prefix();
  }
};

constexpr std::array<Address, 9> kPool = {{{0, 1, 24},
                                           {0, 2, 24},
                                           {0, 1, 16},
                                           {0, 0, 24},
                                           {0, 255, 24},
                                           {1, 1, 24},
                                           {1, 2, 25},
                                           {2, 1, 32},
                                           {3, 0, 31}}};
constexpr std::array<const char*, 3> kVrfs = {"global", "red", "mgmt"};

struct Interface {
  std::string kind;
  std::string name;
  std::string vrf;
  std::vector<Address> addresses;  // the first one is the primary
  std::set<Address> ospf;          // what OSPFv2 knows
  bool has_vlan = true;
  unsigned min_interval = 200;

  std::string Text() const { return kind + " " + name; }
};

// 172.16.NUMBER.0/24; no next hop: a black hole.
struct Route {
  unsigned number;
  bool is_black_hole;
  Address next_hop;
  std::size_t output;  // an interface

  std::string Prefix() const {
    return "172.16." + std::to_string(number) + ".0/24";
  }
};

struct Network {
  std::vector<Interface> interfaces;  // those of a kind together
  std::vector<Route> routes;          // in global
};

Address AnyAddress() {
  return kPool.at(*rc::gen::inRange<std::size_t>(0, kPool.size()));
}

Interface AnyInterface(const std::string& kind, std::size_t number) {
  Interface interface;
  interface.kind = kind;
  interface.name = "if" + std::to_string(number);
  interface.vrf = kVrfs.at(
      *rc::gen::weightedElement<std::size_t>({{4, 0}, {1, 1}, {1, 2}}));
  const int most = kind == "l3" ? 4 : 2;
  std::set<Address> known;
  for (int i = *rc::gen::inRange(1, most); i > 0; --i) {
    const Address address = AnyAddress();
    if (known.insert(address).second) interface.addresses.push_back(address);
  }
  if (kind != "l3") return interface;
  if (*rc::gen::inRange(0, 3) == 0) {
    std::set<std::string> hosts;
    for (int i = *rc::gen::inRange(1, 4); i > 0; --i) {
      const Address row = AnyAddress();
      if (hosts.insert(row.Host()).second) interface.ospf.insert(row);
    }
  }
  interface.has_vlan = *rc::gen::inRange(0, 4) > 0;
  interface.min_interval = *rc::gen::element(200U, 600U);
  return interface;
}

Network AnyNetwork() {
  Network network;
  for (std::size_t i = 0; i < 4; ++i) {
    network.interfaces.push_back(AnyInterface("l3", i));
  }
  network.interfaces.push_back(AnyInterface("loopback", 4));
  network.interfaces.push_back(AnyInterface("mgmt", 5));
  std::set<std::string> keys;
  for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
    const Route route{*rc::gen::inRange(0U, 2U), *rc::gen::inRange(0, 3) == 0,
                      AnyAddress(), *rc::gen::inRange<std::size_t>(0, 4)};
    const std::string key = route.Prefix() + " " +
                            (route.is_black_hole ? "" : route.next_hop.Host());
    if (keys.insert(key).second) network.routes.push_back(route);
  }
  return network;
}

// ---- Its text --------------------------------------------------------------

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string TextOf(const Interface& interface) {
  std::string addresses;
  std::string text =
      Element("name", interface.name) + Element("vrf", interface.vrf);
  for (std::size_t i = 0; i < interface.addresses.size(); ++i) {
    const std::string ip = Element("ip", interface.addresses[i].Prefix());
    addresses += interface.kind == "loopback" ? Element("address", ip)
                 : i == 0                     ? ip
                                              : Element("secondary", ip);
  }
  if (interface.kind != "loopback") addresses = Element("address", addresses);
  text += Element("ipv4", addresses);
  if (interface.kind == "l3") {
    if (interface.has_vlan) {
      text += Element("lower-layer-if", Element("vlan", "10"));
    }
    text += Element(
        "ipv6",
        Element(
            "nd",
            Element("ra", Element("max-interval", "600") +
                              Element("min-interval",
                                      std::to_string(interface.min_interval)) +
                              Element("lifetime", "1800"))));
  }
  return "<" + interface.kind + " xmlns=\"urn:vorplex:ipapp\">" + text + "</" +
         interface.kind + ">";
}

std::string Octets(unsigned a, unsigned b, unsigned c, unsigned d) {
  char text[12];
  static_cast<void>(
      std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x", a, b, c, d));
  return text;
}

std::string TextOf(const Network& network) {
  std::string interfaces;
  std::string internal;
  std::string routes;
  std::string outputs;
  for (const Interface& interface : network.interfaces) {
    interfaces += TextOf(interface);
    for (const Address& known : interface.ospf) {
      internal += Element(
          "ospf-interface-l3",
          Element("compound-id", "10") + Element("area", "0.0.0.0") +
              Element("interface", "l3-" + interface.name) +
              Element("address", known.Host()) +
              Element("ospf-pm-ip-netmask", std::to_string(known.length)));
    }
  }
  for (const Route& route : network.routes) {
    const std::string index = Element("rtmStaticRtFteIndex", "0");
    const std::string destination =
        Element("rtmStaticRtDest", Octets(172, 16, route.number, 0));
    const std::string length = Element("rtmStaticRtDestPfxLen", "24");
    const Address& hop = route.next_hop;
    const std::string next_hop =
        Element("rtmStaticRtNextHop", route.is_black_hole
                                          ? Octets(0, 0, 0, 0)
                                          : Octets(10, 0, hop.high, hop.low));
    routes += Element("rtmStaticRtEntry",
                      index + Element("rtmStaticRtDestType", "ipv4") +
                          destination + length +
                          Element("rtmStaticRtNextHopType", "ipv4") + next_hop);
    outputs += "<rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\">" +
               index + destination + length + next_hop +
               Element("interface-name",
                       "l3-" + network.interfaces.at(route.output).name) +
               "</rtmStaticRtEntry-global>";
  }
  return "<config xmlns=\"urn:vorplex:config\">" +
         Element("interface", interfaces) +
         "</config><internal xmlns=\"urn:vorplex:internal\">" +
         Element("ospf-index-to-proc-id", Element("compound-id", "10") +
                                              Element("proc_id", "10") +
                                              Element("vrf_name", "global")) +
         internal + "</internal><DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\">" +
         Element("rtmStaticRtTable", routes) + "</DC-RTM-MIB>" + outputs;
}

// ---- The plain model -------------------------------------------------------

using Texts = std::set<std::string>;

bool IsNetwork(const Address& address) {
  return address.length <= 30 && address.HostBits() == 0;
}
bool IsBroadcast(const Address& address) {
  return address.length <= 30 &&
         address.HostBits() == (1U << (32 - address.length)) - 1;
}
// An address that its own point refuses hides what is tested after it.
bool IsHost(const Address& address) {
  return !IsNetwork(address) && !IsBroadcast(address);
}

bool ShareSpace(const Interface& a, const Interface& b) {
  return a.vrf == b.vrf || (a.vrf != "red" && b.vrf != "red");
}

bool DoOverlap(const Address& a, const Address& b) {
  const unsigned bits = 32 - std::min(a.length, b.length);
  return a.Number() >> bits == b.Number() >> bits;
}

void AddOverlaps(const Interface& a, const Interface& b, Texts* texts) {
  if (!ShareSpace(a, b)) return;
  for (const Address& mine : a.addresses) {
    for (const Address& other : b.addresses) {
      if (!IsHost(mine) || !DoOverlap(mine, other)) continue;
      texts->insert(a.Text() + " vrf " + a.vrf + " ipv4 address " +
                    mine.Prefix() + " overlaps with " + b.Text() + " vrf " +
                    b.vrf + " ipv4 address " + other.Prefix() + ".");
    }
  }
}

void AddNextHops(const Network& network, const Interface& interface,
                 bool only_hosts, Texts* texts) {
  if (interface.vrf != "global") return;
  for (const Address& address : interface.addresses) {
    for (const Route& route : network.routes) {
      if (route.is_black_hole || route.next_hop.Host() != address.Host() ||
          (only_hosts && !IsHost(address))) {
        continue;
      }
      texts->insert(interface.Text() + " ipv4 address " + address.Prefix() +
                    " and static route " + route.Prefix() + " next-hop " +
                    address.Host() + " cannot have address conflict.");
    }
  }
}

Texts AddressFaults(const Network& network, const std::string& kind) {
  Texts texts;
  const auto& all = network.interfaces;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].kind != kind) continue;
    std::map<std::string, int> hosts;
    for (const Address& address : all[i].addresses) {
      const std::string name =
          all[i].Text() + " ipv4 address " + address.Prefix();
      if (IsHost(address) && ++hosts[address.Host()] == 2) {
        texts.insert(all[i].Text() + " has duplicated IPv4 address " +
                     address.Host());
      } else if (!IsHost(address)) {
        texts.insert(name + " cannot be configured as " +
                     (IsNetwork(address) ? "network" : "broadcast") +
                     " address.");
      }
    }
    for (std::size_t j = 0; j < all.size(); ++j) {
      const bool is_compared = all[j].kind == kind ? j > i : true;
      if (is_compared) AddOverlaps(all[i], all[j], &texts);
    }
    AddNextHops(network, all[i], true, &texts);
  }
  return texts;
}

Texts RouteFaults(const Network& network) {
  Texts texts;
  for (const Interface& interface : network.interfaces) {
    AddNextHops(network, interface, false, &texts);
  }
  for (const Route& a : network.routes) {
    for (const Route& b : network.routes) {
      if (a.number != b.number || !a.is_black_hole || b.is_black_hole) continue;
      texts.insert("Prefix " + a.Prefix() +
                   " cannot be black-hole and have next-hop at the same time");
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
  const std::string process = "router ospf 10 vrf global area 0 (0.0.0.0)";
  for (const Interface& interface : network.interfaces) {
    if (interface.ospf.empty()) continue;
    const std::string added =
        " cannot be added after interface is assigned to " + process;
    const std::set<Address> has(interface.addresses.begin(),
                                interface.addresses.end());
    for (const Address& known : interface.ospf) {
      if (has.count(known) > 0) continue;
      texts.insert(known.Prefix() +
                   " cannot be modified nor deleted, it is assigned to " +
                   process);
    }
    const bool knows_one =
        std::any_of(has.begin(), has.end(), [&](const Address& address) {
          return interface.ospf.count(address) > 0;
        });
    // Without a row that stays, the interface is not in OSPFv2 any more.
    if (!knows_one) continue;
    for (const Address& address : has) {
      if (interface.ospf.count(address) == 0) {
        texts.insert(address.Prefix() + added);
      }
    }
  }
  return texts;
}

Texts VrfFaults(const Network& network) {
  Texts texts;
  for (const Interface& interface : network.interfaces) {
    if (interface.ospf.empty() || interface.vrf == "global") continue;
    texts.insert(interface.Text() + " vrf " + interface.vrf +
                 " and router ospf 10 vrf global cannot be associated with "
                 "divergent VRF");
  }
  return texts;
}

Texts TimerFaults(const Network& network, const std::string& path) {
  for (const Interface& interface : network.interfaces) {
    if (path != "/config/interface/l3{" + interface.name + "}/ipv6/nd/ra") {
      continue;
    }
    if (interface.min_interval <= 450) return {};
    return {"Minimum interval must be no greater than maximum interval * 0.75"};
  }
  return {"a path of no interface"};
}

// The point for IPv6 routes, of which there are none, judges those of IPv4 once
// they were read.
Texts FaultsOf(const Network& network, const CallName& call,
               bool has_read_ipv4) {
  const auto& [point, path] = call;
  const std::string kind = path.substr(path.rfind('/') + 1);
  if (point == "ipv4_addr_validation") return AddressFaults(network, kind);
  if (point == "ipv4_addr_route_validation") return RouteFaults(network);
  if (point == "ipv6_addr_route_validation") {
    return has_read_ipv4 ? RouteFaults(network) : Texts();
  }
  if (point == "static_route_l3_intf_validation") return OutputFaults(network);
  if (point == "ipv4_addr_prot_cross_validation") return OspfFaults(network);
  if (point == "validate_ipv6_nd_ra_interval") {
    return TimerFaults(network, path);
  }
  if (point != "intf_vrf_validation") return {};
  Texts texts = AddressFaults(network, kind);
  texts.merge(VrfFaults(network));
  return texts;
}

// ---- The tests -------------------------------------------------------------

const Model& ProjectModel() {
  static const Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return kModel;
}

struct Judged {
  Outcome outcome;
  EveryFinding every;
};

Judged Judge(const Network& network, std::size_t limit) {
  const DataTree running = DataTree::Empty(ProjectModel());
  const DataTree candidate = DataTree::FromText(
      ProjectModel(), {"network", TextOf(network), 0, LYD_XML});
  const Outcome outcome =
      commit::RunCommit(running, candidate, {IPAV_PLUGIN, true, {}, {}, {}});
  return {outcome, FindEvery({&running, "", nullptr}, {&candidate, "", nullptr},
                             outcome, {IPAV_PLUGIN, limit, {}})};
}

TEST(EveryPropertyTest, EveryViolationOfEachPointIsListedOnce) {
  ASSERT_TRUE(rc::check([] {
    const Network network = AnyNetwork();
    const Judged judged = Judge(network, 10000);
    RC_LOG() << TextOf(network) << '\n';
    RC_ASSERT(judged.every.more.empty());
    std::map<CallName, Texts> listed;
    for (const messages::Finding& finding : judged.every.findings) {
      Texts& texts = listed[{finding.point, finding.path}];
      RC_ASSERT(finding.is_behind == !texts.empty());
      RC_ASSERT(texts.insert(finding.text).second);
      RC_ASSERT(!finding.culprits.empty());
    }
    bool has_read_ipv4 = false;
    for (const Answer& answer : judged.outcome.answers) {
      const CallName call(answer.opaque, answer.path);
      RC_LOG() << call.first << ' ' << call.second << '\n';
      RC_ASSERT(listed[call] == FaultsOf(network, call, has_read_ipv4));
      has_read_ipv4 |= call.first == "ipv4_addr_route_validation" ||
                       call.first == "ipv4_addr_validation" ||
                       call.first == "intf_vrf_validation";
    }
  }));
}

}  // namespace
}  // namespace ipav::planner
