// The data of random small networks, made of parts: an interface with at most
// one address, a row of OSPF, a route.
#ifndef IPAV_TESTS_PLANNER_NETWORK_DATA_H_
#define IPAV_TESTS_PLANNER_NETWORK_DATA_H_

#include <nlohmann/json.hpp>
#include <string>

#include "host/datastore/data_tree.h"

namespace ipav::planner {

using nlohmann::json;

// Adds what the part has. Equal entries of a list are one, and those of one
// name.
void Merge(const json& part, json* whole);

datastore::DataTree TreeOf(const json& data);

// The entry begins with the name. `kind` is "l3", "loopback" or "mgmt".
json InterfacePart(const std::string& kind, const json& entry);

// `address` has a prefix length. The process is 10, its VRF global.
json Ospfv2Part(const std::string& interface, const std::string& address);
json Ospfv3Part(const std::string& interface, unsigned area, unsigned if_index);

// With an unspecified address as next hop, it is a black hole. Both texts have
// a prefix length.
json RoutePart(const std::string& destination, const std::string& next_hop,
               const std::string& output);

}  // namespace ipav::planner

#endif  // IPAV_TESTS_PLANNER_NETWORK_DATA_H_
