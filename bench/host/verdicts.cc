// Measures one verdict on a changed address for several numbers of interfaces:
// of a whole commit and of the engine.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "host/commit/commit.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"
#include "host/engine/edits.h"
#include "host/engine/engine.h"

namespace ipav::bench {

namespace {

using benchmark::State;
using datastore::DataTree;
using datastore::Model;

std::string Name(int number) { return "users-" + std::to_string(number); }

std::string Address(int first_octet, int number) {
  return std::to_string(first_octet) + "." + std::to_string(number / 16384) +
         "." + std::to_string(number / 64 % 256) + "." +
         std::to_string(number % 64 * 4 + 1) + "/30";
}

// Interfaces of four addresses each.
std::string Configuration(int interfaces) {
  std::string text =
      "<config xmlns=\"urn:vorplex:config\"><interface "
      "xmlns:i=\"urn:vorplex:ipapp\">";
  for (int i = 0; i < interfaces; ++i) {
    text += "<i:l3><i:name>" + Name(i) +
            "</i:name><i:mtu>1500</i:mtu><i:lower-layer-if><i:vlan>" +
            std::to_string(i % 4094 + 1) +
            "</i:vlan></i:lower-layer-if><i:ipv4><i:address><i:ip>" +
            Address(10, i) + "</i:ip><i:secondary><i:ip>" + Address(11, i) +
            "</i:ip></i:secondary></i:address></i:ipv4><i:ipv6>";
    for (const char* net : {"2001:db8:1:", "2001:db8:2:"}) {
      text += "<i:address><i:ip>" + (net + std::to_string(i / 10000)) + ":" +
              std::to_string(i % 10000) + "::1/80</i:ip></i:address>";
    }
    text += "</i:ipv6></i:l3>";
  }
  return text + "</interface></config>";
}

const Model& ProjectModel() {
  static const Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return kModel;
}

void Require(bool condition) {
  if (!condition) std::abort();
}

const engine::Edit& ChangedAddress() {
  static const engine::Edit kEdit = {
      "/config/interface/l3{users-128}/ipv4/address/ip", "10.0.2.2/30"};
  return kEdit;
}

commit::Options AllPoints() { return {IPAV_PLUGIN, true}; }

void RequireAccepted(const commit::Outcome& outcome) {
  Require(outcome.verdict == commit::Verdict::kAccepted &&
          !outcome.answers.empty());
}

// Not kept: fork(2) takes longer, the more memory a process has.
DataTree FreshTree(const State& state) {
  const std::string text = Configuration(static_cast<int>(state.range(0)));
  return DataTree::FromText(ProjectModel(), {"generated", text, 0, LYD_XML});
}

void JudgeByEngine(State& state) {
  const DataTree running = FreshTree(state);
  engine::Engine engine(running, AllPoints());
  for (auto _ : state) RequireAccepted(engine.Judge({ChangedAddress()}));
}

void JudgeByCommit(State& state) {
  const DataTree running = FreshTree(state);
  const DataTree candidate =
      engine::Edited(FreshTree(state), {ChangedAddress()});
  for (auto _ : state) {
    RequireAccepted(commit::RunCommit(running, candidate, AllPoints()));
  }
}

template <typename Body>
void RegisterVerdict(const std::string& name, const Body& body) {
  benchmark::RegisterBenchmark(name.c_str(), body)
      ->Arg(256)
      ->Arg(1000)
      ->Arg(10000)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

}  // namespace

}  // namespace ipav::bench

int main(int argc, char** argv) {
  using namespace ipav::bench;
  RegisterVerdict("verdict of a commit", JudgeByCommit);
  RegisterVerdict("verdict of the engine", JudgeByEngine);

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}
