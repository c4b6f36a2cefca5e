// Does with a call what the opaque text of its validation point says.
#undef NDEBUG
#include <confd_lib.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <unistd.h>

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "tests/host/plugins/entry_points.h"

namespace {

constexpr char kLongLine[] = "first line\n100% sure, not %s %n\n";

int32_t Refuse(confd_trans_ctx* tctx, const char* text) {
  confd_trans_seterr(tctx, "%s", text);
  return CONFD_ERR;
}

void Log(const char* format, ...) {
  va_list args;
  va_start(args, format);
  hostmw_vlog_debug(get_config_vald_log_handle(), format, args);
  va_end(args);
}

int32_t Describe(confd_trans_ctx* tctx, const confd_hkeypath_t& keypath,
                 const confd_value_t& newval) {
  std::string text;
  char printed[64];
  for (int i = 0; i < keypath.len; ++i) {
    for (const confd_value_t* v = keypath.v[i]; v->type != C_NOEXISTS; ++v) {
      confd_pp_value(printed, sizeof(printed), v);
      text += std::string(printed) + " ";
    }
  }
  confd_pp_value(printed, sizeof(printed), &newval);
  return Refuse(tctx, (text + "= " + printed).c_str());
}

int32_t Chatter() {
  std::printf("to standard output\n");
  std::fprintf(stderr, "to standard error\n");
  hostmw_gen_fault(7, __func__, __FILE__, __LINE__, "first fault");
  hostmw_gen_fault(8, __func__, __FILE__, __LINE__, "second fault");
  Log("line %d of %s", 1, "two");
  Log("%s", "line 2 of two");
  return 0;
}

int32_t ReadCdb(confd_trans_ctx* tctx) {
  const HostdCdbSessionBase cdb(
      hostd_instance_get(static_cast<hostd_t*>(tctx->vcb_opaque)), CDB_RUNNING,
      true);
  int32_t number = 0;
  if (cdb_get_int32(cdb.Socket(), &number, "/top/number") != CONFD_OK) {
    return Refuse(tctx, "no number");
  }
  return Refuse(tctx, std::to_string(number).c_str());
}

void DereferenceNull() {
  volatile int* volatile nothing = nullptr;
  *nothing = 1;  // NOLINT(clang-analyzer-core.NullDereference): wanted
}

}  // namespace

int32_t lib_init(void** /*context*/) { return 0; }

int32_t get_validation_point(char* buffer, size_t size) {
  std::snprintf(buffer, size, "test_set");
  return 0;
}

int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval) {
  if (tctx->validate_opaque == nullptr) return Refuse(tctx, "no opaque text");
  const std::string what = tctx->validate_opaque;
  if (what == "accept") return 0;
  if (what == "refuse") return Refuse(tctx, "refused for a reason.");
  if (what == "refuse-silently") return CONFD_ERR;
  if (what == "refuse-oddly") return Refuse(tctx, kLongLine);
  if (what == "describe") return Describe(tctx, *keypath, *newval);
  if (what == "chatter") return Chatter();
  if (what == "read-cdb") return ReadCdb(tctx);
  if (what == "assert") assert(keypath->len == 4711);
  if (what == "print-and-abort") {
    std::printf("last words\n");
    std::abort();
  }
  if (what == "throw") throw std::runtime_error("thrown for a reason");
  if (what == "throw-int") throw 42;
  if (what == "set-text-and-throw") {
    Refuse(tctx, "text of the one that threw");
    throw std::runtime_error("thrown behind a text");
  }
  if (what == "null") DereferenceNull();
  if (what == "exit-0") std::exit(0);
  if (what == "exit-7") std::exit(7);
  if (what == "return-5") return 5;
  return Refuse(tctx, "unknown opaque text");
}

int32_t lib_finish(void** /*context*/) { return 0; }
