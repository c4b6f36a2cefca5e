// One callback on a network of a size: growth_of_callback WHAT SIZE. Run under
// callgrind by growth.cmake, which counts the instructions of the callback
// without those of the platform.

#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

#include "bench/network.h"
#include "include/validate.h"
#include "tests/support/builders.h"
#include "tests/support/fake_platform.h"

namespace {

using ipav::bench::Conflict;
using ipav::bench::Interface;
using ipav::bench::Network;
using ipav::testing::Fake;

// What the readers must read to make this record.
void StoreInterface(const std::string& kind, const Interface& interface,
                    std::int32_t vlan) {
  ipav::testing::InterfaceData data;
  data.kind = kind;
  data.name = interface.name.substr(kind.size() + 1);
  if (interface.vrf_name != "global") data.vrf = interface.vrf_name;
  data.ipv4.reset();
  for (const auto& mask : interface.ipv4) {
    if (kind == "l3" && !data.ipv4) {
      data.ipv4 = mask.to_string();
    } else {
      data.ipv4_list.push_back(mask.to_string());
    }
  }
  for (const auto& mask : interface.ipv6) data.ipv6.push_back(mask.to_string());
  if (kind == "l3") data.vlan = vlan;
  data.StoreIn(Fake());
}

void StoreOspf(const Interface& l3) {
  ipav::testing::OspfRow row;
  row.interface = "l3-" + l3.name.substr(3);
  for (const auto& mask : l3.ipv4) {
    row.address = mask.addr().to_string();
    row.StoreIn(Fake());
  }
}

void StoreRoute(int number) {
  const auto address = [&](std::uint32_t first, unsigned shift) {
    const auto bits = static_cast<std::uint32_t>(number) << shift;
    return nettypes::IPv4AddrMask(first + bits, 32).addr().to_string();
  };
  ipav::testing::StaticRouteRow row;
  row.destination = address(0xac000000U, 4);
  row.prefix_len = 28;
  row.next_hop = address(0xc0000000U, 0);
  row.StoreIn(Fake());
}

struct Measurement {
  const char* point;
  int answer;
  Network network;  // of 10 interfaces where the size is that of routes
};

const std::map<std::string, Measurement> kMeasurements = {
    {"ipv4", {"ipv4_addr_validation", 0, {0, 4}}},
    {"ipv6_16_vrfs", {"ipv6_addr_validation", 0, {0, 6, 16}}},
    {"ipv4_conflict_at_the_end",
     {"ipv4_addr_validation", -1, {0, 4, 1, Conflict::kOtherKind}}},
    {"ipv6_conflict_at_the_end",
     {"ipv6_addr_validation", -1, {0, 6, 1, Conflict::kEnd}}},
    {"routes", {"ipv4_addr_route_validation", 0, {10, 4}}},
    {"ospf", {"ipv4_addr_prot_cross_validation", 0, {0, 4}}},
};

void Store(const std::string& what, Network network, int size) {
  if (what == "routes") {
    for (int i = 0; i < size; ++i) StoreRoute(i);
  } else {
    network.interfaces = size;
  }
  const auto records = ipav::bench::RecordsOf(network);
  std::int32_t vlan = 0;
  for (const Interface& l3 : records.l3) StoreInterface("l3", l3, ++vlan);
  for (const Interface& loopback : records.loopback) {
    StoreInterface("loopback", loopback, 0);
  }
  if (what != "ospf") return;
  ipav::testing::OspfProcess().StoreIn(Fake());
  for (const Interface& l3 : records.l3) StoreOspf(l3);
}

int Validate(const std::string& point) {
  void* context = nullptr;
  lib_init(&context);
  Fake().set_lib_context(context);
  Fake().set_opaque(point);
  ipav::testing::KeyPath keypath;
  keypath.Node("config").Node("interface").Node("l3");
  confd_value_t newval = ipav::testing::Nothing().Borrow();
  const int answer = validate(Fake().tctx(), keypath.get(), &newval);
  lib_finish(&context);
  return answer;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return EXIT_FAILURE;
  const Measurement& measurement = kMeasurements.at(argv[1]);
  Store(argv[1], measurement.network, std::stoi(argv[2]));
  const int answer = Validate(measurement.point);
  if (answer == measurement.answer) return EXIT_SUCCESS;
  std::cerr << argv[1] << " of " << argv[2] << " answers " << answer << '\n';
  return EXIT_FAILURE;
}
