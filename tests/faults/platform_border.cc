// Between the plug-in and the platform: every call notes which side runs. The
// linker leads each call here (--wrap), and from here to what it is meant for.
// Also between the host and the plug-in: what a host does of an exception that
// leaves the entry point.

#include "tests/faults/platform_border.h"

#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <ids/limid.h>
#include <ids/vrf_id.h>

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "include/validate.h"
#include "tests/faults/allocations.h"
#include "tests/support/fake_platform.h"
#include "tests/support/path_text.h"

using ipav::faults::kFindsNothing;
using ipav::faults::Side;
using ipav::faults::SideScope;
using ipav::testing::Fake;
using ipav::testing::FormatPath;
using ipav::testing::FormatText;

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)

extern "C" {

extern decltype(IdVrfFromComponent) __real_IdVrfFromComponent;
extern decltype(cdb_get_int32) __real_cdb_get_int32;
extern decltype(confd_free_value) __real_confd_free_value;
extern decltype(confd_pp_value) __real_confd_pp_value;
extern decltype(free) __real_free;
extern decltype(get_config_vald_log_handle) __real_get_config_vald_log_handle;
extern decltype(get_lib_context) __real_get_lib_context;
extern decltype(hostd_instance_get) __real_hostd_instance_get;
extern decltype(hostd_maapi_socket_get) __real_hostd_maapi_socket_get;
extern decltype(hostmw_gen_fault) __real_hostmw_gen_fault;
extern decltype(hostmw_vlog_debug) __real_hostmw_vlog_debug;
extern decltype(limid_l3_vlan_from_components)
    __real_limid_l3_vlan_from_components;
extern decltype(limid_to_ifindex) __real_limid_to_ifindex;
extern decltype(maapi_destroy_cursor) __real_maapi_destroy_cursor;
extern decltype(maapi_exists) __real_maapi_exists;
extern decltype(maapi_get_elem) __real_maapi_get_elem;
extern decltype(maapi_get_int32_elem) __real_maapi_get_int32_elem;
extern decltype(maapi_get_ipv4_and_plen_elem)
    __real_maapi_get_ipv4_and_plen_elem;
extern decltype(maapi_get_ipv6_and_plen_elem)
    __real_maapi_get_ipv6_and_plen_elem;
extern decltype(maapi_get_next) __real_maapi_get_next;
extern decltype(maapi_get_str_elem) __real_maapi_get_str_elem;
extern decltype(maapi_get_u_int16_elem) __real_maapi_get_u_int16_elem;
extern decltype(maapi_get_u_int32_elem) __real_maapi_get_u_int32_elem;
extern decltype(maapi_get_u_int8_elem) __real_maapi_get_u_int8_elem;
extern decltype(maapi_init_cursor) __real_maapi_init_cursor;
extern decltype(maapi_keypath_diff_iterate) __real_maapi_keypath_diff_iterate;
extern decltype(maapi_num_instances) __real_maapi_num_instances;
extern decltype(maapi_xpath_eval_expr) __real_maapi_xpath_eval_expr;
extern decltype(validate) __real_validate;
void __real__ZN19HostdCdbSessionBaseC2EP14HostdInterface11cdb_db_typeb(
    HostdCdbSessionBase* self, HostdInterface* host, cdb_db_type database,
    bool wait);
void __real__ZN19HostdCdbSessionBaseD2Ev(HostdCdbSessionBase* self);

}  // extern "C"

namespace {

// A call with a path, which goes on as the argument of "%s". `more` is what
// stands between the transaction and the path.
template <typename Function, typename... More>
int ForwardPath(Function* real, int sock, int thandle, const char* fmt,
                va_list args, More... more) {
  const SideScope scope(Side::kPlatform);
  const std::string path = FormatPath(fmt, args).value_or(fmt);
  const int result = real(sock, thandle, more..., "%s", path.c_str());
  return result == kFindsNothing ? 0 : result;
}

// The last answer to an XPath question that is not free yet, and how many were
// forgotten before it.
void* xpath_answer = nullptr;
std::size_t forgotten_xpath_answers = 0;

// One step of the walk through the changes is the plug-in's again.
struct Walk {
  confd_iter_ret (*iter)(confd_hkeypath_t*, confd_iter_op, confd_value_t*,
                         confd_value_t*, void*);
  void* state;
};

confd_iter_ret Step(confd_hkeypath_t* kp, confd_iter_op op, confd_value_t* oldv,
                    confd_value_t* newv, void* state) {
  const SideScope scope(Side::kPlugIn);
  const auto* walk = static_cast<const Walk*>(state);
  return walk->iter(kp, op, oldv, newv, walk->state);
}

}  // namespace

extern "C" {

// ---- The entry point -------------------------------------------------------

int32_t __wrap_validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                        confd_value_t* newval) {
  const SideScope scope(Side::kPlugIn);
  try {
    return __real_validate(tctx, keypath, newval);
  } catch (const std::bad_alloc&) {
    ipav::faults::NoteRanOutOfMemory();
    return -1;
  }
}

// ---- Calls with a path -----------------------------------------------------

int __wrap_maapi_exists(int sock, int thandle, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = ForwardPath(__real_maapi_exists, sock, thandle, fmt, args);
  va_end(args);
  return result;
}

int __wrap_maapi_num_instances(int sock, int thandle, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      ForwardPath(__real_maapi_num_instances, sock, thandle, fmt, args);
  va_end(args);
  return result;
}

int __wrap_maapi_get_elem(int sock, int thandle, confd_value_t* v,
                          const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      ForwardPath(__real_maapi_get_elem, sock, thandle, fmt, args, v);
  va_end(args);
  return result;
}

int __wrap_maapi_get_str_elem(int sock, int thandle, char* buf, int n,
                              const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      ForwardPath(__real_maapi_get_str_elem, sock, thandle, fmt, args, buf, n);
  va_end(args);
  return result;
}

int __wrap_maapi_get_int32_elem(int sock, int thandle, int32_t* rval,
                                const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      ForwardPath(__real_maapi_get_int32_elem, sock, thandle, fmt, args, rval);
  va_end(args);
  return result;
}

int __wrap_maapi_get_u_int8_elem(int sock, int thandle, uint8_t* rval,
                                 const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      ForwardPath(__real_maapi_get_u_int8_elem, sock, thandle, fmt, args, rval);
  va_end(args);
  return result;
}

int __wrap_maapi_get_u_int16_elem(int sock, int thandle, uint16_t* rval,
                                  const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = ForwardPath(__real_maapi_get_u_int16_elem, sock, thandle,
                                 fmt, args, rval);
  va_end(args);
  return result;
}

int __wrap_maapi_get_u_int32_elem(int sock, int thandle, uint32_t* rval,
                                  const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = ForwardPath(__real_maapi_get_u_int32_elem, sock, thandle,
                                 fmt, args, rval);
  va_end(args);
  return result;
}

int __wrap_maapi_get_ipv4_and_plen_elem(int sock, int thandle,
                                        confd_ipv4_prefix* rval,
                                        const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = ForwardPath(__real_maapi_get_ipv4_and_plen_elem, sock,
                                 thandle, fmt, args, rval);
  va_end(args);
  return result;
}

int __wrap_maapi_get_ipv6_and_plen_elem(int sock, int thandle,
                                        confd_ipv6_prefix* rval,
                                        const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = ForwardPath(__real_maapi_get_ipv6_and_plen_elem, sock,
                                 thandle, fmt, args, rval);
  va_end(args);
  return result;
}

int __wrap_maapi_init_cursor(int sock, int thandle, maapi_cursor* mc,
                             const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      ForwardPath(__real_maapi_init_cursor, sock, thandle, fmt, args, mc);
  va_end(args);
  return result;
}

int __wrap_maapi_xpath_eval_expr(int sock, int thandle, const char* expr,
                                 char** res, void (*trace)(char*),
                                 const char* fmtpath, ...) {
  va_list args;
  va_start(args, fmtpath);
  const int result = ForwardPath(__real_maapi_xpath_eval_expr, sock, thandle,
                                 fmtpath, args, expr, res, trace);
  va_end(args);
  if (xpath_answer != nullptr) ++forgotten_xpath_answers;
  xpath_answer = *res;
  return result;
}

// Memory of the C library that the plug-in gives back is an answer's.
void __wrap_free(void* memory) {
  if (memory == xpath_answer) xpath_answer = nullptr;
  __real_free(memory);
}

int __wrap_maapi_keypath_diff_iterate(
    int sock, int thandle,
    confd_iter_ret (*iter)(confd_hkeypath_t*, confd_iter_op, confd_value_t*,
                           confd_value_t*, void*),
    int flags, void* initstate, const char* fmtpath, ...) {
  Walk walk = {iter, initstate};
  va_list args;
  va_start(args, fmtpath);
  const int result =
      ForwardPath(__real_maapi_keypath_diff_iterate, sock, thandle, fmtpath,
                  args, Step, flags, static_cast<void*>(&walk));
  va_end(args);
  return result;
}

int __wrap_cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const SideScope scope(Side::kPlatform);
  const std::string path = FormatPath(fmt, args).value_or(fmt);
  va_end(args);
  return __real_cdb_get_int32(sock, rval, "%s", path.c_str());
}

// As the fake does it, which could not be given the arguments.
void __wrap_confd_trans_seterr(confd_trans_ctx* tctx, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const SideScope scope(Side::kPlatform);
  const std::string text = FormatText(fmt, args);
  va_end(args);
  Fake().RecordAndFail({"confd_trans_seterr", text});
  Fake().RecordError({tctx, fmt, text});
}

// ---- Calls without one -----------------------------------------------------

int __wrap_maapi_get_next(maapi_cursor* mc) {
  const SideScope scope(Side::kPlatform);
  const int result = __real_maapi_get_next(mc);
  return result == kFindsNothing ? 0 : result;
}

void __wrap_maapi_destroy_cursor(maapi_cursor* mc) {
  const SideScope scope(Side::kPlatform);
  __real_maapi_destroy_cursor(mc);
}

int __wrap_confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  const SideScope scope(Side::kPlatform);
  return __real_confd_pp_value(buf, bufsiz, v);
}

void __wrap_confd_free_value(confd_value_t* v) {
  const SideScope scope(Side::kPlatform);
  __real_confd_free_value(v);
}

int __wrap_hostd_maapi_socket_get(hostd_t* hostd) {
  const SideScope scope(Side::kPlatform);
  return __real_hostd_maapi_socket_get(hostd);
}

HostdInterface* __wrap_hostd_instance_get(hostd_t* hostd) {
  const SideScope scope(Side::kPlatform);
  return __real_hostd_instance_get(hostd);
}

void* __wrap_get_lib_context(void* v_opaque, const char* name) {
  const SideScope scope(Side::kPlatform);
  return __real_get_lib_context(v_opaque, name);
}

void* __wrap_get_config_vald_log_handle() {
  const SideScope scope(Side::kPlatform);
  return __real_get_config_vald_log_handle();
}

void __wrap_hostmw_vlog_debug(void* handle, const char* format, va_list args) {
  const SideScope scope(Side::kPlatform);
  __real_hostmw_vlog_debug(handle, format, args);
}

void __wrap_hostmw_gen_fault(int code, const char* function, const char* file,
                             int line, const char* message) {
  const SideScope scope(Side::kPlatform);
  __real_hostmw_gen_fault(code, function, file, line, message);
}

int __wrap_limid_l3_vlan_from_components(limid_t* out, int32_t vlan) {
  const SideScope scope(Side::kPlatform);
  return __real_limid_l3_vlan_from_components(out, vlan);
}

int __wrap_limid_to_ifindex(limid_t id, uint32_t* ifindex) {
  const SideScope scope(Side::kPlatform);
  return __real_limid_to_ifindex(id, ifindex);
}

uint32_t __wrap_IdVrfFromComponent(uint32_t component) {
  const SideScope scope(Side::kPlatform);
  return __real_IdVrfFromComponent(component);
}

// Constructor and destructor of the session's base.
void __wrap__ZN19HostdCdbSessionBaseC2EP14HostdInterface11cdb_db_typeb(
    HostdCdbSessionBase* self, HostdInterface* host, cdb_db_type database,
    bool wait) {
  const SideScope scope(Side::kPlatform);
  __real__ZN19HostdCdbSessionBaseC2EP14HostdInterface11cdb_db_typeb(
      self, host, database, wait);
}

void __wrap__ZN19HostdCdbSessionBaseD2Ev(HostdCdbSessionBase* self) {
  const SideScope scope(Side::kPlatform);
  __real__ZN19HostdCdbSessionBaseD2Ev(self);
}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier)

namespace ipav::faults {

std::size_t UnfreedXpathAnswers() {
  return forgotten_xpath_answers + (xpath_answer == nullptr ? 0 : 1);
}

}  // namespace ipav::faults
