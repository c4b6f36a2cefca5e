// One callback on a network of a size: growth_of_callback WHAT SIZE. Run under
// callgrind by growth.cmake, which counts the instructions of the callback.

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include "bench/network.h"

namespace ipav::bench {
namespace {

constexpr char kIpv4[] = "ipv4_addr_validation";
constexpr char kIpv6[] = "ipv6_addr_validation";

struct Measurement {
  const char* point;
  std::function<Network(int)> network;
  int answer;
};

const std::map<std::string, Measurement>& Measurements() {
  static const std::map<std::string, Measurement> measurements = {
      {"ipv4",
       {kIpv4,
        [](int size) {
          return Network{size, 4};
        },
        0}},
      {"ipv6",
       {kIpv6,
        [](int size) {
          return Network{size, 6};
        },
        0}},
      {"ipv4_16_vrfs",
       {kIpv4,
        [](int size) {
          return Network{size, 4, 16};
        },
        0}},
      {"ipv4_conflict_at_the_end",
       {kIpv4,
        [](int size) {
          return Network{size, 4, 1, Conflict::kOtherKind};
        },
        -1}},
      {"ipv6_conflict_at_the_end",
       {kIpv6,
        [](int size) {
          return Network{size, 6, 1, Conflict::kEnd};
        },
        -1}},
      {"routes",
       {"ipv4_addr_route_validation",
        [](int size) {
          Network network;
          network.routes = size;
          return network;
        },
        -1}},  // more than fit into the element
      {"ospf",
       {"ipv4_addr_prot_cross_validation",
        [](int size) {
          Network network;
          network.interfaces = size;
          network.in_ospf = true;
          return network;
        },
        0}},
  };
  return measurements;
}

int Run(const std::string& what, int size) {
  const Measurement& measurement = Measurements().at(what);
  Store(measurement.network(size));
  Life life;
  const int answer = life.Validate(measurement.point);
  if (answer == measurement.answer) return EXIT_SUCCESS;
  std::cerr << what << " of " << size << " answers " << answer << '\n';
  return EXIT_FAILURE;
}

}  // namespace
}  // namespace ipav::bench

int main(int argc, char** argv) {
  if (argc != 3) return EXIT_FAILURE;
  return ipav::bench::Run(argv[1], std::stoi(argv[2]));
}
