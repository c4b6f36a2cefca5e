// Values, error texts and the last error of the daemon's C library.

#include <arpa/inet.h>
#include <confd_lib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/base/bytes.h"
#include "host/base/utf8.h"
#include "host/confd/confd_error.h"
#include "host/confd/session.h"
#include "host/confd/tracer.h"
#include "host/confd/value.h"
#include "nettypes/ipv4.h"

int confd_errno = 0;

namespace ipav::confd {

namespace {

std::string g_last_error;

std::string PrintAddress(const in_addr& address) {
  nettypes::IPv4Addr printed;
  printed.set_addr(address.s_addr);
  return printed.to_string();
}

std::string PrintAddress(const in6_addr& address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(AF_INET6, &address, text, sizeof(text));
}

std::string Bytes(const confd_buf_t& buffer) {
  return {reinterpret_cast<const char*>(buffer.ptr), buffer.size};
}

std::string PrintTag(const xml_tag& tag) {
  const Session* session = Session::Current();
  const std::string* name =
      session == nullptr ? nullptr : session->model().NameOfTag(tag.tag);
  return name != nullptr ? *name : "tag<" + std::to_string(tag.tag) + ">";
}

}  // namespace

std::string PrintValue(const confd_value_t& value) {
  const auto& val = value.val;
  switch (value.type) {
    case C_XMLTAG:
      return PrintTag(val.xmltag);
    case C_STR:
      return val.s;
    case C_BUF:
      return Bytes(val.buf);
    case C_INT8:
      return std::to_string(val.i8);
    case C_INT16:
      return std::to_string(val.i16);
    case C_INT32:
      return std::to_string(val.i32);
    case C_INT64:
      return std::to_string(val.i64);
    case C_UINT8:
      return std::to_string(val.u8);
    case C_UINT16:
      return std::to_string(val.u16);
    case C_UINT32:
      return std::to_string(val.u32);
    case C_UINT64:
      return std::to_string(val.u64);
    case C_IPV4:
      return PrintAddress(val.ip);
    case C_IPV6:
      return PrintAddress(val.ip6);
    case C_BOOL:
      return val.boolean != 0 ? "true" : "false";
    case C_ENUM_VALUE:
      return "enum<" + std::to_string(val.enumvalue) + ">";
    case C_BINARY:
      return base::ToHex(Bytes(val.buf));
    case C_IPV4_AND_PLEN:
      return PrintAddress(val.ipv4prefix.ip) + "/" +
             std::to_string(val.ipv4prefix.len);
    case C_IPV6_AND_PLEN:
      return PrintAddress(val.ipv6prefix.ip6) + "/" +
             std::to_string(val.ipv6prefix.len);
    case C_NOEXISTS:
      return "";
  }
  return "type<" + std::to_string(value.type) + ">";
}

std::string FormatText(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::vector<char> text(static_cast<std::size_t>(std::max(length, 0)) + 1);
  static_cast<void>(std::vsnprintf(text.data(), text.size(), format, args));
  return text.data();
}

void SetLastError(int code, const char* reason) {
  confd_errno = code;
  g_last_error = reason;
}

}  // namespace ipav::confd

char* confd_lasterr(void) { return ipav::confd::g_last_error.data(); }

void confd_trans_seterr(confd_trans_ctx* tctx, const char* fmt, ...) {
  ipav::confd::Session* session = ipav::confd::Session::Current();
  if (session == nullptr || tctx != &session->context()) return;
  session->CountCall("confd_trans_seterr");

  va_list args;
  va_start(args, fmt);
  const std::string text = ipav::confd::FormatText(fmt, args);
  va_end(args);
  ipav::confd::CallTrace trace(__func__, text.c_str());
  session->set_error_text(text);
  trace.End();
}

int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  ipav::confd::Session* session = ipav::confd::Session::Current();
  if (session != nullptr) {
    session->CountCall("confd_pp_value");
  }

  const std::string text = ipav::confd::PrintValue(*v);
  ipav::confd::CallTrace trace(__func__);
  if (trace.is_on()) trace.set_answer(ipav::base::Quoted(text));
  trace.End();
  if (bufsiz > 0) {
    const std::size_t room = static_cast<std::size_t>(bufsiz) - 1;
    const std::size_t length = std::min(text.size(), room);
    std::memcpy(buf, text.data(), length);
    buf[length] = '\0';
  }
  return static_cast<int>(text.size());
}

void confd_free_value(confd_value_t* v) {
  if (v->type != C_BUF && v->type != C_BINARY) return;
  std::free(v->val.buf.ptr);
  v->val.buf = {0, nullptr};
}
