// The rules and merges as simple loops with quadratic cost, over the plug-in's
// own records: the baseline for the measurement of the plug-in's indexes.
#ifndef IPAV_BENCH_PLAIN_WALK_H_
#define IPAV_BENCH_PLAIN_WALK_H_

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "include/config.h"

namespace ipav::bench {

using ip_application::config_valid::Config;
using ip_application::config_valid::Interface;
using ip_application::config_valid::OspfIf;

// The rule for addresses, for the l3 interfaces. Returns the text of the first
// violation; empty when the rule holds.
std::string PlainAddresses(const Config& config, int family);

// The addresses, or the VRFs, of the l3 interfaces and the loopbacks against
// OSPFv2. True when the rule holds.
bool PlainOspfAddresses(const Config& config);
bool PlainOspfVrfs(const Config& config);

// Merge a record into the earlier ones, by linear search.
void PlainMerge(const Interface& interface, std::vector<Interface>* records);
void PlainMerge(const OspfIf& ospf_if,
                std::list<std::shared_ptr<OspfIf>>* records);

}  // namespace ipav::bench

#endif  // IPAV_BENCH_PLAIN_WALK_H_
