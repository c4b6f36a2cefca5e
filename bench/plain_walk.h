// The rule for addresses as simple loops with quadratic cost, over the
// plug-in's own records: the baseline for the measurement of the plug-in's
// sweep.
#ifndef IPAV_BENCH_PLAIN_WALK_H_
#define IPAV_BENCH_PLAIN_WALK_H_

#include <string>

#include "include/config.h"

namespace ipav::bench {

using ip_application::config_valid::Config;
using ip_application::config_valid::Interface;

// The rule for addresses, for the l3 interfaces. Returns the text of the first
// violation; empty when the rule holds.
std::string PlainAddresses(const Config& config, int family);

}  // namespace ipav::bench

#endif  // IPAV_BENCH_PLAIN_WALK_H_
