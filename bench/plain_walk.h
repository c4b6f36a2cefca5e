// The quadratic rules and merges in the plainest way, over the plug-in's own
// records: what the indexes behind the rules are measured against.
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

// The addresses of the l3 interfaces. The text of the first violation; empty
// when the rule holds.
std::string PlainAddresses(const Config& config, int family);

// The addresses, and the VRF, of the l3 interfaces and the loopbacks against
// OSPFv2: true when the rule holds.
bool PlainOspfAddresses(const Config& config);
bool PlainOspfVrfs(const Config& config);

// Merges of records into those before, by linear search.
void PlainMerge(const Interface& interface, std::vector<Interface>* records);
void PlainMerge(const OspfIf& ospf_if,
                std::list<std::shared_ptr<OspfIf>>* records);

}  // namespace ipav::bench

#endif  // IPAV_BENCH_PLAIN_WALK_H_
