// Measures the embedded host for several numbers of interfaces: one read of the
// daemon's interface, in the order of the configuration, as the plug-in reads,
// and in random order; and one verdict on a changed address, of a whole commit
// and of the engine.

#include <benchmark/benchmark.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/commit/commit.h"
#include "host/confd/session.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"
#include "host/datastore/model.h"
#include "host/engine/edits.h"
#include "host/engine/engine.h"

namespace ipav::bench {

namespace {

using benchmark::State;
using datastore::DataTree;
using datastore::Diff;
using datastore::InputText;
using datastore::Model;

constexpr char kL3[] = "/config/interface/ipapp:l3";

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
    const std::string number = std::to_string(i);
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

const DataTree& Tree(int interfaces) {
  static std::map<int, DataTree> trees;
  const auto found = trees.find(interfaces);
  if (found != trees.end()) return found->second;
  const InputText text{"generated", Configuration(interfaces), 0, LYD_XML};
  return trees.emplace(interfaces, DataTree::FromText(ProjectModel(), text))
      .first->second;
}

// An open transaction without changes.
class Transaction {
 public:
  explicit Transaction(int interfaces)
      : diff_(Tree(interfaces), Tree(interfaces)),
        session_(Tree(interfaces), Tree(interfaces), diff_) {}

  int socket() const { return confd::Session::maapi_socket(); }
  int handle() { return session_.context().thandle; }

 private:
  Diff diff_;
  confd::Session session_;
};

enum class Order : std::uint8_t { kOfConfiguration, kAny };

// The path of a node below each interface.
std::vector<std::string> Paths(int interfaces, Order order,
                               const std::string& below) {
  std::vector<std::string> paths;
  for (int i = 0; i < interfaces; ++i) {
    paths.push_back(kL3 + ("{" + Name(i) + "}") + below);
  }
  if (order == Order::kAny) {
    // The same in every run. NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp)
    std::mt19937 random(1);
    std::shuffle(paths.begin(), paths.end(), random);
  }
  return paths;
}

void Require(bool condition) {
  if (!condition) std::abort();
}

// Makes one call after another, for one interface after another.
template <typename Call>
void ReadEach(State& state, const std::string& below, Order order,
              const Call& call) {
  const int interfaces = static_cast<int>(state.range(0));
  Transaction transaction(interfaces);
  const std::vector<std::string> paths = Paths(interfaces, order, below);
  std::size_t i = 0;
  for (auto _ : state) {
    call(transaction.socket(), transaction.handle(), paths[i].c_str());
    i = i + 1 == paths.size() ? 0 : i + 1;
  }
}

void Exists(int socket, int handle, const char* path) {
  Require(maapi_exists(socket, handle, "%s", path) == 1);
}

void IsAbsent(int socket, int handle, const char* path) {
  Require(maapi_exists(socket, handle, "%s", path) == 0);
}

void GetElem(int socket, int handle, const char* path) {
  confd_value_t value;
  Require(maapi_get_elem(socket, handle, &value, "%s", path) == CONFD_OK);
  confd_free_value(&value);
}

void GetInt32(int socket, int handle, const char* path) {
  std::int32_t value = 0;
  Require(maapi_get_int32_elem(socket, handle, &value, "%s", path) == CONFD_OK);
  benchmark::DoNotOptimize(value);
}

void GetPrefix(int socket, int handle, const char* path) {
  confd_ipv4_prefix value{};
  Require(maapi_get_ipv4_and_plen_elem(socket, handle, &value, "%s", path) ==
          CONFD_OK);
  benchmark::DoNotOptimize(value);
}

void OpenCursor(int socket, int handle, const char* path) {
  maapi_cursor cursor;
  Require(maapi_init_cursor(socket, handle, &cursor, "%s", path) == CONFD_OK);
  maapi_destroy_cursor(&cursor);
}

// One entry after another of the list of all interfaces.
void GetNext(State& state) {
  Transaction transaction(static_cast<int>(state.range(0)));
  maapi_cursor cursor;
  const auto open = [&] {
    Require(maapi_init_cursor(transaction.socket(), transaction.handle(),
                              &cursor, "%s", kL3) == CONFD_OK);
  };
  open();
  for (auto _ : state) {
    Require(maapi_get_next(&cursor) == CONFD_OK);
    if (cursor.n == 0) {
      maapi_destroy_cursor(&cursor);
      open();
    }
  }
  maapi_destroy_cursor(&cursor);
}

double ProcessorSeconds() {
  double seconds = 0;
  for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(whose, &usage);
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      seconds += static_cast<double>(time.tv_sec) +
                 static_cast<double>(time.tv_usec) / 1e6;
    }
  }
  return seconds;
}

// The time of the processor of all processes, children included.
class ProcessorTime {
 public:
  explicit ProcessorTime(State* state) : state_(*state) {}
  ~ProcessorTime() {
    state_.counters["processor"] = benchmark::Counter(
        ProcessorSeconds() - start_, benchmark::Counter::kAvgIterations);
  }
  ProcessorTime(const ProcessorTime&) = delete;
  ProcessorTime& operator=(const ProcessorTime&) = delete;

 private:
  State& state_;
  const double start_ = ProcessorSeconds();
};

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
  const ProcessorTime time(&state);
  engine::Engine engine(running, AllPoints());
  for (auto _ : state) RequireAccepted(engine.Judge({ChangedAddress()}));
}

void JudgeByCommit(State& state) {
  const DataTree running = FreshTree(state);
  const DataTree candidate =
      engine::Edited(FreshTree(state), {ChangedAddress()});
  const ProcessorTime time(&state);
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

template <typename Body>
void Register(const std::string& name, const Body& body) {
  benchmark::RegisterBenchmark(name.c_str(), body)
      ->Arg(256)
      ->Arg(10000)
      ->Arg(100000)
      ->Unit(benchmark::kNanosecond);
}

template <typename Call>
void RegisterRead(const std::string& name, const std::string& below,
                  const Call& call) {
  Register(name + "/in order", [=](State& state) {
    ReadEach(state, below, Order::kOfConfiguration, call);
  });
  Register(name + "/any order",
           [=](State& state) { ReadEach(state, below, Order::kAny, call); });
}

}  // namespace

}  // namespace ipav::bench

int main(int argc, char** argv) {
  using namespace ipav::bench;
  RegisterRead("maapi_exists", "/lower-layer-if/vlan", Exists);
  RegisterRead("maapi_exists, absent", "/vrf", IsAbsent);
  RegisterRead("maapi_get_elem, text", "/name", GetElem);
  RegisterRead("maapi_get_int32_elem", "/lower-layer-if/vlan", GetInt32);
  RegisterRead("maapi_get_ipv4_and_plen_elem", "/ipv4/address/ip", GetPrefix);
  RegisterRead("maapi_init_cursor and _destroy_cursor",
               "/ipv4/address/secondary", OpenCursor);
  Register("maapi_get_next", GetNext);
  RegisterVerdict("verdict of a commit", JudgeByCommit);
  RegisterVerdict("verdict of the engine", JudgeByEngine);

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}
