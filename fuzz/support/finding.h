// Reports an outcome that is not legal.
#ifndef IPAV_FUZZ_SUPPORT_FINDING_H_
#define IPAV_FUZZ_SUPPORT_FINDING_H_

#include <string>

namespace ipav::fuzz {

// Prints the text to standard error and aborts, so that the fuzzer keeps the
// input and the sanitizer prints the stack.
[[noreturn]] void Finding(const std::string& what);

inline void Require(bool holds, const char* what) {
  if (!holds) Finding(what);
}

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_FINDING_H_
