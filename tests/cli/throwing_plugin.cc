// A plug-in whose check throws, as one does whose reader meets a text that is
// no number.

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

extern "C" {

int32_t lib_init(void** /*context*/);
int32_t get_validation_point(char* buffer, std::size_t size);
int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval);
int32_t lib_finish(void** context);

int32_t lib_init(void** /*context*/) { return 0; }

int32_t get_validation_point(char* buffer, std::size_t size) {
  static_cast<void>(std::snprintf(buffer, size, "ip_app_validation"));
  return 0;
}

int32_t validate(confd_trans_ctx* /*tctx*/, confd_hkeypath_t* /*keypath*/,
                 confd_value_t* /*newval*/) {
  throw std::invalid_argument("stoul");
}

int32_t lib_finish(void** /*context*/) { return 0; }

}  // extern "C"
