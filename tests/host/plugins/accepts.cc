// Accepts everything. A definition takes one entry point away or makes one
// misbehave.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "tests/host/plugins/entry_points.h"

namespace {

[[maybe_unused, noreturn]] void Hang() {
  for (;;) pause();
}

// Its life is that of the loaded file.
struct Resident {
#if defined(HANGS_ON_LOAD)
  Resident() { Hang(); }
#elif defined(HANGS_ON_UNLOAD)
  ~Resident() { Hang(); }
#elif defined(ABORTS_ON_UNLOAD)
  ~Resident() { std::abort(); }
#endif
};

[[maybe_unused]] const Resident kResident{};

}  // namespace

#ifndef LACKS_LIB_INIT
int32_t lib_init(void** /*context*/) {
#if defined(FAILS_IN_INIT)
  return 1;
#elif defined(THROWS_IN_INIT)
  throw std::runtime_error("no memory for the snapshot");
#elif defined(THROWS_INT_IN_INIT)
  throw 42;
#elif defined(ABORTS_IN_INIT)
  std::abort();
#elif defined(HANGS_IN_INIT)
  Hang();
#else
  return 0;
#endif
}
#endif

#ifndef LACKS_GET_VALIDATION_POINT
// NOLINTNEXTLINE(readability-non-const-parameter): the interface's
int32_t get_validation_point(char* buffer, size_t size) {
#if defined(NAMES_NOTHING)
  std::snprintf(buffer, size, "%s", "");
  return 0;
#elif defined(FAILS_TO_NAME)
  std::snprintf(buffer, size, "test_set");
  return 1;
#elif defined(NAMES_ANOTHER_SET)
  std::snprintf(buffer, size, "another_set");
  return 0;
#elif defined(THROWS_IN_NAME)
  static_cast<void>(buffer);
  static_cast<void>(size);
  throw std::runtime_error("no name today");
#elif defined(HANGS_IN_NAME)
  static_cast<void>(buffer);
  static_cast<void>(size);
  Hang();
#else
  std::snprintf(buffer, size, "test_set");
  return 0;
#endif
}
#endif

#ifndef LACKS_VALIDATE
int32_t validate(confd_trans_ctx* /*tctx*/, confd_hkeypath_t* /*keypath*/,
                 confd_value_t* /*newval*/) {
  return 0;
}
#endif

#ifndef LACKS_LIB_FINISH
int32_t lib_finish(void** /*context*/) {
#if defined(THROWS_IN_FINISH)
  throw std::runtime_error("nothing to free");
#elif defined(ABORTS_IN_FINISH)
  std::abort();
#elif defined(HANGS_IN_FINISH)
  Hang();
#else
  return 0;
#endif
}
#endif
