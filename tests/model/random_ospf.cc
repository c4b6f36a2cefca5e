#include "tests/model/random_ospf.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include "tests/model/pools.h"

namespace ipav::model {

namespace {

using rc::Gen;
namespace gen = rc::gen;

// ---- Pools -----------------------------------------------------------------

Gen<std::string> AnyArea() {
  return gen::weightedElement<std::string>(
      {{6, "0.0.0.1"}, {4, "0.0.0.0"}, {2, "10.0.0.1"}, {1, "255.0.0.254"}});
}

// The texts behind 4 are read as 1, 2, 3, 0 and the largest number.
Gen<std::string> AnyCompoundId() {
  return gen::weightedElement<std::string>({{8, "1"},
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

Gen<std::string> AnyNoNumber() {
  return gen::weightedElement<std::string>(
      {{2, "x"}, {1, ""}, {1, "-"}, {2, "99999999999999999999999"}});
}

Gen<std::string> AnyNoAddress() {
  return gen::element<std::string>("1", "10.1", "0.0.0.256", "::1", "",
                                   "0.0.0.1 ");
}

// As the OSPF tables name interfaces. Those without a hyphen are of none.
Gen<std::string> AnyOspfName() {
  return gen::weightedElement<std::string>({{10, "l3-1"},
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

// Few: they must meet the changes below.
Gen<std::string> AnyOspfv3Name() {
  return gen::weightedElement<std::string>({{4, "l3-1"},
                                            {3, "l3-2"},
                                            {3, "l3-core-1_X"},
                                            {5, "loopback-1"},
                                            {5, "loopback-a"},
                                            {1, "mgmt-1"},
                                            {1, "l3-50%s%n"},
                                            {1, "l3-a b"},
                                            {1, "1"}});
}

std::string Dotted(const Octets& address) { return AddressText(address); }

// ---- OSPFv2 ----------------------------------------------------------------

// What OSPFv2 knows of an address of an interface.
enum class Knowledge : std::uint8_t {
  kRight,
  kNothing,
  kOtherLength,
  kNoLength,
  kInTwoAreas,
};

// One interface in an OSPFv2 process.
struct Enrolment {
  bool is_enrolled = false;
  std::optional<std::string> compound_id;  // none: of the interface's VRF
  std::optional<std::string> other_id;     // of every other address
  std::string area;
  std::vector<Knowledge> of_addresses;  // in turn; the rest is right
};

Gen<Enrolment> AnyEnrolment() {
  const auto knowledge =
      gen::weightedElement<Knowledge>({{14, Knowledge::kRight},
                                       {3, Knowledge::kNothing},
                                       {1, Knowledge::kOtherLength},
                                       {1, Knowledge::kNoLength},
                                       {1, Knowledge::kInTwoAreas}});
  const auto seldom = [](int weight, const Gen<std::string>& id) {
    return gen::weightedOneOf<std::optional<std::string>>(
        {{4, gen::just(std::optional<std::string>())},
         {weight, gen::map(id, [](std::string chosen) {
            return std::optional<std::string>(std::move(chosen));
          })}});
  };
  const auto other_id = gen::weightedOneOf<std::string>(
      {{3, gen::just(std::string("4"))}, {1, AnyCompoundId()}});
  return gen::build<Enrolment>(
      gen::set(&Enrolment::is_enrolled,
               gen::weightedElement<bool>({{3, true}, {2, false}})),
      gen::set(&Enrolment::compound_id, seldom(1, AnyCompoundId())),
      gen::set(&Enrolment::other_id, seldom(2, other_id)),
      gen::set(&Enrolment::area, AnyArea()),
      gen::set(&Enrolment::of_addresses, UpTo(3, knowledge)));
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

std::vector<Ospfv2Row> RowsOf(const std::string& name,
                              const InterfaceEntry& entry,
                              const Enrolment& enrolment) {
  std::vector<Ospfv2Row> rows;
  if (!enrolment.is_enrolled) return rows;
  const std::vector<Prefix> addresses = Ipv4Of(entry);
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    if (IsZero(addresses[i].address)) continue;
    const Knowledge knowledge = i < enrolment.of_addresses.size()
                                    ? enrolment.of_addresses[i]
                                    : Knowledge::kRight;
    if (knowledge == Knowledge::kNothing) continue;
    Ospfv2Row row = {enrolment.compound_id.value_or(CompoundIdOf(entry)),
                     enrolment.area, name, Dotted(addresses[i].address),
                     static_cast<std::uint8_t>(addresses[i].length)};
    if (i % 2 == 1 && enrolment.other_id) row.compound_id = *enrolment.other_id;
    if (knowledge == Knowledge::kOtherLength) row.netmask = 25;
    if (knowledge == Knowledge::kNoLength) row.netmask.reset();
    rows.push_back(row);
    if (knowledge != Knowledge::kInTwoAreas) continue;
    row.area = "7.7.7.7";
    rows.push_back(row);
  }
  return rows;
}

// The interfaces of both kinds in the order in which OSPF got to know them:
// not always that of the rules.
Gen<std::vector<Ospfv2Row>> AnyEnrolled(const Configuration& configuration) {
  std::vector<std::pair<std::string, InterfaceEntry>> interfaces;
  for (const InterfaceEntry& entry : configuration.l3) {
    if (interfaces.size() == 4) break;
    interfaces.emplace_back("l3-" + entry.key, entry);
  }
  for (const InterfaceEntry& entry : configuration.loopback) {
    interfaces.emplace_back("loopback-" + entry.key, entry);
  }
  return gen::map(
      gen::pair(gen::container<std::vector<Enrolment>>(interfaces.size(),
                                                       AnyEnrolment()),
                gen::arbitrary<bool>()),
      [interfaces](const std::pair<std::vector<Enrolment>, bool>& chosen) {
        std::vector<Ospfv2Row> all;
        for (std::size_t i = 0; i < interfaces.size(); ++i) {
          const auto& [name, entry] = interfaces[i];
          const auto rows = RowsOf(name, entry, chosen.first[i]);
          all.insert(chosen.second ? all.begin() : all.end(), rows.begin(),
                     rows.end());
        }
        return all;
      });
}

// A second process, an interface that is gone, an address that is, ...
Gen<Ospfv2Row> AnyRow() {
  const auto netmask = gen::element<std::uint8_t>(24, 32, 30);
  const auto dotted = gen::map(AnyIpv4(), Dotted);
  const auto right = gen::construct<Ospfv2Row>(
      AnyCompoundId(), AnyArea(), AnyOspfName(), dotted, Often(netmask));
  return gen::weightedOneOf<Ospfv2Row>({{8, right}, {1, AnyBadRow()}});
}

std::vector<Ospfv2Row> ConsistentRows(const std::vector<Ospfv2Row>& rows) {
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

Gen<std::vector<Ospfv2Row>> AnyOspfv2(const Configuration& configuration) {
  const auto more = UpTo(2, gen::pair(AnyRow(), gen::inRange(0, 6)));
  return gen::map(gen::pair(AnyEnrolled(configuration), more),
                  [](const auto& chosen) {
                    std::vector<Ospfv2Row> rows = chosen.first;
                    for (const auto& [row, at] : chosen.second) {
                      rows = WithRowAt(rows, static_cast<std::size_t>(at), row);
                    }
                    return ConsistentRows(rows);
                  });
}

// The last one is the process of 2 by another number, or differs from it in its
// identifier or its VRF only.
Gen<std::vector<ProcessRow>> AnyProcesses() {
  const auto leaves_of = [](std::uint32_t id, std::uint32_t process_id,
                            const std::string& vrf) {
    return gen::weightedElement<std::optional<ProcessRow>>(
        {{14, ProcessRow{id, process_id, vrf}},
         {1, ProcessRow{id, std::nullopt, vrf}},
         {1, ProcessRow{id, process_id, std::nullopt}},
         {1, ProcessRow{id, process_id, "blue"}},
         {1, std::nullopt}});
  };
  const auto last = gen::oneOf(leaves_of(4, 20, "red"), leaves_of(4, 40, "red"),
                               leaves_of(4, 20, "global"));
  return gen::map(
      gen::tuple(leaves_of(1, 10, "global"), leaves_of(2, 20, "red"),
                 leaves_of(3, 4294967295, "mgmt"), last),
      [](const auto& chosen) {
        const auto& [first, second, third, fourth] = chosen;
        std::vector<ProcessRow> rows;
        for (const auto* row : {&first, &second, &third, &fourth}) {
          if (*row) rows.push_back(**row);
        }
        return rows;
      });
}

// ---- OSPFv3 and VLANs ------------------------------------------------------

// The index of an interface is 1000 more than its VLAN.
Gen<std::vector<Ospfv3Row>> AnyOspfv3() {
  const Gen<Ospfv3Row> row = gen::build<Ospfv3Row>(
      gen::set(&Ospfv3Row::router, gen::weightedElement<std::uint32_t>(
                                       {{2, 1}, {2, 2}, {1, 4294967295}})),
      gen::set(&Ospfv3Row::area,
               gen::element<Octets>(Ipv4(0, 0, 0, 1), Ipv4(0, 0, 0, 0),
                                    Ipv4(255, 0, 0, 254))),
      gen::set(&Ospfv3Row::interface_key,
               gen::weightedElement<std::string>(
                   {{4, "1"}, {4, "vlan7"}, {1, "a b"}})),
      gen::set(&Ospfv3Row::if_index,
               Often(gen::weightedElement<std::uint32_t>(
                   {{4, 1007}, {2, 1000}, {2, 5094}, {1, 7}, {1, 0}}))),
      gen::set(&Ospfv3Row::if_name, Often(AnyOspfv3Name())));
  return gen::map(UpTo(6, row), [](const std::vector<Ospfv3Row>& rows) {
    std::vector<Ospfv3Row> kept;
    for (Ospfv3Row chosen : rows) {
      const bool is_known =
          std::any_of(kept.begin(), kept.end(), [&](const Ospfv3Row& other) {
            return other.router == chosen.router && other.area == chosen.area &&
                   other.interface_key == chosen.interface_key;
          });
      if (is_known) continue;
      if (!IsAddressable(chosen.interface_key)) chosen.if_index.reset();
      kept.push_back(std::move(chosen));
    }
    return kept;
  });
}

Gen<std::vector<RunningVlan>> AnyRunning() {
  const std::vector<std::string> keys = {"1", "2", "core-1_X", "50%s%n"};
  return gen::map(gen::container<std::vector<std::optional<std::int32_t>>>(
                      keys.size(), Often(AnyVlan())),
                  [keys](const auto& vlans) {
                    std::vector<RunningVlan> running;
                    for (std::size_t i = 0; i < keys.size(); ++i) {
                      if (vlans[i]) running.push_back({keys[i], *vlans[i]});
                    }
                    return running;
                  });
}

// ---- Changes ---------------------------------------------------------------

// What is done below an entry, or to it.
struct Deed {
  const char* leaf;  // "" for the entry itself
  Operation operation;
  std::optional<std::string> new_value;
};

Gen<Change> AnyChange() {
  const auto deed = gen::weightedElement<Deed>({
      {18, {"vrf", Operation::kValueSet, "red"}},
      {1, {"vrf", Operation::kValueSet, ""}},
      {1, {"vrf", Operation::kValueSet, std::nullopt}},
      {2, {"vrf", Operation::kDeleted, std::nullopt}},
      {1, {"vrf", Operation::kCreated, "red"}},
      {1, {"vrf", Operation::kModified, "red"}},
      {3, {"mtu", Operation::kValueSet, "1500"}},
      {3, {"", Operation::kCreated, std::nullopt}},
      {2, {"", Operation::kModified, std::nullopt}},
      {1, {"", Operation::kDeleted, std::nullopt}},
  });
  using Entry = std::pair<const char*, const char*>;
  const auto entry = gen::weightedElement<Entry>({{5, {"l3", "1"}},
                                                  {3, {"l3", "2"}},
                                                  {3, {"l3", "core-1_X"}},
                                                  {1, {"l3", "50%s%n"}},
                                                  {1, {"l3", "a b"}},
                                                  {5, {"loopback", "1"}},
                                                  {4, {"loopback", "a"}},
                                                  {2, {"mgmt", "1"}}});
  return gen::map(gen::pair(entry, deed), [](const auto& chosen) {
    const auto& [of, done] = chosen;
    Change change;
    change.node = {{"config"}, {"interface"}, {of.first}, {of.second, true}};
    if (*done.leaf != '\0') change.node.push_back({done.leaf});
    change.operation = done.operation;
    change.new_value = done.new_value;
    return change;
  });
}

}  // namespace

Gen<Ospfv2Row> AnyBadRow() {
  const auto dotted = gen::map(AnyIpv4(), Dotted);
  const auto with = [](const Gen<std::string>& id, const Gen<std::string>& area,
                       const Gen<std::string>& address) {
    return gen::construct<Ospfv2Row>(
        id, area, AnyOspfName(), address,
        gen::just(std::optional<std::uint8_t>(24)));
  };
  return gen::oneOf(with(AnyNoNumber(), AnyArea(), dotted),
                    with(AnyNoNumber(), AnyNoAddress(), dotted),
                    with(AnyCompoundId(), AnyNoAddress(), dotted),
                    with(AnyCompoundId(), AnyArea(), AnyNoAddress()));
}

std::vector<Ospfv2Row> WithRowAt(std::vector<Ospfv2Row> rows, std::size_t at,
                                 const Ospfv2Row& row) {
  const auto before = static_cast<std::ptrdiff_t>(std::min(at, rows.size()));
  rows.insert(rows.begin() + before, row);
  return rows;
}

Gen<Configuration> WithOspf(const Configuration& configuration) {
  return gen::map(gen::tuple(AnyOspfv2(configuration), AnyProcesses(),
                             AnyOspfv3(), AnyRunning(), UpTo(6, AnyChange())),
                  [configuration](const auto& parts) {
                    Configuration whole = configuration;
                    std::tie(whole.ospfv2, whole.processes, whole.ospfv3,
                             whole.running, whole.changes) = parts;
                    return whole;
                  });
}

}  // namespace ipav::model
