// The plug-in's assertions, which stop the process through the C library's
// assertion failure. In a fuzz target the failure of a known assertion of the
// plug-in is an exception, so that the next input can run. Any other one is a
// finding.
#ifndef IPAV_FUZZ_SUPPORT_ASSERTIONS_H_
#define IPAV_FUZZ_SUPPORT_ASSERTIONS_H_

#include <string>

namespace ipav::fuzz {

// The input that is wrong when an assertion fails.
enum class Cause : unsigned {
  kKeyPath = 1,      // the key path of the call
  kStoredValue = 2,  // a leaf or a key from the platform
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
