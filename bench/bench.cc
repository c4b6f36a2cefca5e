// Measures the rule for addresses on networks of any size. A name is
// WHAT/SHAPE/VARIANT/SIZE; variants of one measurement stand beside each other
// in one run:
//   indexed   the plug-in
//   plain     the same by a plain walk, as far as one ends in a minute
// The sizes are interfaces of four addresses. report.py turns the JSON output
// into tables. tests/growth measures whole callbacks.

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/network.h"
#include "bench/plain_walk.h"
#include "include/config.h"
#include "include/validate_config.h"

namespace ipav::bench {

namespace {

using benchmark::State;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::ValidateConfig;

constexpr int kInterfaceCounts[] = {10, 100, 256, 1000, 4000, 16000, 64000};

// With more, a plain walk takes minutes.
constexpr int kMostPlainInterfaces = 16000;

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
