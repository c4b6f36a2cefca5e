#include "tests/faults/scenarios.h"

#include <optional>
#include <utility>

namespace ipav::faults {

namespace {

using model::AddressEntry;
using model::AddressOf;
using model::Configuration;
using model::InterfaceEntry;
using model::Leaf;
using model::Octets;
using model::Operation;
using model::Place;
using model::Prefix;
using model::PrefixOf;

// ---- Values ----------------------------------------------------------------

AddressEntry Address(const std::string& text) { return {text, PrefixOf(text)}; }

std::vector<AddressEntry> Addresses(const std::vector<std::string>& texts) {
  std::vector<AddressEntry> entries;
  for (const std::string& text : texts) entries.push_back(Address(text));
  return entries;
}

template <typename T>
Leaf<T> Set(const T& value) {
  return {true, value};
}

const Leaf<std::string> kNoVrf;

// Of a list of interfaces, or of a node below: "l3{core1}/vrf".
Place Interface(const std::string& path) {
  return model::PlaceOf("/config/interface/" + path);
}

// ---- The router ------------------------------------------------------------

InterfaceEntry L3(const std::string& key, const Leaf<std::string>& vrf,
                  std::optional<std::int32_t> vlan,
                  const std::vector<std::string>& ipv4,
                  const std::vector<std::string>& ipv6) {
  InterfaceEntry entry;
  entry.key = key;
  entry.vrf = vrf;
  entry.vlan = vlan;
  entry.primary = PrefixOf(ipv4.front());
  entry.ipv4 = Addresses({ipv4.begin() + 1, ipv4.end()});
  entry.ipv6 = Addresses(ipv6);
  return entry;
}

// The VRFs red and blue use addresses that others use too: an interface or a
// route that lands in another VRF than its own brings up a conflict.
void AddInterfaces(Configuration* router) {
  InterfaceEntry core1 =
      L3("core1", kNoVrf, 10, {"10.1.1.1/24", "10.1.2.1/24", "10.1.3.1/24"},
         {"2001:db8:1::1/64", "2001:db8:2::1/64"});
  core1.timers = {Set<std::uint16_t>(600), Set<std::uint16_t>(200),
                  Set<std::uint16_t>(1800)};
  InterfaceEntry core2 =
      L3("core2", Set<std::string>("red"), 20, {"10.1.1.1/24", "10.2.2.1/24"},
         {"2001:db8:1::1/64"});
  core2.ipv4.push_back({"10.2.3.1/24", std::nullopt});  // not there yet
  InterfaceEntry access = L3("access-building-1", Set<std::string>("blue"), 30,
                             {"10.1.1.129/25"}, {"2001:db8:1:0:8000::1/65"});
  InterfaceEntry spare =
      L3("access_2", kNoVrf, std::nullopt, {"10.4.1.1/24"}, {});
  spare.primary.reset();
  spare.ipv4 = Addresses({"10.4.1.1/24"});
  router->l3 = {core1, core2, access, spare};

  InterfaceEntry lo0;
  lo0.key = "0";
  lo0.ipv4 = Addresses({"10.255.0.1/32"});
  lo0.ipv6 = Addresses({"2001:db8:ff::1/128"});
  InterfaceEntry lo1 = lo0;
  lo1.key = "1";
  lo1.vrf = Set<std::string>("red");
  router->loopback = {lo0, lo1};

  InterfaceEntry mgmt;
  mgmt.key = "9";
  mgmt.vrf = Set<std::string>("mgmt");
  mgmt.primary = PrefixOf("172.16.0.9/24");
  mgmt.ipv6 = Addresses({"2001:db8:99::9/64"});
  mgmt.timers = core1.timers;
  router->mgmt = {mgmt};

  router->running = {{"core1", 10}, {"core2", 20}, {"access-building-1", 30}};
}

void AddRoute(Configuration* router, std::uint32_t vrf,
              const std::string& network, const std::string& next_hop,
              const std::string& output) {
  const Prefix prefix = PrefixOf(network);
  const Octets via = AddressOf(next_hop);
  router->routes.push_back({vrf, prefix.address.size() == 4 ? 1 : 2,
                            prefix.address, prefix.length, via});
  if (output.empty()) return;
  router->outputs.push_back({vrf, prefix.address, prefix.length, via, output});
}

// With a black hole of the one VRF where the other has a next hop, and next
// hops that are addresses of the other VRF.
void AddRoutes(Configuration* router) {
  router->vrfs = {{0, Set<std::string>("global")},
                  {1, Set<std::string>("red")},
                  {2, Set<std::string>("blue")}};
  AddRoute(router, 0, "20.1.0.0/16", "10.1.1.2", "l3-core1");
  AddRoute(router, 0, "2001:db8:a::/48", "2001:db8:1::2", "l3-core1");
  AddRoute(router, 1, "20.2.0.0/16", "10.1.2.1", "l3-core2");
  AddRoute(router, 1, "2001:db8:a::/48", "2001:db8:2::1", "l3-core2");
  AddRoute(router, 0, "192.0.2.0/24", "0.0.0.0", "");
  AddRoute(router, 2, "192.0.2.0/24", "10.1.1.130", "l3-access-building-1");
  AddRoute(router, 0, "2001:db8:b::/48", "::", "");
  AddRoute(router, 2, "2001:db8:b::/48", "2001:db8:1:0:8000::2", "");
  AddRoute(router, 3, "20.3.0.0/16", "10.9.9.9", "");  // a VRF without name
}

void AddOspf(Configuration* router) {
  router->processes = {{7, 10, "global"}, {8, 20, "red"}};
  router->ospfv2 = {{"7", "0.0.0.1", "l3-core1", "10.1.1.1", 24},
                    {"8", "0.0.0.0", "l3-core2", "10.1.1.1", 24},
                    {"7", "0.0.0.1", "l3-core1", "10.1.2.1", 24},
                    {"7", "0.0.0.0", "tunnel7", "10.7.7.7", 30},
                    {"7", "0.0.0.1", "l3-core1", "10.1.3.1", 24},
                    {"8", "0.0.0.0", "l3-core2", "10.2.2.1", 24},
                    {"7", "0.0.0.1", "loopback-0", "10.255.0.1", 32},
                    {"9", "0.0.0.1", "l3-gone", "10.8.8.8", std::nullopt}};

  // The index of an untagged interface, and one that is not known yet.
  const Octets backbone = AddressOf("0.0.0.0");
  const Octets area = AddressOf("0.0.0.1");
  router->ospfv3 = {{1, area, "l3-core1", 1010, "l3-core1"},
                    {1, backbone, "l3-untagged", 1000, "l3-untagged"},
                    {1, backbone, "l3-new", std::nullopt, "l3-new"},
                    {2, area, "l3-core2", 1020, "l3-core2"},
                    {2, area, "loopback-1", std::nullopt, "loopback-1"}};
}

void AddChanges(Configuration* router) {
  router->changes = {
      {Interface("l3{access-building-1}"), Operation::kModified, std::nullopt},
      {Interface("l3{access-building-1}/vrf"), Operation::kValueSet, "blue"},
      {Interface("l3{access_2}/vrf"), Operation::kDeleted, std::nullopt},
      {Interface("loopback{0}/vrf"), Operation::kValueSet, "global"}};
}

Configuration Router() {
  Configuration router;
  AddInterfaces(&router);
  AddRoutes(&router);
  AddOspf(&router);
  AddChanges(&router);
  return router;
}

// ---- Points ----------------------------------------------------------------

using Edit = void (*)(Configuration* router);

void Nothing(Configuration* /*router*/) {}

Scenario On(const std::string& variant, bool is_accepted, const Place& place,
            Edit edit) {
  Scenario scenario;
  scenario.variant = variant;
  scenario.is_accepted = is_accepted;
  scenario.configuration = Router();
  edit(&scenario.configuration);
  scenario.call.place = place;
  return scenario;
}

std::vector<Scenario> Names() {
  const Place l3 = Interface("l3");
  return {On("names as they must be", true, l3, Nothing),
          On("a dot in a name, and a long one", false, l3,
             [](Configuration* router) {
               router->l3[1].key = "core.2";
               router->l3[3].key = std::string(61, 'x');
             })};
}

void SetVrf(Configuration* router, const std::string& interface,
            const std::string& vrf) {
  router->changes.push_back(
      {Interface(interface + "/vrf"), Operation::kValueSet, vrf});
}

std::vector<Scenario> Vrfs() {
  return {
      On("no changed interface in OSPFv3", true, Interface("l3"), Nothing),
      On("two changed l3 interfaces in OSPFv3", false, Interface("l3"),
         [](Configuration* router) {
           SetVrf(router, "l3{core2}", "red");
           SetVrf(router, "l3{core1}", "global");
         }),
      On("a changed loopback in OSPFv3", false, Interface("loopback"),
         [](Configuration* router) { SetVrf(router, "loopback{1}", "red"); }),
      On("a node of the OSPFv2 table", true,
         model::PlaceOf("/internal/ospf-interface-l3{7}/a/b/c"),
         [](Configuration* router) {
           router->l3.resize(1);
           router->routes.clear();
         })};
}

std::vector<Scenario> Ipv4Addresses() {
  return {On("addresses of an l3 interface", true, Interface("l3"), Nothing),
          On("an l3 interface on the management subnet", false, Interface("l3"),
             [](Configuration* router) {
               router->l3[3].ipv4.push_back(Address("172.16.0.1/24"));
             }),
          On("a loopback that is a next hop", false, Interface("loopback"),
             [](Configuration* router) {
               router->loopback[1].ipv4.push_back(Address("10.1.2.1/32"));
             })};
}

std::vector<Scenario> Ipv6Addresses() {
  return {On("addresses of an l3 interface", true, Interface("l3"), Nothing),
          On("the management interface on an l3 subnet", false,
             Interface("mgmt"), [](Configuration* router) {
               router->mgmt[0].ipv6.push_back(Address("2001:db8:2::9/64"));
             })};
}

std::vector<Scenario> OspfAddresses() {
  const Place l3 = Interface("l3");
  return {On("OSPFv2 knows every address", true, l3, Nothing),
          On("an address more", false, l3, [](Configuration* router) {
            router->l3[0].ipv4.push_back(Address("10.1.9.1/24"));
          })};
}

std::vector<Scenario> Ipv4Routes() {
  const Place l3 = Interface("l3");
  return {On("routes of three VRFs", true, l3, Nothing),
          On("a black hole with a next hop, and a next hop of our own", false,
             l3, [](Configuration* router) {
               AddRoute(router, 2, "20.1.0.0/16", "10.1.1.129", "");
               AddRoute(router, 0, "192.0.2.0/24", "10.4.1.9", "l3-core1");
             })};
}

std::vector<Scenario> Ipv6Routes() {
  const Place l3 = Interface("l3");
  return {On("routes of three VRFs", true, l3, Nothing),
          On("a next hop of our own", false, l3, [](Configuration* router) {
            AddRoute(router, 1, "2001:db8:c::/48", "2001:db8:ff::1", "");
          })};
}

std::vector<Scenario> Outputs() {
  const Place l3 = Interface("l3");
  return {On("routes through interfaces with a VLAN", true, l3, Nothing),
          On("a route through one without", false, l3,
             [](Configuration* router) { router->l3[2].vlan.reset(); })};
}

std::vector<Scenario> Intervals() {
  const Place core1 = Interface("l3{core1}/ipv6/nd/ra");
  return {On("a small minimum", true, core1, Nothing),
          On("a small minimum of a management interface", true,
             Interface("mgmt{9}/ipv6/nd/ra"), Nothing),
          On("no timers", true, Interface("l3{core2}/ipv6/nd/ra"), Nothing),
          On("a large minimum", false, core1,
             [](Configuration* router) {
               router->l3[0].timers.min_interval.value = 451;
             }),
          On("no maximum", false, core1, [](Configuration* router) {
            router->l3[0].timers.max_interval = {};
          })};
}

std::vector<Scenario> Lifetimes() {
  const Place core1 = Interface("l3{core1}/ipv6/nd/ra");
  return {On("a long lifetime", true, core1, Nothing),
          On("any lifetime of a management interface", true,
             Interface("mgmt{9}/ipv6/nd/ra"), Nothing),
          On("a short lifetime", false, core1,
             [](Configuration* router) {
               router->l3[0].timers.lifetime.value = 600;
             }),
          On("no maximum", false, core1, [](Configuration* router) {
            router->l3[0].timers.max_interval = {};
          })};
}

std::vector<Scenario> Vlans() {
  const auto place = [](const std::string& key) {
    return Interface("l3{" + key + "}/lower-layer-if");
  };
  return {On("another VLAN outside OSPFv3", true, place("access-building-1"),
             [](Configuration* router) { router->l3[2].vlan = 31; }),
          On("the same VLAN in OSPFv3", true, place("core2"), Nothing),
          On("another VLAN in OSPFv3", false, place("core2"),
             [](Configuration* router) { router->l3[1].vlan = 21; })};
}

}  // namespace

std::vector<Point> AllPoints() {
  std::vector<Point> points = {
      {"intf_l3_name_validation", Names()},
      {"intf_vrf_validation", Vrfs()},
      {"ipv4_addr_validation", Ipv4Addresses()},
      {"ipv4_addr_prot_cross_validation", OspfAddresses()},
      {"ipv4_addr_route_validation", Ipv4Routes()},
      {"ipv6_addr_validation", Ipv6Addresses()},
      {"ipv6_addr_route_validation", Ipv6Routes()},
      {"validate_ipv6_nd_ra_interval", Intervals()},
      {"validate_ipv6_nd_ra_lifetime", Lifetimes()},
      {"static_route_l3_intf_validation", Outputs()},
      {"lower_layer_prot_cross_validation", Vlans()}};
  for (Point& point : points) {
    for (Scenario& scenario : point.scenarios) {
      scenario.call.opaque = point.name;
    }
  }
  return points;
}

}  // namespace ipav::faults
