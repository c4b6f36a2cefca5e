// A plug-in for traces: what it does is the text of the variable DEED.

#include <confd_lib.h>
#include <confd_maapi.h>
#include <hostd/hostd.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

constexpr char kL3[] = "/config/interface/l3";

std::int32_t Do(const std::string& deed, int sock, confd_trans_ctx* tctx) {
  const int thandle = tctx->thandle;
  static_cast<void>(maapi_exists(sock, thandle, kL3));
  if (deed == "abort") std::abort();
  if (deed == "crash-in-call") {
    // No place for the answer.
    static_cast<void>(maapi_get_elem(sock, thandle, nullptr,
                                     "%s{users}/lower-layer-if/vlan", kL3));
  }
  if (deed == "hang") pause();
  if (deed == "throw") throw std::runtime_error("no more");
  if (deed == "odd-texts") {
    static_cast<void>(maapi_exists(sock, thandle, "%s{\"a\n\x01\"}", kL3));
    static_cast<void>(maapi_exists(sock, thandle, "%x", 1U));
    confd_trans_seterr(tctx, "\"two\\\nlines\"");
    return CONFD_ERR;
  }
  if (deed == "long-text" || deed == "long-texts") {
    const std::string text(std::size_t{1} << 20, 'x');
    const int count = deed == "long-text" ? 1 : 40;
    for (int i = 0; i < count; ++i) {
      confd_trans_seterr(tctx, "%s", text.c_str());
    }
  }
  return CONFD_OK;
}

}  // namespace

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

int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* /*keypath*/,
                 confd_value_t* /*newval*/) {
  const char* deed = std::getenv("DEED");
  const int sock =
      hostd_maapi_socket_get(static_cast<hostd_t*>(tctx->vcb_opaque));
  return Do(deed == nullptr ? "" : deed, sock, tctx);
}

int32_t lib_finish(void** /*context*/) { return 0; }

}  // extern "C"
