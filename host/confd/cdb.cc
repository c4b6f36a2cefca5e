// CDB over the running configuration of the open session.

#include <confd_cdb.h>

#include <cstdarg>

#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/confd/read.h"
#include "host/confd/session.h"
#include "host/confd/tracer.h"

namespace confd = ipav::confd;

int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  confd::CallTrace trace(__func__, fmt, args);
  const int result = confd::Guarded([&] {
    confd::Session& session = confd::Session::OfCdbSocket(sock);
    session.CountCall(confd::PlatformCall::kCdbGetInt32);
    const confd::Target leaf = confd::Resolve(
        session.running(), confd::ParsePath(confd::FormatPath(fmt, args)));
    *rval = confd::ReadLeaf(leaf, C_INT32)->val.i32;
    return CONFD_OK;
  });
  va_end(args);
  if (trace.is_on()) trace.set_answer(std::to_string(*rval));
  return trace.End(result);
}
