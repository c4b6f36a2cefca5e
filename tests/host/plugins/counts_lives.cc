// Reports each of its lives as a fault. The counters outlast a life, and would
// outlast a commit in a process that keeps the plug-in.
#include <hostmw/fault.h>

#include <cstdio>
#include <string>

#include "tests/host/plugins/entry_points.h"

namespace {

int g_inits = 0;
int g_finishes = 0;

void Report(const std::string& what, int count) {
  hostmw_gen_fault(0, "", "", 0, (what + " " + std::to_string(count)).c_str());
}

}  // namespace

int32_t lib_init(void** context) {
  *context = &g_inits;
  Report("lib_init", ++g_inits);
  return 0;
}

int32_t get_validation_point(char* buffer, size_t size) {
  std::snprintf(buffer, size, "test_set");
  return 0;
}

int32_t validate(confd_trans_ctx* /*tctx*/, confd_hkeypath_t* /*keypath*/,
                 confd_value_t* /*newval*/) {
  Report("validate in life", g_inits);
  return CONFD_ERR;
}

int32_t lib_finish(void** context) {
  Report(*context == &g_inits ? "lib_finish" : "lib_finish of a stranger",
         ++g_finishes);
  return 0;
}
