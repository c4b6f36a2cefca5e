// Culprits among the interfaces: their number, names and addresses.

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

}  // namespace

CulpritSearches InterfaceCulprits() {
  return {
      {"l3-too-many", NumberOfL3},        {"l3-name-too-long", NameOfL3},
      {"l3-name-too-short", NameOfL3},    {"l3-name-characters", NameOfL3},
      {"address-is-network", OneAddress}, {"address-is-broadcast", OneAddress},
      {"address-twice", AddressTwice},    {"interface-overlap", Overlap},
  };
}

}  // namespace ipav::messages
