// Assertions on the types of ConfD values. A failure aborts the process through
// the C library's assertion failure, in every build.
#ifndef IPAV_SRC_LIB_INTERNAL_ASSERTION_H_
#define IPAV_SRC_LIB_INTERNAL_ASSERTION_H_

#include <confd_lib.h>

namespace ip_application::config_valid::internal {

// The source file in the reports of the snapshot's readers (assertions and
// faults), whichever file they are in: the text of the reports is fixed.
inline constexpr char kConfigSource[] = "src/lib/config.cc";

// The parts of the report of a failed assertion, printed unchanged.
struct AssertionSite {
  const char* expression;
  const char* file;
  unsigned line;
  const char* function;
};

// Prints the standard report of `site` to standard error and aborts. Unlike
// assert(3) it is not compiled out by NDEBUG.
[[noreturn]] void FailAssertion(const AssertionSite& site);

// Fails the assertion of `site` unless `value` has that type.
inline void RequireType(const confd_value_t& value, confd_vtype type,
                        const AssertionSite& site) {
  if (value.type != type) FailAssertion(site);
}

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_ASSERTION_H_
