// CDB over the running configuration of the open session.

#include <confd_cdb.h>

#include <cstdarg>

#include "confd/confd_error.h"
#include "confd/path.h"
#include "confd/read.h"
#include "confd/session.h"

namespace confd = ipav::confd;

int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = confd::Guarded([&] {
    confd::Session& session = confd::Session::OfCdbSocket(sock);
    session.CountCall(confd::PlatformCall::kCdbGetInt32);
    const confd::Target leaf = confd::Resolve(
        session.running(), confd::ParsePath(confd::FormatPath(fmt, args)));
    *rval = confd::ReadLeaf(leaf, C_INT32)->val.i32;
    return CONFD_OK;
  });
  va_end(args);
  return result;
}
