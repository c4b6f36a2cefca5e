// What the faults strike: each validation point on a router with interfaces of
// all kinds, several VRFs with overlapping addresses, static routes and both
// OSPFs, in variants that the rules accept and that they refuse.
#ifndef IPAV_TESTS_FAULTS_SCENARIOS_H_
#define IPAV_TESTS_FAULTS_SCENARIOS_H_

#include <string>
#include <vector>

#include "tests/model/configuration.h"
#include "tests/model/plain_model.h"

namespace ipav::faults {

struct Scenario {
  std::string variant;
  bool is_accepted = true;
  model::Configuration configuration;
  model::Call call;
};

struct Point {
  std::string name;  // its opaque text
  std::vector<Scenario> scenarios;
};

// All eleven.
std::vector<Point> AllPoints();

}  // namespace ipav::faults

#endif  // IPAV_TESTS_FAULTS_SCENARIOS_H_
