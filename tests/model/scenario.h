// Random lives of the library: small configurations in which few addresses,
// names and VRFs meet often, and calls that change between them.
#ifndef IPAV_TESTS_MODEL_SCENARIO_H_
#define IPAV_TESTS_MODEL_SCENARIO_H_

#include <rapidcheck.h>

#include <iosfwd>
#include <vector>

#include "plain_model.h"

namespace ipav::model {

// The calls of one life. Each transaction shows a configuration of its own.
struct Scenario {
  std::vector<Configuration> transactions;
  std::vector<Call> calls;
};

rc::Gen<Scenario> AnyScenario();

// For the report of a counterexample.
std::ostream& operator<<(std::ostream& out, const Call& call);
std::ostream& operator<<(std::ostream& out, const Answer& answer);
std::ostream& operator<<(std::ostream& out, const Configuration& configuration);
std::ostream& operator<<(std::ostream& out, const Scenario& scenario);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_SCENARIO_H_
