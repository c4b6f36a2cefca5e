// The fake's confd_maapi.h.

#include <confd_maapi.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "tests/support/fake_platform.h"
#include "tests/support/side.h"

using ipav::testing::Change;
using ipav::testing::Fake;
using ipav::testing::FakePlatform;
using ipav::testing::IsAtOrBelow;
using ipav::testing::ParsePath;
using ipav::testing::Path;
using ipav::testing::Side;
using ipav::testing::SideScope;
using ipav::testing::Value;

int maapi_exists(int sock, int thandle, const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  if (request.code != CONFD_OK) return request.result();
  return Fake().Exists(request);
}

int maapi_num_instances(int sock, int thandle, const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  if (request.code != CONFD_OK) return request.result();
  return Fake().CountEntries(request);
}

// ---- Leaves ----------------------------------------------------------------

int maapi_get_elem(int sock, int thandle, confd_value_t* v, const char* fmt,
                   ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  if (request.code != CONFD_OK) return request.result();
  const Value* leaf = Fake().FindLeaf(request);
  if (leaf == nullptr) return CONFD_ERR;
  *v = Fake().GiveValue(*leaf);
  return CONFD_OK;
}

int maapi_get_str_elem(int sock, int thandle, char* buf, int n, const char* fmt,
                       ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_BUF, &value);
  if (result != CONFD_OK) return result;
  const confd_buf_t& text = value.val.buf;
  if (n <= 0 || text.size > static_cast<unsigned>(n) - 1) {
    return FakePlatform::Fail(CONFD_ERR_PROTOUSAGE, "buffer too small");
  }
  std::memcpy(buf, text.ptr, text.size);
  buf[text.size] = '\0';
  return CONFD_OK;
}

int maapi_get_int32_elem(int sock, int thandle, int32_t* rval, const char* fmt,
                         ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_INT32, &value);
  if (result == CONFD_OK) *rval = value.val.i32;
  return result;
}

int maapi_get_u_int8_elem(int sock, int thandle, uint8_t* rval, const char* fmt,
                          ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_UINT8, &value);
  if (result == CONFD_OK) *rval = value.val.u8;
  return result;
}

int maapi_get_u_int16_elem(int sock, int thandle, uint16_t* rval,
                           const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_UINT16, &value);
  if (result == CONFD_OK) *rval = value.val.u16;
  return result;
}

int maapi_get_u_int32_elem(int sock, int thandle, uint32_t* rval,
                           const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_UINT32, &value);
  if (result == CONFD_OK) *rval = value.val.u32;
  return result;
}

int maapi_get_ipv4_and_plen_elem(int sock, int thandle, confd_ipv4_prefix* rval,
                                 const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_IPV4_AND_PLEN, &value);
  if (result == CONFD_OK) *rval = value.val.ipv4prefix;
  return result;
}

int maapi_get_ipv6_and_plen_elem(int sock, int thandle, confd_ipv6_prefix* rval,
                                 const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  confd_value_t value;
  const int result = Fake().ReadTyped(request, C_IPV6_AND_PLEN, &value);
  if (result == CONFD_OK) *rval = value.val.ipv6prefix;
  return result;
}

// ---- Cursors ---------------------------------------------------------------

int maapi_init_cursor(int sock, int thandle, maapi_cursor* mc, const char* fmt,
                      ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto request = Fake().Begin(__func__, sock, thandle, fmt, args);
  va_end(args);
  *mc = {};
  if (request.code != CONFD_OK) return request.result();
  mc->impl = Fake().OpenCursor(request.path);
  return CONFD_OK;
}

int maapi_get_next(maapi_cursor* mc) {
  const SideScope scope(Side::kPlatform);
  FakePlatform::Cursor* cursor = Fake().FindCursor(mc->impl);
  const std::string list = cursor == nullptr ? "" : cursor->list;
  mc->n = 0;  // also ends a walk that ignores the result
  if (Fake().RecordAndFail({"maapi_get_next", list})) {
    FakePlatform::Fail(CONFD_ERR_PROTOUSAGE, "failed on demand");
    return Fake().failure_result();
  }
  if (cursor == nullptr) {
    return FakePlatform::Fail(CONFD_ERR_NOSESSION, "no open cursor");
  }

  for (unsigned char* octets : cursor->octets) std::free(octets);
  cursor->octets.clear();
  if (cursor->next == cursor->rows.size()) return CONFD_OK;
  for (const Value& key : cursor->rows[cursor->next++]) {
    mc->keys[mc->n] = key.Allocate();
    if (key.has_octets()) {
      cursor->octets.push_back(mc->keys[mc->n].val.buf.ptr);
    }
    ++mc->n;
  }
  mc->keys[mc->n] = ipav::testing::Nothing().Borrow();
  return CONFD_OK;
}

void maapi_destroy_cursor(maapi_cursor* mc) {
  const SideScope scope(Side::kPlatform);
  FakePlatform::Cursor* cursor = Fake().FindCursor(mc->impl);
  Fake().RecordAndFail(
      {"maapi_destroy_cursor", cursor == nullptr ? "" : cursor->list});
  if (cursor == nullptr) return;
  Fake().CloseCursor(cursor);
  mc->n = 0;
  mc->impl = nullptr;
}

// ---- XPath and the changes of the transaction ------------------------------

int maapi_xpath_eval_expr(int sock, int thandle, const char* expr, char** res,
                          void (*)(char*), const char* fmtpath, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmtpath);
  const auto request = Fake().Begin(__func__, sock, thandle, fmtpath, args,
                                    std::string(expr) + ", ");
  va_end(args);
  *res = nullptr;
  if (request.code != CONFD_OK) return request.result();
  *res = strdup(Fake().XpathAnswer(request.path, expr).c_str());
  return CONFD_OK;
}

int maapi_keypath_diff_iterate(int sock, int thandle,
                               confd_iter_ret (*iter)(confd_hkeypath_t*,
                                                      confd_iter_op,
                                                      confd_value_t*,
                                                      confd_value_t*, void*),
                               int, void* initstate, const char* fmtpath, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmtpath);
  const auto request = Fake().Begin(__func__, sock, thandle, fmtpath, args);
  va_end(args);
  if (request.code != CONFD_OK) return request.result();

  std::optional<Path> skipped;
  for (Change& change : Fake().ChangesBelow(request.path)) {
    const Path node = *ParsePath(change.node.text());
    if (skipped && IsAtOrBelow(node, *skipped)) continue;

    confd_value_t value;
    if (change.new_value) value = change.new_value->Borrow();
    const auto step = [&] {
      const SideScope plug_in(Side::kPlugIn);
      return iter(change.node.get(), change.op, nullptr,
                  change.new_value ? &value : nullptr, initstate);
    };
    switch (step()) {
      case ITER_STOP:
        return CONFD_OK;
      case ITER_RECURSE:
        break;
      case ITER_CONTINUE:
        skipped = node;
        break;
      default:
        return FakePlatform::Fail(CONFD_ERR_PROTOUSAGE, "no such answer");
    }
  }
  return CONFD_OK;
}
