#include "src/lib/internal/assertion.h"

// <cassert> declares the failure function only without NDEBUG. It may be
// included again with another setting of NDEBUG.
#undef NDEBUG
#include <cassert>

namespace ip_application::config_valid::internal {

void FailAssertion(const AssertionSite& site) {
  __assert_fail(site.expression, site.file, site.line, site.function);
}

}  // namespace ip_application::config_valid::internal
