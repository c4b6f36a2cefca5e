#include "internal/assertion.h"

// <assert.h> declares the failure function only where assertions are on, and
// the C library allows it to be included anew with another setting.
#undef NDEBUG
#include <assert.h>

namespace ip_application::config_valid::internal {

void FailAssertion(const AssertionSite& site) {
  __assert_fail(site.expression, site.file, site.line, site.function);
}

}  // namespace ip_application::config_valid::internal
