// Networks of any size for the measurements, on the platform of platform.h.
#ifndef IPAV_BENCH_NETWORK_H_
#define IPAV_BENCH_NETWORK_H_

#include <string>

#include "include/config.h"

namespace ipav::bench {

enum class Conflict {
  kNone,
  kStart,      // the second l3 interface with the first
  kMiddle,     // two l3 interfaces in the middle
  kEnd,        // the last two l3 interfaces
  kOtherKind,  // the last l3 interface with the last loopback: the last test
};

struct Network {
  int interfaces = 10;  // an eighth of them loopbacks, at least one
  int family = 4;
  int vrfs = 1;  // "global" and others, in turn
  Conflict conflict = Conflict::kNone;
  int routes = 0;        // IPv4, no conflict with anything
  bool in_ospf = false;  // every IPv4 address of an l3
};

// Each interface has this many addresses, in its own networks, which are in no
// order.
inline constexpr int kAddressesEach = 4;

// Replaces the content of the platform by the network.
void Store(const Network& network);

// One life cycle of the library on the stored network.
class Life {
 public:
  Life();
  ~Life();
  Life(const Life&) = delete;
  Life& operator=(const Life&) = delete;

  // Returns the answer of a validation point on the list of l3 interfaces.
  int Validate(const std::string& point);

  ip_application::config_valid::Config& config();

 private:
  void* context_ = nullptr;
};

}  // namespace ipav::bench

#endif  // IPAV_BENCH_NETWORK_H_
