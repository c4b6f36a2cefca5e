// ipav_engine_bench FOLDER [VERDICTS]
//
// Verdicts of the engine, one after another, on the running configuration of
// FOLDER, which bench/host/generate.py wrote, with the address of one interface
// changed. Prints the median and the 99th percentile in ms, the verdicts in a
// second, and the memory of the engine's server after a tenth of them and at
// the end.
#include "host/engine/engine.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ratio>
#include <string>
#include <vector>

#include "host/base/stopwatch.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"

namespace {

using ipav::base::In;
using ipav::engine::Engine;

// The resident memory of the server, the only child, as the kernel writes it: a
// number and its unit.
std::string ServerMemory() {
  std::string server;
  std::ifstream("/proc/thread-self/children") >> server;
  std::ifstream status("/proc/" + server + "/status");
  const std::string label = "VmRSS:";
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, label.size(), label) == 0) {
      return line.substr(line.find_first_not_of("\t ", label.size()));
    }
  }
  return "unknown";
}

// The time of one, in ms.
double Judge(Engine* engine) {
  ipav::base::Stopwatch watch;
  const ipav::commit::Outcome outcome = engine->Judge(
      {{"/config/interface/l3{users-128}/ipv4/address/ip", "10.0.2.2/30"}});
  const double time = In<std::milli>(watch.Lap());
  if (outcome.verdict != ipav::commit::Verdict::kAccepted) {
    static_cast<void>(std::fputs("The change is not accepted.\n", stderr));
    std::exit(EXIT_FAILURE);
  }
  return time;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : ".";
  const std::size_t count =
      argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 2000;
  const ipav::datastore::Model model(IPAV_YANG_DIR, IPAV_EXTENSION);
  const auto running =
      ipav::datastore::DataTree::FromFile(model, folder + "/running.xml");
  Engine engine(running, {IPAV_PLUGIN, true});

  std::vector<double> times;
  ipav::base::Stopwatch all;
  for (std::size_t i = 1; i <= count; ++i) {
    times.push_back(Judge(&engine));
    if (i == count / 10 || i == count) {
      std::printf("server after %zu verdicts: %s\n", i, ServerMemory().c_str());
    }
  }
  const double rate = static_cast<double>(count) / In<std::ratio<1>>(all.Lap());
  std::sort(times.begin(), times.end());
  std::printf("median %.2f ms, p99 %.2f ms, %.0f verdicts a second\n",
              times.at(count / 2), times.at(count * 99 / 100), rate);
}
