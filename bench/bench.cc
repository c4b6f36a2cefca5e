// Measures the rules and merges on networks of any size. A name is
// WHAT/SHAPE/VARIANT/SIZE; variants of one measurement stand beside each other
// in one run:
//   indexed   the plug-in
//   plain     the same by a plain walk, as far as one ends in a minute
// The sizes are interfaces of four addresses or OSPFv2 rows. report.py turns
// the JSON output into tables. tests/growth measures whole callbacks.

#include <benchmark/benchmark.h>

#include <functional>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/network.h"
#include "bench/plain_walk.h"
#include "include/config.h"
#include "include/validate_config.h"

namespace ipav::bench {

namespace {

using benchmark::State;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::L3Config;
using ip_application::config_valid::Ospfv2Config;
using ip_application::config_valid::ValidateConfig;

constexpr int kInterfaceCounts[] = {10, 100, 256, 1000, 4000, 16000, 64000};
constexpr int kOspfRowCounts[] = {16, 160, 1600, 16000};

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

// ---- The rule for addresses ------------------------------------------------

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

// ---- OSPFv2 ----------------------------------------------------------------

// Four rows for each l3 interface.
std::vector<OspfIf> OspfRecords(int rows, const std::vector<Interface>& l3) {
  std::vector<OspfIf> records;
  for (const Interface& interface : l3) {
    for (const auto& address : interface.ipv4) {
      if (static_cast<int>(records.size()) == rows) return records;
      records.push_back({1, "global", {}, interface.name, {address}});
    }
  }
  return records;
}

// Interfaces, of which the l3 ones have that many addresses.
Records OspfNetwork(int rows) {
  Network network;
  const int l3s = rows / kAddressesEach;
  network.interfaces = l3s + (l3s < 14 ? 1 : l3s / 7);  // and loopbacks
  return RecordsOf(network);
}

void RegisterOspf(const std::string& what, int rows,
                  int (ValidateConfig::*rule)(const Config&),
                  bool (*plain)(const Config&)) {
  const auto config_of = [](int count) {
    const Records records = OspfNetwork(count);
    auto config = ConfigOf(records);
    for (const OspfIf& record : OspfRecords(count, records.l3)) {
      config->ospfv2_config().MergeConfigAndInsert(record);
    }
    return config;
  };
  Register(what, "indexed", rows, [=](State& state) {
    const auto config = config_of(rows);
    for (auto _ : state) {
      ValidateConfig rules;
      Require((rules.*rule)(*config) == 0, what);
    }
  });
  Register(what, "plain", rows, [=](State& state) {
    const auto config = config_of(rows);
    for (auto _ : state) Require(plain(*config), what);
  });
}

// ---- Merges ----------------------------------------------------------------

// Merges the records of both families.
void RegisterMerge(int count) {
  const std::string what = "merge of interfaces/two reads";
  const auto records_of = [count] {
    std::vector<Interface> records(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      Interface& record = records[static_cast<std::size_t>(i)];
      record.name = "l3 port-" + std::to_string(i);
      record.vrf_name = "global";
    }
    return records;
  };
  Register(what, "indexed", count, [=](State& state) {
    const std::vector<Interface> records = records_of();
    for (auto _ : state) {
      L3Config reader;
      for (const auto& record : records) reader.MergeConfigAndInsert(record);
      for (const auto& record : records) reader.MergeConfigAndInsert(record);
    }
  });
  if (count > kMostPlainInterfaces) return;
  Register(what, "plain", count, [=](State& state) {
    const std::vector<Interface> records = records_of();
    for (auto _ : state) {
      std::vector<Interface> merged;
      for (const auto& record : records) PlainMerge(record, &merged);
      for (const auto& record : records) PlainMerge(record, &merged);
    }
  });
}

void RegisterOspfMerge(int rows) {
  const std::string what = "merge of OSPFv2 rows/4 each";
  Register(what, "indexed", rows, [=](State& state) {
    const auto records = OspfRecords(rows, OspfNetwork(rows).l3);
    for (auto _ : state) {
      Ospfv2Config reader;
      for (const auto& record : records) reader.MergeConfigAndInsert(record);
    }
  });
  Register(what, "plain", rows, [=](State& state) {
    const auto records = OspfRecords(rows, OspfNetwork(rows).l3);
    for (auto _ : state) {
      std::list<std::shared_ptr<OspfIf>> merged;
      for (const auto& record : records) PlainMerge(record, &merged);
    }
  });
}

void RegisterAll() {
  RegisterAllAddresses();
  for (const int rows : kOspfRowCounts) {
    RegisterOspf("rule OSPFv2 addresses/4 rows each", rows,
                 &ValidateConfig::ValidateOspfv2, PlainOspfAddresses);
    RegisterOspf("rule OSPFv2 VRFs/4 rows each", rows,
                 &ValidateConfig::ValidateOspfv2Vrf, PlainOspfVrfs);
    RegisterOspfMerge(rows);
  }
  for (const int count : kInterfaceCounts) RegisterMerge(count);
}

}  // namespace

}  // namespace ipav::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  ipav::bench::RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
