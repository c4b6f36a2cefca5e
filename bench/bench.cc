// Measures the rules, the readers and whole callbacks on networks of any size.
// A name is WHAT/SHAPE/VARIANT/SIZE; variants of one measurement run one after
// the other:
//   indexed   the plug-in
//   plain     the same with a plain walk, up to a size that takes a minute
//   replay    only the callback's platform calls
// The sizes are interfaces of four addresses, static routes or OSPFv2 rows.
// report.py turns the JSON output into tables.

#include <benchmark/benchmark.h>

#include <functional>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/allocations.h"
#include "bench/network.h"
#include "bench/plain_walk.h"
#include "bench/platform.h"
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
constexpr int kRouteCounts[] = {10, 100, 1000, 10000, 100000};
constexpr int kOspfRowCounts[] = {16, 160, 1600, 16000};

// With more, a plain walk takes minutes.
constexpr int kMostPlainInterfaces = 16000;

using Body = std::function<void(State&)>;

// For walks that take seconds.
void RunOnce(benchmark::internal::Benchmark* registered) {
  registered->Iterations(1)->Repetitions(1);
}

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

// A snapshot that has read everything that the rules need.
std::unique_ptr<Life> ReadLife(const Network& network) {
  Store(network);
  auto life = std::make_unique<Life>();
  life->Validate("ipv" + std::to_string(network.family) + "_addr_validation");
  if (network.in_ospf) life->Validate("ipv4_addr_prot_cross_validation");
  return life;
}

void JudgeAddresses(const Config& config, int family, ValidateConfig* rules) {
  const auto rule = family == 4 ? &ValidateConfig::ValidateInterfaceIPv4
                                : &ValidateConfig::ValidateInterfaceIPv6;
  static_cast<void>((rules->*rule)(config, InterfaceType::kL3));
}

std::string Addresses(const Config& config, int family) {
  ValidateConfig rules;
  JudgeAddresses(config, family, &rules);
  return rules.error_text();
}

// ---- The rule for addresses ------------------------------------------------

void RegisterAddresses(const std::string& what, const Network& network) {
  const bool is_clean = network.conflict == Conflict::kNone;
  Register(what, "indexed", network.interfaces, [=](State& state) {
    const auto life = ReadLife(network);
    const std::string answer = Addresses(life->config(), network.family);
    Require(answer.empty() == is_clean, what);
    for (auto _ : state) {
      ValidateConfig rules;
      JudgeAddresses(life->config(), network.family, &rules);
      benchmark::DoNotOptimize(rules.error_text().size());
    }
  });
  if (network.interfaces > kMostPlainInterfaces) return;
  auto* plain = Register(what, "plain", network.interfaces, [=](State& state) {
    const auto life = ReadLife(network);
    std::string answer;
    for (auto _ : state) {
      answer = PlainAddresses(life->config(), network.family);
    }
    Require(answer == Addresses(life->config(), network.family), what);
  });
  const bool walks_far = network.conflict != Conflict::kStart;
  if (walks_far && network.interfaces >= 16000) RunOnce(plain);
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

Network OspfNetwork(int rows) {
  Network network;
  const int l3s = rows / kAddressesEach;
  network.interfaces = l3s + (l3s < 14 ? 1 : l3s / 7);  // and loopbacks
  network.in_ospf = true;
  return network;
}

void RegisterOspf(const std::string& what, int rows,
                  int (ValidateConfig::*rule)(const Config&),
                  bool (*plain)(const Config&)) {
  Register(what, "indexed", rows, [=](State& state) {
    const auto life = ReadLife(OspfNetwork(rows));
    for (auto _ : state) {
      ValidateConfig rules;
      Require((rules.*rule)(life->config()) == 0, what);
    }
  });
  Register(what, "plain", rows, [=](State& state) {
    const auto life = ReadLife(OspfNetwork(rows));
    for (auto _ : state) Require(plain(life->config()), what);
  });
}

// ---- Merges ----------------------------------------------------------------

std::vector<Interface> Records(int count) {
  std::vector<Interface> records(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Interface& record = records[static_cast<std::size_t>(i)];
    record.name = "l3 port-" + std::to_string(i);
    record.vrf_name = "global";
  }
  return records;
}

std::vector<OspfIf> OspfRecords(int rows) {
  std::vector<OspfIf> records;
  for (int i = 0; i < rows; ++i) {
    const std::string name = "l3 port-" + std::to_string(i / kAddressesEach);
    records.push_back(
        {1, "global", {}, name, {{static_cast<unsigned>(i), 24}}});
  }
  return records;
}

// Merges the records of both families.
void RegisterMerge(int count) {
  const std::string what = "merge of interfaces/two reads";
  const auto merge = [](const std::vector<Interface>& records,
                        L3Config* reader) {
    for (const auto& record : records) reader->MergeConfigAndInsert(record);
  };
  Register(what, "indexed", count, [=](State& state) {
    const std::vector<Interface> records = Records(count);
    for (auto _ : state) {
      L3Config reader;
      merge(records, &reader);
      merge(records, &reader);
    }
  });
  if (count > kMostPlainInterfaces) return;
  Register(what, "plain", count, [=](State& state) {
    const std::vector<Interface> records = Records(count);
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
    const std::vector<OspfIf> records = OspfRecords(rows);
    for (auto _ : state) {
      Ospfv2Config reader;
      for (const auto& record : records) reader.MergeConfigAndInsert(record);
    }
  });
  Register(what, "plain", rows, [=](State& state) {
    const std::vector<OspfIf> records = OspfRecords(rows);
    for (auto _ : state) {
      std::list<std::shared_ptr<OspfIf>> merged;
      for (const auto& record : records) PlainMerge(record, &merged);
    }
  });
}

// ---- Whole callbacks -------------------------------------------------------

Trace TraceOf(const Network& network, const std::string& point) {
  Store(network);
  Trace trace;
  TraceCallsTo(&trace);
  static_cast<void>(Life().Validate(point));
  TraceCallsTo(nullptr);
  return trace;
}

// The same with a round trip for each call, the minimum cost of a real daemon.
void RegisterRoundTrips(const std::string& what, const std::string& point,
                        int size, const Network& network) {
  const auto in_round_trips = [=](State& state, auto body) {
    Store(network);
    ThePlatform().set_round_trips(true);
    for (auto _ : state) body();
    ThePlatform().set_round_trips(false);
  };
  Register(what, "indexed", size, [=](State& state) {
    in_round_trips(state, [&] {
      Life life;
      benchmark::DoNotOptimize(life.Validate(point));
    });
  });
  Register(what, "replay", size, [=](State& state) {
    const Trace trace = TraceOf(network, point);
    in_round_trips(state, [&] { trace.Replay(); });
  });
}

void RegisterCallback(const std::string& what, const std::string& point,
                      int size, const Network& network) {
  Register(what, "indexed", size, [=](State& state) {
    Store(network);
    std::size_t before = 0;
    for (auto _ : state) {
      before = Allocations();
      Life life;
      benchmark::DoNotOptimize(life.Validate(point));
    }
    state.counters["allocations each"] =
        static_cast<double>(Allocations() - before) / size;
  });
  Register(what, "replay", size, [=](State& state) {
    const Trace trace = TraceOf(network, point);
    for (auto _ : state) trace.Replay();
    state.counters["calls each"] = static_cast<double>(trace.size()) / size;
  });
}

void RegisterCallbacks() {
  for (const int interfaces : kInterfaceCounts) {
    for (const int family : {4, 6}) {
      const std::string text = std::to_string(family);
      RegisterCallback("callback ipv" + text + "_addr/1 VRF, clean",
                       "ipv" + text + "_addr_validation", interfaces,
                       {interfaces, family});
      RegisterCallback("callback ipv" + text + "_addr/16 VRF, clean",
                       "ipv" + text + "_addr_validation", interfaces,
                       {interfaces, family, 16});
    }
  }
  for (const int routes : kRouteCounts) {
    Network network;
    network.routes = routes;
    RegisterCallback("callback ipv4_addr_route/10 interfaces",
                     "ipv4_addr_route_validation", routes, network);
  }
  for (const int rows : kOspfRowCounts) {
    RegisterCallback("callback ipv4_addr_cross_prot/4 rows each",
                     "ipv4_addr_prot_cross_validation", rows,
                     OspfNetwork(rows));
  }
}

void RegisterAllRoundTrips() {
  RegisterRoundTrips("callback ipv4_addr/a socket round trip for each call",
                     "ipv4_addr_validation", 256, {256, 4});
  RegisterRoundTrips("callback ipv6_addr/a socket round trip for each call",
                     "ipv6_addr_validation", 256, {256, 6});
  Network network;
  network.routes = 1000;
  RegisterRoundTrips(
      "callback ipv4_addr_route/a socket round trip for each call",
      "ipv4_addr_route_validation", network.routes, network);
  RegisterRoundTrips(
      "callback ipv4_addr_cross_prot/a socket round trip for each call",
      "ipv4_addr_prot_cross_validation", 1600, OspfNetwork(1600));
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
  RegisterCallbacks();
  RegisterAllRoundTrips();
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
