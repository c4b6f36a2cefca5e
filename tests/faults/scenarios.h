// The scenarios in which calls fail: each validation point on a router with
// interfaces of all kinds, several VRFs with overlapping addresses, static
// routes, OSPFv2 and OSPFv3, in variants that the rules accept and refuse.
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

// The scenarios of all eleven points.
std::vector<Point> AllPoints();

}  // namespace ipav::faults

#endif  // IPAV_TESTS_FAULTS_SCENARIOS_H_
