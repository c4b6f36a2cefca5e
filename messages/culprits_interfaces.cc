// Culprits among the interfaces: their number, names, addresses and timers.

#include <cstdlib>
#include <string>
#include <vector>

#include "messages/culprits.h"
#include "nettypes/address_space.h"

namespace ipav::messages {

namespace {

// The plug-in cuts a longer name.
constexpr std::size_t kLongestReportedName = 255;

std::vector<const lyd_node*> L3Of(const DataView& view) {
  return view.Entries(view.At(nullptr, {"config", "interface"}), "l3");
}

// Whether a text that names `reported` can mean the name.
bool IsReportedAs(const std::string& name, const std::string& reported) {
  return name == reported ||
         (reported.size() == kLongestReportedName &&
          name.compare(0, kLongestReportedName, reported) == 0);
}

// Adds the VRF if the commit changed it: this can bring an unchanged address
// into conflict.
void AddChangedVrf(const Refusal& refusal, const lyd_node* interface,
                   const std::string& name, FoundCulprits* culprits) {
  AddLeaf(refusal, interface, "vrf", "VRF of " + name, false, culprits);
}

FoundCulprits NumberOfL3(const Refusal& refusal) {
  const std::vector<const lyd_node*> interfaces = L3Of(refusal.candidate);
  // Both configurations may have too many, though not the same number.
  const bool confirms =
      refusal.from_nothing
          ? interfaces.size() >
                std::strtoul(refusal.Field("limit").c_str(), nullptr, 10)
          : std::to_string(interfaces.size()) == refusal.Field("count");
  if (!confirms) return {};
  FoundCulprits culprits{true,
                         {},
                         refusal.Field("count") +
                             " l3 interfaces, there is room for " +
                             refusal.Field("limit")};
  NameNew(refusal, interfaces, "new interface", &culprits);
  return culprits;
}

FoundCulprits NameOfL3(const Refusal& refusal) {
  for (const lyd_node* interface : L3Of(refusal.candidate)) {
    const lyd_node* name = refusal.candidate.At(interface, {"name"});
    if (!IsReportedAs(TextOf(name), refusal.Field("name"))) continue;
    return {true, {{"name", name}}, ""};
  }
  return {};
}

FoundCulprits OneAddress(const Refusal& refusal) {
  const lyd_node* interface =
      FindInterface(refusal.candidate, SplitName(refusal.Field("interface")));
  const lyd_node* address = FindAddress(
      refusal.candidate, interface, refusal.Family(), refusal.Field("prefix"));
  if (address == nullptr) return {};
  return {true, {{"address", address}}, ""};
}

FoundCulprits AddressTwice(const Refusal& refusal) {
  const lyd_node* interface =
      FindInterface(refusal.candidate, SplitName(refusal.Field("interface")));
  FoundCulprits culprits;
  std::size_t count = 0;
  for (const lyd_node* leaf :
       AddressesOf(refusal.candidate, interface, refusal.Family())) {
    if (WithoutLength(TextOf(leaf)) != refusal.Field("address")) continue;
    if (++count > kMaxNamed) continue;
    culprits.nodes.push_back({count == 1 ? "address" : "same address", leaf});
  }
  if (count < 2) return {};
  culprits.confirms = true;
  if (count > kMaxNamed) {
    culprits.note = "the interface has the address " + std::to_string(count) +
                    " times; the first " + std::to_string(kMaxNamed) +
                    " are listed";
  }
  return culprits;
}

FoundCulprits Overlap(const Refusal& refusal) {
  struct Side {
    const char* role;
    const char* interface_field;
    const char* vrf_field;
    const char* prefix_field;
    const lyd_node* interface;
    std::string vrf;
  };
  Side sides[] = {{"address", "interface", "vrf", "prefix", nullptr, ""},
                  {"overlaps with", "other-interface", "other-vrf",
                   "other-prefix", nullptr, ""}};
  const char* family = refusal.Family();
  const bool has_vrfs = refusal.reading.HasField("vrf");

  FoundCulprits culprits;
  for (Side& side : sides) {
    const InterfaceName name = SplitName(refusal.Field(side.interface_field));
    side.interface = FindInterface(refusal.candidate, name);
    if (side.interface == nullptr) return {};
    side.vrf = VrfOf(refusal.candidate, side.interface);
    if (has_vrfs && side.vrf != refusal.Field(side.vrf_field)) return {};
    const lyd_node* address =
        FindAddress(refusal.candidate, side.interface, family,
                    refusal.Field(side.prefix_field));
    if (address == nullptr) return {};
    culprits.nodes.push_back({side.role, address});
  }
  if (!nettypes::ShareAddressSpace(sides[0].vrf, sides[1].vrf)) return {};
  culprits.confirms = true;
  culprits.is_in_global = nettypes::ShareAddressSpace(sides[0].vrf, "global");
  for (const Side& side : sides) {
    AddChangedVrf(refusal, side.interface, refusal.Field(side.interface_field),
                  &culprits);
  }
  return culprits;
}

// ---- The timers of router advertisements ------------------------------------

constexpr char kMax[] = "max-interval";
constexpr char kMin[] = "min-interval";
constexpr char kLifetime[] = "lifetime";

// The value of a timer.
unsigned long Seconds(const lyd_node* leaf) {
  return std::strtoul(TextOf(leaf).c_str(), nullptr, 10);
}

struct Timers {
  const lyd_node* container;
  const lyd_node* first;  // the one that is checked
  const lyd_node* max;
};

Timers TimersOf(const Refusal& refusal, const char* first) {
  const lyd_node* container = refusal.candidate.AtPath(refusal.path);
  if (container == nullptr) return {};
  return {container, refusal.candidate.At(container, {first}),
          refusal.candidate.At(container, {kMax})};
}

FoundCulprits MinInterval(const Refusal& refusal) {
  const Timers timers = TimersOf(refusal, kMin);
  if (timers.first == nullptr || timers.max == nullptr) return {};
  if (4 * Seconds(timers.first) <= 3 * Seconds(timers.max)) return {};
  return {true, {{kMin, timers.first}, {kMax, timers.max}}, ""};
}

FoundCulprits RouterLifetime(const Refusal& refusal) {
  const Timers timers = TimersOf(refusal, kLifetime);
  if (timers.first == nullptr || timers.max == nullptr) return {};
  const unsigned long lifetime = Seconds(timers.first);
  if (lifetime == 0 || lifetime > Seconds(timers.max)) return {};
  return {true, {{kLifetime, timers.first}, {kMax, timers.max}}, ""};
}

FoundCulprits TimerMissing(const Refusal& refusal) {
  const std::string& missing = refusal.reading.text->key;
  const lyd_node* container = refusal.candidate.AtPath(refusal.path);
  if (container == nullptr ||
      refusal.candidate.At(container, {missing.c_str()}) != nullptr) {
    return {};
  }
  FoundCulprits culprits{true, {}, ""};
  // 1. It was removed, or was never there.
  AddLeaf(refusal, container, missing.c_str(), missing, true, &culprits);
  if (culprits.nodes.empty()) {
    culprits.note = missing + " is in neither configuration";
  }
  // 2. The timers that need it.
  bool is_needed = false;
  for (const char* other : {kMax, kMin, kLifetime}) {
    if (missing == other) continue;
    const lyd_node* leaf = refusal.candidate.At(container, {other});
    if (leaf == nullptr) continue;
    culprits.nodes.push_back({other, leaf});
    is_needed = true;
  }
  return is_needed ? culprits : FoundCulprits{};
}

}  // namespace

CulpritSearches InterfaceCulprits() {
  return {
      {"l3-too-many", NumberOfL3},        {"l3-name-too-long", NameOfL3},
      {"l3-name-too-short", NameOfL3},    {"l3-name-characters", NameOfL3},
      {"address-is-network", OneAddress}, {"address-is-broadcast", OneAddress},
      {"address-twice", AddressTwice},    {"interface-overlap", Overlap},
      {"ra-min-interval", MinInterval},   {"ra-lifetime", RouterLifetime},
      {"ra-timer-missing", TimerMissing},
  };
}

}  // namespace ipav::messages
