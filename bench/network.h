// Networks of any size, as the records that the plug-in's readers make: no two
// interfaces share a network, and the order of the networks is not that of the
// interfaces. One in eight interfaces is a loopback.
#ifndef IPAV_BENCH_NETWORK_H_
#define IPAV_BENCH_NETWORK_H_

#include <cstdint>
#include <vector>

#include "include/interface_config.h"

namespace ipav::bench {

using ip_application::config_valid::Interface;

// Where the only two interfaces are that share a network.
enum class Conflict : std::uint8_t {
  kNone,
  kStart,      // the first two l3 interfaces
  kMiddle,     // two in the middle
  kEnd,        // the last two
  kOtherKind,  // the last l3 interface and the last loopback
};

constexpr int kAddressesEach = 4;

struct Network {
  int interfaces = 10;
  int family = 4;
  int vrfs = 1;
  Conflict conflict = Conflict::kNone;
};

struct Records {
  std::vector<Interface> l3;
  std::vector<Interface> loopback;
};

Records RecordsOf(const Network& network);

}  // namespace ipav::bench

#endif  // IPAV_BENCH_NETWORK_H_
