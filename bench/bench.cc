// Measures the rule for addresses on networks of any size. A name is
// WHAT/SHAPE/VARIANT/SIZE; variants of one measurement stand beside each other
// in one run:
//   indexed   the plug-in
//   plain     the same by a plain walk, as far as one ends in a minute
// The sizes are interfaces of four addresses. report.py turns the JSON output
// into tables. tests/growth measures whole callbacks.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/network.h"
#include "include/config.h"
#include "include/static_route_config.h"
#include "include/validate_config.h"
#include "nettypes/address_space.h"

namespace ipav::bench {

namespace {

using benchmark::State;
using ip_application::config_valid::Config;
using ip_application::config_valid::InterfaceConfig;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::RouteKey;
using ip_application::config_valid::StaticRoute;
using ip_application::config_valid::StaticRouteConfig;
using ip_application::config_valid::ValidateConfig;
using nettypes::IPv4AddrMask;

constexpr int kInterfaceCounts[] = {10, 100, 256, 1000, 4000, 16000, 64000};

// With more, a plain walk takes minutes.
constexpr int kMostPlainInterfaces = 16000;

// ---- The plain walk --------------------------------------------------------

// The rule as simple loops with quadratic cost, over the plug-in's own records:
// the baseline for the plug-in's sweep.

struct Ipv4 {
  using Addr = nettypes::IPv4Addr;
  static constexpr char kWord[] = " ipv4 address ";
  static const auto& AddressesOf(const Interface& i) { return i.ipv4; }
  static std::string VrfOf(const Interface& i) { return " vrf " + i.vrf_name; }
};
struct Ipv6 {
  using Addr = nettypes::IPv6Addr;
  static constexpr char kWord[] = " ipv6 address ";
  static const auto& AddressesOf(const Interface& i) { return i.ipv6; }
  static std::string VrfOf(const Interface& /*i*/) { return ""; }
};

template <typename Family>
bool Overlap(const Interface& first, const Interface& second,
             std::string* text) {
  if (!nettypes::ShareAddressSpace(first.vrf_name, second.vrf_name)) {
    return false;
  }
  for (const auto& a : Family::AddressesOf(first)) {
    for (const auto& b : Family::AddressesOf(second)) {
      if (!a.Overlap(b)) continue;
      *text = first.name + Family::VrfOf(first) + Family::kWord +
              a.to_string() + " overlaps with " + second.name +
              Family::VrfOf(second) + Family::kWord + b.to_string() + ".";
      return true;
    }
  }
  return false;
}

bool IsUsable(const IPv4AddrMask& mask) {
  return mask.prefix_len() > 30 ||
         !(mask.IsNetworkAddress() || mask.IsBroadcastAddress());
}

template <typename Family>
bool HasDuplicate(const Interface& interface) {
  const auto& masks = Family::AddressesOf(interface);
  for (auto it = masks.begin(); it != masks.end(); ++it) {
    for (auto later = std::next(it); later != masks.end(); ++later) {
      if (later->addr() == it->addr()) return true;
    }
  }
  return false;
}

template <typename Family>
bool IsNextHop(const Interface& interface, const StaticRouteConfig& routes) {
  for (const auto& mask : Family::AddressesOf(interface)) {
    const RouteKey<typename Family::Addr> key = {interface.vrf_name,
                                                 mask.addr()};
    std::shared_ptr<StaticRoute> route;
    if (routes.FindNextHop(key, route)) return true;
  }
  return false;
}

template <typename Family>
std::string WithOtherKinds(const Config& config,
                           const InterfaceConfig& changed) {
  std::string text;
  for (const InterfaceConfig* others : config.interface_configs()) {
    if (others->type() == changed.type()) continue;
    for (const Interface& other : others->interfaces()) {
      for (const Interface& interface : changed.interfaces()) {
        if (Overlap<Family>(interface, other, &text)) return text;
      }
    }
  }
  return "";
}

template <typename Family>
bool AllUsable(const Interface& interface) {
  return std::is_same_v<Family, Ipv6> ||
         std::all_of(interface.ipv4.begin(), interface.ipv4.end(), IsUsable);
}

// Violations that no measured network has get a text of one word.
template <typename Family>
std::string Addresses(const Config& config, const InterfaceConfig& changed) {
  std::string text;
  const std::vector<Interface>& interfaces = changed.interfaces();
  for (auto it = interfaces.begin(); it != interfaces.end(); ++it) {
    if (!AllUsable<Family>(*it)) return "unusable";
    if (HasDuplicate<Family>(*it)) return "duplicate";
    for (auto later = std::next(it); later != interfaces.end(); ++later) {
      if (Overlap<Family>(*it, *later, &text)) return text;
    }
    if (IsNextHop<Family>(*it, config.static_route_config())) return "next hop";
  }
  return WithOtherKinds<Family>(config, changed);
}

// The text of the first violation among the l3 interfaces; empty when the rule
// holds.
std::string PlainAddresses(const Config& config, int family) {
  const InterfaceConfig& l3 = *config.intf_by_type(InterfaceType::kL3);
  return family == 4 ? Addresses<Ipv4>(config, l3)
                     : Addresses<Ipv6>(config, l3);
}

// ---- The measurements ------------------------------------------------------

using Body = std::function<void(State&)>;

benchmark::internal::Benchmark* Register(const std::string& what,
                                         const std::string& variant, int size,
                                         const Body& body) {
  const std::string name = what + "/" + variant + "/" + std::to_string(size);
  auto* registered = benchmark::RegisterBenchmark(
      name.c_str(), [body](State& state) { body(state); });
  registered->Unit(benchmark::kMicrosecond);
  if (size >= 16000) registered->Repetitions(3);
  return registered;
}

// The variants must give equal answers, or the comparison is meaningless.
void Require(bool condition, const std::string& what) {
  if (!condition) throw std::logic_error("wrong answer: " + what);
}

// A snapshot that has read the interfaces.
std::unique_ptr<Config> ConfigOf(const Records& records) {
  auto config = std::make_unique<Config>();
  for (const Interface& interface : records.l3) {
    config->intf_by_type(InterfaceType::kL3)->MergeConfigAndInsert(interface);
  }
  for (const Interface& interface : records.loopback) {
    config->intf_by_type(InterfaceType::kLoopback)
        ->MergeConfigAndInsert(interface);
  }
  return config;
}

std::string Addresses(const Config& config, int family) {
  const auto rule = family == 4 ? &ValidateConfig::ValidateInterfaceIPv4
                                : &ValidateConfig::ValidateInterfaceIPv6;
  ValidateConfig rules;
  static_cast<void>((rules.*rule)(config, InterfaceType::kL3));
  return rules.error_text();
}

void RegisterAddresses(const std::string& what, const Network& network) {
  const bool is_clean = network.conflict == Conflict::kNone;
  Register(what, "indexed", network.interfaces, [=](State& state) {
    const auto config = ConfigOf(RecordsOf(network));
    Require(Addresses(*config, network.family).empty() == is_clean, what);
    for (auto _ : state) {
      benchmark::DoNotOptimize(Addresses(*config, network.family));
    }
  });
  if (network.interfaces > kMostPlainInterfaces) return;
  auto* plain = Register(what, "plain", network.interfaces, [=](State& state) {
    const auto config = ConfigOf(RecordsOf(network));
    std::string answer;
    for (auto _ : state) answer = PlainAddresses(*config, network.family);
    Require(answer == Addresses(*config, network.family), what);
  });
  const bool walks_far = network.conflict != Conflict::kStart;
  if (walks_far && network.interfaces >= 16000) {
    plain->Iterations(1)->Repetitions(1);  // it takes seconds
  }
}

void RegisterAllAddresses() {
  const std::pair<const char*, Conflict> conflicts[] = {
      {"clean", Conflict::kNone},
      {"conflict at the start", Conflict::kStart},
      {"conflict in the middle", Conflict::kMiddle},
      {"conflict at the end", Conflict::kEnd},
      {"conflict with the last loopback", Conflict::kOtherKind},
  };
  for (const int family : {4, 6}) {
    for (const int vrfs : {1, 16}) {
      for (const auto& [text, conflict] : conflicts) {
        for (const int interfaces : kInterfaceCounts) {
          const std::string what = "rule IPv" + std::to_string(family) +
                                   " addresses/" + std::to_string(vrfs) +
                                   " VRF, " + text;
          RegisterAddresses(what, {interfaces, family, vrfs, conflict});
        }
      }
    }
  }
}

}  // namespace

}  // namespace ipav::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  ipav::bench::RegisterAllAddresses();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
