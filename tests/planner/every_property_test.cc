// Compares the violations that FindEvery() lists with those of the plain model,
// in random small configurations with many faults. The plain model names only
// the first violation of a call, so it judges each two parts of a configuration
// alone.
//
// RC_PARAMS sets the number of cases and the seed ("max_success=1000 seed=1").

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "planner/every.h"
#include "tests/model/described.h"
#include "tests/planner/network_data.h"

namespace ipav::planner {
namespace {

using commit::CallName;
using datastore::DataTree;
using Texts = std::set<std::string>;

// ---- A configuration -------------------------------------------------------

// What the running configuration has: nothing, everything but the IPv6
// addresses, or everything with another VLAN.
enum class Running : std::uint8_t { kNothing, kNoIpv6, kOtherVlan };

// Interfaces in OSPFv3 had this VLAN.
constexpr int kOldVlan = 11;
constexpr unsigned kOldIfIndex = 1011;

// Hosts that overlap, network and broadcast addresses of IPv4.
const std::vector<std::string> kIpv4 = {
    "10.0.0.1/24", "10.0.0.2/24", "10.0.0.1/16", "10.0.0.0/24", "10.0.0.255/24",
    "10.0.1.1/24", "10.0.1.2/25", "10.0.2.1/32", "10.0.3.0/31"};
const Texts kNoHosts = {"10.0.0.0/24", "10.0.0.255/24"};
const std::vector<std::string> kIpv6 = {
    "2001:db8::1/120",   "2001:db8::2/120",   "2001:db8::1/112",
    "2001:db8::/120",    "2001:db8::ff/120",  "2001:db8::101/120",
    "2001:db8::102/121", "2001:db8::201/128", "2001:db8::300/127"};

bool Chance(int times, int all) { return *rc::gen::inRange(0, all) < times; }

Texts AnyOf(const std::vector<std::string>& pool, int most) {
  Texts all;
  for (int i = *rc::gen::inRange(0, most + 1); i > 0; --i) {
    all.insert(*rc::gen::elementOf(pool));
  }
  return all;
}

std::string Host(const std::string& address) {
  return address.substr(0, address.find('/'));
}

// OSPFv2 may know some of the addresses, and others.
void AddAddresses(const std::string& kind, const json& entry,
                  std::vector<json>* parts) {
  const std::string name =
      fmt::format("{}-{}", kind, entry["name"].get<std::string>());
  std::map<std::string, std::string> known;  // by host
  if (kind == "l3" && Chance(1, 3)) {
    // A row is one part with its address, which would hide what is wrong with
    // the row if it were no host.
    for (const auto& address : AnyOf(kIpv4, 3)) {
      if (kNoHosts.count(address) == 0) known[Host(address)] = address;
    }
  }
  bool is_first = kind != "loopback";
  for (const std::string& address : AnyOf(kIpv4, kind == "mgmt" ? 1 : 2)) {
    json with = entry;
    json& where = with["ipv4"]["address"];
    if (is_first) {
      where["ip"] = address;
    } else {
      (kind == "l3" ? where["secondary"] : where) = {{{"ip", address}}};
    }
    is_first = false;
    json& part = parts->emplace_back(InterfacePart(kind, with));
    const auto row = known.find(Host(address));
    if (row == known.end() || row->second != address) continue;
    Merge(Ospfv2Part(name, address), &part);
    known.erase(row);
  }
  for (const auto& [host, address] : known) {
    parts->push_back(Ospfv2Part(name, address));
  }
  for (const std::string& address : AnyOf(kIpv6, 2)) {
    json with = entry;
    with["ipv6"]["address"] = {{{"ip", address}}};
    parts->push_back(InterfacePart(kind, with));
  }
}

void AddInterface(const std::string& kind, const std::string& name,
                  std::vector<json>* parts) {
  json entry = {{"name", name},
                {"vrf", *rc::gen::weightedElement<std::string>(
                            {{4, "global"}, {1, "red"}, {1, "mgmt"}})}};
  if (kind == "l3") {
    if (Chance(3, 4)) entry["lower-layer-if"]["vlan"] = 10;
    entry["ipv6"]["nd"]["ra"] = {{"max-interval", 600},
                                 {"min-interval", *rc::gen::element(200, 600)},
                                 {"lifetime", *rc::gen::element(600, 1800)}};
  }
  parts->push_back(InterfacePart(kind, entry));
  AddAddresses(kind, entry, parts);
  if (kind == "mgmt" || Chance(3, 4)) return;
  for (const unsigned area : {*rc::gen::inRange(0U, 2U), 2U}) {
    parts->push_back(Ospfv3Part(kind + "-" + name, area, kOldIfIndex));
  }
}

std::vector<json> AnyParts() {
  std::vector<json> parts;
  std::vector<std::string> names;
  for (int i = 0; i < 4; ++i) {
    names.push_back(fmt::format("if{}", i));
    if (Chance(1, 6)) names.back() += *rc::gen::element('!', '%');
    AddInterface("l3", names.back(), &parts);
  }
  AddInterface("loopback", "if4", &parts);
  AddInterface("mgmt", "if5", &parts);
  std::map<std::string, json> routes;  // by destination and next hop
  for (int i = *rc::gen::inRange(0, 6); i > 0; --i) {
    const bool is_ipv4 = *rc::gen::arbitrary<bool>();
    const auto number = *rc::gen::inRange(0, 2);
    const std::string destination =
        is_ipv4 ? fmt::format("172.16.{}.0/24", number)
                : fmt::format("2001:db8:{}::/48", number + 1);
    const std::string hop = Chance(1, 3)
                                ? (is_ipv4 ? "0.0.0.0" : "::")
                                : *rc::gen::elementOf(is_ipv4 ? kIpv4 : kIpv6);
    routes[destination + Host(hop)] =
        RoutePart(destination, hop, "l3-" + *rc::gen::elementOf(names));
  }
  for (const auto& [key, route] : routes) parts.push_back(route);
  return parts;
}

json RunningOf(json data, Running running) {
  if (running == Running::kNothing) return json::object();
  for (const auto& [kind, entries] :
       data["vorplex-config:config"]["interface"].items()) {
    for (json& entry : entries) {
      if (running == Running::kNoIpv6) {
        entry["ipv6"]["address"] = json::array();
      } else if (kind == "ipapp:l3") {
        entry["lower-layer-if"]["vlan"] = kOldVlan;
      }
    }
  }
  return data;
}

// ---- The plain model -------------------------------------------------------

// The violations of each call: those of the whole, and of each two parts.
std::map<CallName, Texts> Expected(const std::vector<json>& parts,
                                   const DataTree& before,
                                   const DataTree& candidate,
                                   const std::vector<commit::Answer>& calls) {
  std::map<CallName, Texts> expected;
  const auto judge = [&](const DataTree& tree) {
    const auto answers = model::AnswersTo(calls, before, tree);
    for (std::size_t i = 0; i < calls.size(); ++i) {
      Texts& texts = expected[{calls[i].opaque, calls[i].path}];
      if (answers[i].verdict != 0) texts.insert(*answers[i].text);
    }
  };
  judge(candidate);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    for (std::size_t j = i; j < parts.size(); ++j) {
      json both = parts[i];
      Merge(parts[j], &both);
      judge(TreeOf(both));
    }
  }
  return expected;
}

// ---- The tests -------------------------------------------------------------

// What is wrong with the list of violations; empty if nothing is.
std::string FaultOfList(const std::vector<json>& parts, Running running) {
  json data;
  for (const json& part : parts) Merge(part, &data);
  const DataTree before = TreeOf(RunningOf(data, running));
  const DataTree candidate = TreeOf(data);
  const commit::Outcome outcome =
      commit::RunCommit(before, candidate, {IPAV_PLUGIN, true});
  const EveryFinding every =
      FindEvery({&before, "", nullptr}, {&candidate, "", nullptr}, outcome,
                {IPAV_PLUGIN, 10000});
  std::string fault = every.more;
  std::map<CallName, Texts> listed;
  for (const messages::Finding& finding : every.findings) {
    Texts& texts = listed[{finding.point, finding.path}];
    const bool is_behind = !texts.empty();
    if (finding.is_behind != is_behind || !texts.insert(finding.text).second ||
        finding.culprits.empty()) {
      fault += "\nwrong: " + finding.text;
    }
  }
  for (const auto& [call, texts] :
       Expected(parts, before, candidate, outcome.answers)) {
    if (listed[call] == texts) continue;
    fault += fmt::format("\n{} {} expects\n  {}\nbut lists\n  {}", call.first,
                         call.second, fmt::join(texts, "\n  "),
                         fmt::join(listed[call], "\n  "));
  }
  return fault.empty() ? "" : fault + "\nin " + data.dump();
}

TEST(EveryPropertyTest, EveryViolationOfEachPointIsListedOnce) {
  ASSERT_TRUE(rc::check([] {
    const auto running = *rc::gen::element(Running::kNothing, Running::kNoIpv6,
                                           Running::kOtherVlan);
    RC_ASSERT(FaultOfList(AnyParts(), running) == "");
  }));
}

// A point that refuses the number of entries reports nothing else.
TEST(EveryPropertyTest, TooManyInterfacesHideNothing) {
  std::vector<json> parts(4);
  for (std::size_t i = 0; i < 258; ++i) {
    const bool is_wrong = i % 257 == 0;
    const json entry = {{"name", fmt::format("if{}{}", i, is_wrong ? "!" : "")},
                        {"vrf", "global"}};
    Merge(InterfacePart("l3", entry),
          &parts.at(is_wrong ? i / 257 : 2 + i % 2));
  }
  EXPECT_EQ(FaultOfList(parts, Running::kNothing), "");
}

TEST(EveryPropertyTest, TooManyRoutesHideNothing) {
  const auto route = [](int number, const std::string& hop) {
    return RoutePart(
        fmt::format("172.{}.{}.0/24", 16 + number / 256, number % 256), hop,
        "l3-if0");
  };
  // The first two routes have one prefix; the third leads to an own address.
  std::vector<json> parts = {
      route(0, "0.0.0.0"), route(0, "10.9.0.0"), route(1, "10.0.0.1"),
      InterfacePart("l3", {{"name", "if0"},
                           {"vrf", "global"},
                           {"lower-layer-if", {{"vlan", 10}}},
                           {"ipv4", {{"address", {{"ip", "10.0.0.1/24"}}}}}})};
  json& others = parts.emplace_back();
  for (int i = 2; i < 1009; ++i) Merge(route(i, "10.9.0.0"), &others);
  EXPECT_EQ(FaultOfList(parts, Running::kNothing), "");
}

}  // namespace
}  // namespace ipav::planner
