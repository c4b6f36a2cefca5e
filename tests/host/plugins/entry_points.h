// The entry points of the plug-ins of these tests.
#ifndef TESTS_HOST_PLUGINS_ENTRY_POINTS_H_
#define TESTS_HOST_PLUGINS_ENTRY_POINTS_H_

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>

extern "C" {

int32_t lib_init(void** context);
int32_t get_validation_point(char* buffer, std::size_t size);
int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval);
int32_t lib_finish(void** context);

}  // extern "C"

#endif  // TESTS_HOST_PLUGINS_ENTRY_POINTS_H_
