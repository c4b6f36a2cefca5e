#include "src/lib/internal/assertion.h"

// <cassert> declares the failure function only where assertions are on, and
// the C library allows it to be included anew with another setting.
#undef NDEBUG
#include <cassert>

namespace ip_application::config_valid::internal {

void FailAssertion(const AssertionSite& site) {
  __assert_fail(site.expression, site.file, site.line, site.function);
}

}  // namespace ip_application::config_valid::internal
