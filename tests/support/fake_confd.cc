// The fake's confd_lib.h and confd_cdb.h.

#include <confd_cdb.h>
#include <confd_lib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "tests/support/fake_platform.h"
#include "tests/support/side.h"

using ipav::testing::Fake;
using ipav::testing::FakePlatform;
using ipav::testing::FormatPath;
using ipav::testing::FormatText;
using ipav::testing::ParsePath;
using ipav::testing::PrettyText;
using ipav::testing::Side;
using ipav::testing::SideScope;

void confd_trans_seterr(confd_trans_ctx* tctx, const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const std::string text = FormatText(fmt, args);
  va_end(args);
  Fake().RecordAndFail({"confd_trans_seterr", text});
  Fake().RecordError({tctx, fmt, text});
}

int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  const SideScope scope(Side::kPlatform);
  const std::string text = PrettyText(*v);
  Fake().RecordAndFail({"confd_pp_value", text});
  const auto room = static_cast<std::size_t>(std::max(bufsiz, 0));
  std::snprintf(buf, room, "%s", text.c_str());
  return static_cast<int>(text.size());
}

void confd_free_value(confd_value_t* v) {
  const SideScope scope(Side::kPlatform);
  Fake().RecordAndFail({"confd_free_value", PrettyText(*v)});
  Fake().TakeValueBack(v);
}

int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmt);
  const auto text = FormatPath(fmt, args);
  va_end(args);
  if (Fake().RecordAndFail(
          {"cdb_get_int32", text.value_or(fmt), sock, -1, fmt})) {
    FakePlatform::Fail(CONFD_ERR_PROTOUSAGE, "failed on demand");
    return Fake().failure_result();
  }
  const auto path = ParsePath(text.value_or(""));
  if (!path) return FakePlatform::Fail(CONFD_ERR_BADPATH, "bad path");
  return Fake().ReadRunning(sock, *path, rval);
}
