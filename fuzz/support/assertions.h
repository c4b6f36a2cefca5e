// The plug-in's programming errors: it stops the process through the C
// library's assertion failure. In a fuzz target that failure is an exception,
// so that the next input can run; thrown for the plug-in's own assertions only,
// any other one is a finding.
#ifndef IPAV_FUZZ_SUPPORT_ASSERTIONS_H_
#define IPAV_FUZZ_SUPPORT_ASSERTIONS_H_

#include <string>

namespace ipav::fuzz {

// What must be wrong for an assertion to fail.
enum class Cause : unsigned {
  kKeyPath = 1,      // the key path of the call
  kStoredValue = 2,  // a leaf or a key that the platform hands out
  kChange = 4,       // the key path of a change of the transaction
};

// A set of causes.
using Causes = unsigned;
constexpr Causes kNoCause = 0;
constexpr Causes operator|(Cause a, Cause b) {
  return static_cast<Causes>(a) | static_cast<Causes>(b);
}
constexpr Causes operator|(Causes a, Cause b) {
  return a | static_cast<Causes>(b);
}
constexpr bool Has(Causes causes, Cause cause) {
  return (causes & static_cast<Causes>(cause)) != 0;
}

struct AssertionFailed {
  std::string expression;
  Cause cause;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_ASSERTIONS_H_
