// Random life cycles of the library: one or two configurations, and calls on
// them.
#ifndef IPAV_TESTS_MODEL_SCENARIO_H_
#define IPAV_TESTS_MODEL_SCENARIO_H_

#include <cstddef>
#include <iosfwd>
#include <vector>

#include "tests/model/choices.h"
#include "tests/model/plain_model.h"

namespace ipav::model {

// The calls of one life cycle. Each transaction has its own configuration.
struct Scenario {
  std::vector<Configuration> transactions;
  std::vector<Call> calls;
};

// Uses at most that many numbers.
constexpr std::size_t kNumbersOfScenario = 1500;
Scenario AnyScenario(Choices* choices);

// For the report of a counterexample.
std::ostream& operator<<(std::ostream& out, const Scenario& scenario);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_SCENARIO_H_
