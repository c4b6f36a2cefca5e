// Its first verdict stands for the life of its context.
#include <confd_maapi.h>
#include <hostd/hostd.h>

#include <cstdio>

#include "tests/host/plugins/entry_points.h"

namespace {

struct Memory {
  bool has_verdict = false;
  int32_t verdict = 0;
};

}  // namespace

int32_t lib_init(void** context) {
  *context = new Memory;
  return 0;
}

int32_t get_validation_point(char* buffer, size_t size) {
  std::snprintf(buffer, size, "test_set");
  return 0;
}

// Refuses when /top/bad exists.
int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* /*keypath*/,
                 confd_value_t* /*newval*/) {
  auto* memory =
      static_cast<Memory*>(get_lib_context(tctx->v_opaque, "test_set"));
  if (!memory->has_verdict) {
    memory->has_verdict = true;
    const int socket =
        hostd_maapi_socket_get(static_cast<hostd_t*>(tctx->vcb_opaque));
    const bool bad = maapi_exists(socket, tctx->thandle, "/top/bad") == 1;
    memory->verdict = bad ? CONFD_ERR : CONFD_OK;
  }
  return memory->verdict;
}

int32_t lib_finish(void** context) {
  delete static_cast<Memory*>(*context);
  *context = nullptr;
  return 0;
}
