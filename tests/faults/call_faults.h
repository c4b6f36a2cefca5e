// The ways in which a call of the platform can fail, and the effect of each:
// the configuration that the plug-in then sees, as the plain model describes
// it.
#ifndef IPAV_TESTS_FAULTS_CALL_FAULTS_H_
#define IPAV_TESTS_FAULTS_CALL_FAULTS_H_

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/faults/scenarios.h"
#include "tests/model/plain_model.h"
#include "tests/support/fake_platform.h"

namespace ipav::faults {

using Calls = std::vector<testing::Call>;

// The effect of a failure.
enum class Effect : std::uint8_t {
  kNoSocket,         // the call is refused without a text
  kNoContext,        // the call is refused with the one text for it
  kNone,             // the result is ignored, or means nothing
  kAbsent,           // the node does not exist, or the list has no entries
  kUnreadable,       // the leaf exists and has no value
  kCut,              // the list ends
  kNoRunningVlan,    // the interface had no VLAN
  kRunningVlanZero,  // ... or one that is no VLAN
  kNoIdentifier,     // no interface is on that VLAN
  kNoIndex,          // ... or it has no index
  kNotInOspfv3,      // the interface that is asked for
  kNoChanges,        // of the transaction
};

struct Way {
  const char* call;
  const char* words;
  int result;  // of the call
  Effect effect;
};

// The failures of a call, by its name. A call that cannot report one has none.
std::vector<Way> WaysToFail(const std::string& call);
std::set<std::string> CallsThatCanFail();
bool CannotFail(const std::string& call);

// The answer of the plain model if call number `at` of the plug-in fails in
// this way; and its answer to a second call without a failure, in the same
// life.
struct Expectation {
  model::Answer answer;
  model::Answer second;
};
Expectation Expect(const Scenario& scenario, const Calls& calls, std::size_t at,
                   const Way& way);

}  // namespace ipav::faults

#endif  // IPAV_TESTS_FAULTS_CALL_FAULTS_H_
