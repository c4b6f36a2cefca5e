// The plug-in's assertions, which stop the process through the C library's
// assertion failure. In a fuzz target the failure of a known assertion of the
// plug-in is an exception, so that the next input can run. Any other one is a
// finding.
#ifndef IPAV_FUZZ_SUPPORT_ASSERTIONS_H_
#define IPAV_FUZZ_SUPPORT_ASSERTIONS_H_

#include <string>

namespace ipav::fuzz {

struct AssertionFailed {
  std::string expression;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_ASSERTIONS_H_
