#include <algorithm>
#include <string>
#include <utility>

#include "tests/model/pools.h"
#include "tests/model/random_configuration.h"

namespace ipav::model {

namespace {

// ---- Pools -----------------------------------------------------------------

std::string AnyArea(Choices* choices) {
  return choices->Pick<std::string>(
      {{6, "0.0.0.1"}, {4, "0.0.0.0"}, {2, "10.0.0.1"}, {1, "255.0.0.254"}});
}

// After "4": texts that strtoul() reads as 1, 2, 3, 1, 0 and the largest
// number.
std::string AnyCompoundId(Choices* choices) {
  return choices->Pick<std::string>({{8, "1"},
                                     {6, "2"},
                                     {3, "3"},
                                     {4, "4"},
                                     {1, " 1"},
                                     {1, "+2"},
                                     {1, "03"},
                                     {1, "1x"},
                                     {1, "0x2"},
                                     {1, "-1"}});
}

std::string AnyNoNumber(Choices* choices) {
  return choices->Pick<std::string>(
      {{2, "x"}, {1, ""}, {1, "-"}, {2, "99999999999999999999999"}});
}

std::string AnyNoAddress(Choices* choices) {
  return choices->OneOf<std::string>(
      {"1", "10.1", "0.0.0.256", "::1", "", "0.0.0.1 "});
}

// Names as in the OSPF tables. A name without a hyphen names no interface.
std::string AnyOspfName(Choices* choices) {
  return choices->Pick<std::string>({{10, "l3-1"},
                                     {10, "l3-2"},
                                     {10, "l3-core-1_X"},
                                     {8, "loopback-1"},
                                     {4, "loopback-a"},
                                     {2, "mgmt-1"},
                                     {1, "l3-50%s%n"},
                                     {1, "l3-a b"},
                                     {1, "l3-"},
                                     {1, "-1"},
                                     {1, "l3--1"},
                                     {4, "l3"},
                                     {1, ""}});
}

// Few names, so that they coincide with those of the changes below.
std::string AnyOspfv3Name(Choices* choices) {
  return choices->Pick<std::string>({{4, "l3-1"},
                                     {3, "l3-2"},
                                     {3, "l3-core-1_X"},
                                     {5, "loopback-1"},
                                     {5, "loopback-a"},
                                     {1, "mgmt-1"},
                                     {1, "l3-50%s%n"},
                                     {1, "l3-a b"},
                                     {1, "1"}});
}

// ---- OSPFv2 ----------------------------------------------------------------

// What OSPFv2 knows of an address of an interface.
enum class Knowledge : std::uint8_t {
  kRight,
  kNothing,
  kOtherLength,
  kNoLength,
  kInTwoAreas,
};

Knowledge AnyKnowledge(Choices* choices) {
  return choices->Pick<Knowledge>({{14, Knowledge::kRight},
                                   {3, Knowledge::kNothing},
                                   {1, Knowledge::kOtherLength},
                                   {1, Knowledge::kNoLength},
                                   {1, Knowledge::kInTwoAreas}});
}

std::string CompoundIdOf(const InterfaceEntry& entry) {
  const std::string vrf =
      entry.vrf.exists ? entry.vrf.value.value_or("") : "global";
  if (vrf == "global") return "1";
  if (vrf == "red") return "2";
  if (vrf == "mgmt") return "3";
  return "4";
}

std::vector<Prefix> Ipv4Of(const InterfaceEntry& entry) {
  std::vector<Prefix> addresses;
  if (entry.primary) addresses.push_back(*entry.primary);
  for (const AddressEntry& address : entry.ipv4) {
    if (address.ip) addresses.push_back(*address.ip);
  }
  return addresses;
}

// The rows of one interface: mostly in the process of its VRF; sometimes every
// second address is in another process.
std::vector<Ospfv2Row> AnyEnrolment(Choices* choices, const std::string& name,
                                    const InterfaceEntry& entry) {
  const bool is_enrolled = choices->Chance(3, 5);
  const std::string any_id = AnyCompoundId(choices);
  const std::string id = choices->Chance(1, 5) ? any_id : CompoundIdOf(entry);
  const std::string any_other_id = AnyCompoundId(choices);
  const auto other_id =
      choices->Pick<std::string>({{8, id}, {3, "4"}, {1, any_other_id}});
  const std::string area = AnyArea(choices);
  const auto knowledge =
      choices->UpTo(3, [&] { return AnyKnowledge(choices); });

  std::vector<Ospfv2Row> rows;
  const std::vector<Prefix> addresses = Ipv4Of(entry);
  for (std::size_t i = 0; is_enrolled && i < addresses.size(); ++i) {
    if (IsZero(addresses[i].address)) continue;
    const Knowledge known =
        i < knowledge.size() ? knowledge[i] : Knowledge::kRight;
    if (known == Knowledge::kNothing) continue;
    Ospfv2Row row = {i % 2 == 1 ? other_id : id, area, name,
                     AddressText(addresses[i].address),
                     static_cast<std::uint8_t>(addresses[i].length)};
    if (known == Knowledge::kOtherLength) row.netmask = 25;
    if (known == Knowledge::kNoLength) row.netmask.reset();
    rows.push_back(row);
    if (known != Knowledge::kInTwoAreas) continue;
    row.area = "7.7.7.7";
    rows.push_back(row);
  }
  return rows;
}

// The rows of both kinds of interfaces, not always in the order of the rules.
std::vector<Ospfv2Row> AnyEnrolled(Choices* choices,
                                   const Configuration& configuration) {
  constexpr std::size_t kMostL3s = 4;
  std::vector<std::pair<std::string, InterfaceEntry>> interfaces;
  for (const InterfaceEntry& entry : configuration.l3) {
    if (interfaces.size() == kMostL3s) break;
    interfaces.emplace_back("l3-" + entry.key, entry);
  }
  for (const InterfaceEntry& entry : configuration.loopback) {
    interfaces.emplace_back("loopback-" + entry.key, entry);
  }
  const bool is_reversed = choices->Chance(1, 2);
  std::vector<Ospfv2Row> all;
  for (const auto& [name, entry] : interfaces) {
    const auto rows = AnyEnrolment(choices, name, entry);
    all.insert(is_reversed ? all.begin() : all.end(), rows.begin(), rows.end());
  }
  return all;
}

// A random row, such as for another process or for a missing interface.
Ospfv2Row AnyRow(Choices* choices) {
  const Ospfv2Row bad = AnyBadRow(choices);
  const Ospfv2Row row = {
      AnyCompoundId(choices), AnyArea(choices), AnyOspfName(choices),
      AnyAddress(choices, 4),
      choices->Often(choices->OneOf<std::uint8_t>({24, 32, 30}))};
  return choices->Chance(1, 9) ? bad : row;
}

// Rows are unique. A row that no path can name has nothing below it.
std::vector<Ospfv2Row> Consistent(const std::vector<Ospfv2Row>& rows) {
  std::vector<Ospfv2Row> kept;
  for (Ospfv2Row row : rows) {
    const bool is_known =
        std::any_of(kept.begin(), kept.end(), [&](const Ospfv2Row& other) {
          return other.compound_id == row.compound_id &&
                 other.area == row.area && other.address == row.address &&
                 other.interface_key == row.interface_key;
        });
    if (is_known) continue;
    if (!IsAddressable(row.interface_key)) row.netmask.reset();
    kept.push_back(std::move(row));
  }
  return kept;
}

// The last one has another identifier than the second one, and the same number
// and VRF, or another number or VRF.
std::vector<ProcessRow> AnyProcesses(Choices* choices) {
  const auto last = choices->OneOf<ProcessRow>(
      {{4, 20, "red"}, {4, 40, "red"}, {4, 20, "global"}});
  std::vector<ProcessRow> rows;
  for (const ProcessRow& row :
       {ProcessRow{1, 10, "global"}, ProcessRow{2, 20, "red"},
        ProcessRow{3, 4294967295, "mgmt"}, last}) {
    const auto id = row.compound_id;
    const auto chosen = choices->Pick<std::optional<ProcessRow>>(
        {{14, row},
         {1, ProcessRow{id, std::nullopt, row.vrf}},
         {1, ProcessRow{id, row.process_id, std::nullopt}},
         {1, ProcessRow{id, row.process_id, "blue"}},
         {1, std::nullopt}});
    if (chosen) rows.push_back(*chosen);
  }
  return rows;
}

// ---- OSPFv3 and VLANs ------------------------------------------------------

// The index of an interface is 1000 more than its VLAN.
Ospfv3Row AnyOspfv3Row(Choices* choices) {
  Ospfv3Row row;
  row.router = choices->Pick<std::uint32_t>({{2, 1}, {2, 2}, {1, 4294967295}});
  row.area = AddressOf(
      choices->OneOf<std::string>({"0.0.0.1", "0.0.0.0", "255.0.0.254"}));
  row.interface_key =
      choices->Pick<std::string>({{4, "1"}, {4, "vlan7"}, {1, "a b"}});
  row.if_index = choices->Often(choices->Pick<std::uint32_t>(
      {{4, 1007}, {2, 1000}, {2, 5094}, {1, 7}, {1, 0}}));
  row.if_name = choices->Often(AnyOspfv3Name(choices));
  if (!IsAddressable(row.interface_key)) row.if_index.reset();
  return row;
}

std::vector<Ospfv3Row> AnyOspfv3(Choices* choices) {
  std::vector<Ospfv3Row> kept;
  for (const Ospfv3Row& row :
       choices->UpTo(6, [&] { return AnyOspfv3Row(choices); })) {
    const bool is_known =
        std::any_of(kept.begin(), kept.end(), [&](const Ospfv3Row& other) {
          return other.router == row.router && other.area == row.area &&
                 other.interface_key == row.interface_key;
        });
    if (!is_known) kept.push_back(row);
  }
  return kept;
}

std::vector<RunningVlan> AnyRunning(Choices* choices) {
  std::vector<RunningVlan> running;
  for (const char* key : {"1", "2", "core-1_X", "50%s%n"}) {
    const auto vlan = choices->Often(AnyVlan(choices));
    if (vlan) running.push_back({key, *vlan});
  }
  return running;
}

// ---- Changes ---------------------------------------------------------------

// A change of a list entry or of a node below it.
Change AnyChange(Choices* choices) {
  const auto entry = choices->Pick<std::string>({{5, "l3{1}"},
                                                 {3, "l3{2}"},
                                                 {3, "l3{core-1_X}"},
                                                 {1, "l3{50%s%n}"},
                                                 {1, "l3{a b}"},
                                                 {5, "loopback{1}"},
                                                 {4, "loopback{a}"},
                                                 {2, "mgmt{1}"}});
  const auto of = [&](const char* leaf, Operation operation,
                      const std::optional<std::string>& new_value) {
    return Change{PlaceOf("/config/interface/" + entry + leaf), operation,
                  new_value};
  };
  return choices->Pick<Change>({
      {18, of("/vrf", Operation::kValueSet, "red")},
      {1, of("/vrf", Operation::kValueSet, "")},
      {1, of("/vrf", Operation::kValueSet, std::nullopt)},
      {2, of("/vrf", Operation::kDeleted, std::nullopt)},
      {1, of("/vrf", Operation::kCreated, "red")},
      {1, of("/vrf", Operation::kModified, "red")},
      {3, of("/mtu", Operation::kValueSet, "1500")},
      {3, of("", Operation::kCreated, std::nullopt)},
      {2, of("", Operation::kModified, std::nullopt)},
      {1, of("", Operation::kDeleted, std::nullopt)},
  });
}

}  // namespace

Ospfv2Row AnyBadRow(Choices* choices) {
  Ospfv2Row row = {AnyCompoundId(choices), AnyArea(choices),
                   AnyOspfName(choices), AnyAddress(choices, 4), 24};
  const std::string no_number = AnyNoNumber(choices);
  const std::string no_address = AnyNoAddress(choices);
  const std::size_t wrong = choices->Below(4);
  if (wrong <= 1) row.compound_id = no_number;
  if (wrong == 1 || wrong == 2) row.area = no_address;
  if (wrong == 3) row.address = no_address;
  return row;
}

void InsertAnywhere(Choices* choices, const Ospfv2Row& row,
                    std::vector<Ospfv2Row>* rows) {
  const std::size_t at = std::min(choices->Below(6), rows->size());
  rows->insert(rows->begin() + static_cast<std::ptrdiff_t>(at), row);
}

void AddOspf(Choices* choices, Configuration* configuration) {
  configuration->ospfv3 = AnyOspfv3(choices);
  configuration->running = AnyRunning(choices);
  configuration->changes = choices->UpTo(6, [&] { return AnyChange(choices); });
  configuration->processes = AnyProcesses(choices);
  const auto more = choices->UpTo(2, [&] { return AnyRow(choices); });
  std::vector<Ospfv2Row> rows = AnyEnrolled(choices, *configuration);
  for (const Ospfv2Row& row : more) InsertAnywhere(choices, row, &rows);
  configuration->ospfv2 = Consistent(rows);
}

}  // namespace ipav::model
