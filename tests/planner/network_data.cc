#include "tests/planner/network_data.h"

#include <algorithm>

#include "fixer/prefix.h"
#include "host/datastore/input_text.h"
#include "tests/model/described.h"

namespace ipav::planner {

void Merge(const json& part, json* whole) {
  if (part.is_object()) {
    for (const auto& [name, value] : part.items()) {
      Merge(value, &(*whole)[name]);
    }
  } else if (part.is_array()) {
    for (const json& entry : part) {
      const auto known =
          std::find_if(whole->begin(), whole->end(), [&](const json& other) {
            return entry.contains("name") ? other["name"] == entry["name"]
                                          : other == entry;
          });
      if (known == whole->end()) {
        whole->push_back(entry);
      } else {
        Merge(entry, &*known);
      }
    }
  } else {
    *whole = part;
  }
}

datastore::DataTree TreeOf(const json& data) {
  return datastore::DataTree::FromText(model::ProjectModel(),
                                       {"network", data.dump(), 0, LYD_JSON});
}

json InterfacePart(const std::string& kind, const json& entry) {
  return {{"vorplex-config:config",
           {{"interface", {{"ipapp:" + kind, json::array({entry})}}}}}};
}

json Ospfv2Part(const std::string& interface, const std::string& address) {
  const fixer::Prefix prefix = *fixer::ParsePrefix(address);
  const json row = {{"compound-id", 10},
                    {"area", "0.0.0.0"},
                    {"interface", interface},
                    {"address", prefix.Address()},
                    {"ospf-pm-ip-netmask", prefix.length}};
  const json process = {
      {"compound-id", 10}, {"proc_id", 10}, {"vrf_name", "global"}};
  return {{"vorplex-internal:internal",
           {{"ospf-interface-l3", json::array({row})},
            {"ospf-index-to-proc-id", json::array({process})}}}};
}

json Ospfv3Part(const std::string& interface, unsigned area,
                unsigned if_index) {
  const json row = {{"router", 7},
                    {"area", "0.0.0." + std::to_string(area)},
                    {"interface", interface},
                    {"ospfv3-pm-if-index", if_index},
                    {"ospfv3-pm-if-name", interface}};
  return {{"vorplex-internal:internal",
           {{"ospfv3-interface-l3", json::array({row})}}}};
}

json RoutePart(const std::string& destination, const std::string& next_hop,
               const std::string& output) {
  const fixer::Prefix prefix = *fixer::ParsePrefix(destination);
  const std::string type = prefix.IsIpv4() ? "ipv4" : "ipv6";
  json row = {
      {"rtmStaticRtFteIndex", 0},
      {"rtmStaticRtDest", fixer::OctetsOf(prefix)},
      {"rtmStaticRtDestPfxLen", prefix.length},
      {"rtmStaticRtNextHop", fixer::OctetsOf(*fixer::ParsePrefix(next_hop))}};
  json with_output = row;
  with_output["interface-name"] = output;
  row["rtmStaticRtDestType"] = type;
  row["rtmStaticRtNextHopType"] = type;
  return {{"DC-RTM-MIB:DC-RTM-MIB",
           {{"rtmStaticRtTable", {{"rtmStaticRtEntry", json::array({row})}}}}},
          {"DC-RTM-MIB:rtmStaticRtEntry-global", json::array({with_output})}};
}

}  // namespace ipav::planner
