#include "messages/vrf_names.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

#include "messages/data_view.h"

namespace ipav::messages {

namespace {

bool LooksSpecial(const std::string& name) {
  if (name == "global" || name == "mgmt") return false;
  std::string lower = name;
  std::transform(
      lower.begin(), lower.end(), lower.begin(),
      [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower == "global" || lower == "mgmt" || lower == "default" ||
         lower == "management";
}

}  // namespace

std::vector<std::string> AdviceOnVrfNames(const datastore::DataTree& tree) {
  const DataView view(tree);
  std::set<std::string> names;
  const auto take = [&](const lyd_node* parent, const char* list,
                        const char* leaf) {
    for (const lyd_node* entry : view.Entries(parent, list)) {
      std::string name = TextOf(view.At(entry, {leaf}));
      if (LooksSpecial(name)) names.insert(std::move(name));
    }
  };
  const lyd_node* interfaces = view.At(nullptr, {"config", "interface"});
  for (const char* kind : {"l3", "loopback", "mgmt"}) {
    take(interfaces, kind, "vrf");
  }
  take(view.At(nullptr, {"internal", "vrf-config"}), "indexTOstring", "vname");

  std::vector<std::string> advice;
  advice.reserve(names.size());
  for (const std::string& name : names) {
    advice.push_back("VRF " + name +
                     " is an address space of its own: only the exact names "
                     "global and mgmt are special");
  }
  return advice;
}

}  // namespace ipav::messages
