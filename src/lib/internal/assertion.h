// Programming errors: a ConfD value of a type that cannot be there stops the
// process through the C library's own assertion failure, in every build.
#ifndef IPAV_SRC_LIB_INTERNAL_ASSERTION_H_
#define IPAV_SRC_LIB_INTERNAL_ASSERTION_H_

#include <confd_lib.h>

namespace ip_application::config_valid::internal {

// The source file that the assertions and faults of the snapshot's readers
// name, whichever source they are in: whoever reads the reports knows it.
inline constexpr char kConfigSource[] = "src/lib/config.cc";

// What the report of a failed assertion names, word for word.
struct AssertionSite {
  const char* expression;
  const char* file;
  unsigned line;
  const char* function;
};

// Prints the standard report of `site` to standard error and aborts. Unlike
// assert(3) it is not compiled out by NDEBUG.
[[noreturn]] void FailAssertion(const AssertionSite& site);

// Fails the assertion of `site` unless `value` is of that type.
inline void RequireType(const confd_value_t& value, confd_vtype type,
                        const AssertionSite& site) {
  if (value.type != type) FailAssertion(site);
}

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_ASSERTION_H_
