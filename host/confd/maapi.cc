// MAAPI over the candidate of the open session, and CDB over the running
// configuration.

#include <confd_cdb.h>
#include <confd_maapi.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "host/base/utf8.h"
#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/confd/session.h"
#include "host/confd/tracer.h"
#include "host/confd/value.h"
#include "host/datastore/libyang_ptr.h"

namespace ipav::confd {

namespace {

// The position of a walk: the entry that the next call returns.
struct CursorState {
  const lyd_node* next;
};

// Throws if a path does not name a list without keys.
void RequireList(const Target& target) {
  if (target.schema->nodetype != LYS_LIST || target.has_keys) {
    throw ConfdError(CONFD_ERR_BADPATH, "not the path of a list");
  }
}

// The value of the leaf that a path named.
OwnedValue ReadLeaf(const Target& target) {
  if (target.schema->nodetype != LYS_LEAF) {
    throw ConfdError(CONFD_ERR_BADPATH, "not the path of a leaf");
  }
  if (target.node == nullptr) {
    throw ConfdError(CONFD_ERR_NOEXISTS, "no such element");
  }
  return ValueOf(*target.node);
}

OwnedValue ReadLeaf(const Target& target, confd_vtype type) {
  OwnedValue value = ReadLeaf(target);
  if (value->type != type) {
    throw ConfdError(CONFD_ERR_BADTYPE, "element has another type");
  }
  return value;
}

// A call on the node that a path names: traced, counted, and failed if `body`
// throws. `body` returns the result of the call.
template <typename Body>
int CallOnPath(const char* call, int sock, int thandle, const char* format,
               va_list args, const Body& body, const char* first = nullptr) {
  CallTrace trace(call, format, args, first);
  const int result = Guarded([&] {
    Session& session = Session::OfTransaction(sock, thandle);
    session.CountCall(call);
    FormatPath(format, args, &session.path());
    return body(session.candidate_paths().Find(session.path()), &trace);
  });
  return trace.End(result);
}

// The body of every typed read: passes a leaf of that type to `take`.
template <typename Take>
int TypedRead(const char* call, int sock, int thandle, confd_vtype type,
              const char* format, va_list args, const Take& take) {
  return CallOnPath(call, sock, thandle, format, args,
                    [&](const Target& target, CallTrace* trace) {
                      const OwnedValue value = ReadLeaf(target, type);
                      take(*value);
                      if (trace->is_on()) trace->set_answer(TraceText(*value));
                      return CONFD_OK;
                    });
}

// String value of an XPath result: the text of its first node.
std::string StringValue(const ly_set& nodes) {
  if (nodes.count == 0) return "";
  const char* text = lyd_get_value(nodes.dnodes[0]);
  return text == nullptr ? "" : text;
}

std::string EvaluateXPath(const lyd_node& context, const char* expression) {
  ly_set* result = nullptr;
  const LY_ERR error = lyd_find_xpath(&context, expression, &result);
  const datastore::NodeSet nodes(result);
  if (error != LY_SUCCESS || nodes == nullptr) {
    throw ConfdError(CONFD_ERR_XPATH,
                     std::string("not an XPath of nodes: ") + expression);
  }
  return StringValue(*nodes);
}

}  // namespace

}  // namespace ipav::confd

namespace confd = ipav::confd;

int maapi_exists(int sock, int thandle, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      confd::CallOnPath(__func__, sock, thandle, fmt, args,
                        [](const confd::Target& target, confd::CallTrace*) {
                          return target.node != nullptr ? 1 : 0;
                        });
  va_end(args);
  return result;
}

int maapi_num_instances(int sock, int thandle, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = confd::CallOnPath(
      __func__, sock, thandle, fmt, args,
      [](const confd::Target& list, confd::CallTrace*) {
        confd::RequireList(list);
        int count = 0;
        for (const lyd_node* entry = list.node; entry != nullptr;
             entry = ipav::datastore::NextEntry(entry)) {
          ++count;
        }
        return count;
      });
  va_end(args);
  return result;
}

int maapi_get_elem(int sock, int thandle, confd_value_t* v, const char* fmt,
                   ...) {
  va_list args;
  va_start(args, fmt);
  const int result = confd::CallOnPath(
      __func__, sock, thandle, fmt, args,
      [&](const confd::Target& leaf, confd::CallTrace* trace) {
        *v = confd::ReadLeaf(leaf).Release();
        if (trace->is_on()) trace->set_answer(confd::TraceText(*v));
        return CONFD_OK;
      });
  va_end(args);
  return result;
}

int maapi_get_str_elem(int sock, int thandle, char* buf, int n, const char* fmt,
                       ...) {
  va_list args;
  va_start(args, fmt);
  const int result = confd::TypedRead(
      __func__, sock, thandle, C_BUF, fmt, args, [&](const auto& value) {
        const confd_buf_t& text = value.val.buf;
        if (n < 1 || text.size >= static_cast<unsigned>(n)) {
          throw confd::ConfdError(CONFD_ERR_PROTOUSAGE, "buffer too small");
        }
        std::memcpy(buf, text.ptr, text.size + 1);
      });
  va_end(args);
  return result;
}

int maapi_get_int32_elem(int sock, int thandle, int32_t* rval, const char* fmt,
                         ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      confd::TypedRead(__func__, sock, thandle, C_INT32, fmt, args,
                       [&](const auto& value) { *rval = value.val.i32; });
  va_end(args);
  return result;
}

int maapi_get_u_int8_elem(int sock, int thandle, uint8_t* rval, const char* fmt,
                          ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      confd::TypedRead(__func__, sock, thandle, C_UINT8, fmt, args,
                       [&](const auto& value) { *rval = value.val.u8; });
  va_end(args);
  return result;
}

int maapi_get_u_int16_elem(int sock, int thandle, uint16_t* rval,
                           const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      confd::TypedRead(__func__, sock, thandle, C_UINT16, fmt, args,
                       [&](const auto& value) { *rval = value.val.u16; });
  va_end(args);
  return result;
}

int maapi_get_u_int32_elem(int sock, int thandle, uint32_t* rval,
                           const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result =
      confd::TypedRead(__func__, sock, thandle, C_UINT32, fmt, args,
                       [&](const auto& value) { *rval = value.val.u32; });
  va_end(args);
  return result;
}

int maapi_get_ipv4_and_plen_elem(int sock, int thandle, confd_ipv4_prefix* rval,
                                 const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = confd::TypedRead(
      __func__, sock, thandle, C_IPV4_AND_PLEN, fmt, args,
      [&](const auto& value) { *rval = value.val.ipv4prefix; });
  va_end(args);
  return result;
}

int maapi_get_ipv6_and_plen_elem(int sock, int thandle, confd_ipv6_prefix* rval,
                                 const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = confd::TypedRead(
      __func__, sock, thandle, C_IPV6_AND_PLEN, fmt, args,
      [&](const auto& value) { *rval = value.val.ipv6prefix; });
  va_end(args);
  return result;
}

int maapi_init_cursor(int sock, int thandle, maapi_cursor* mc, const char* fmt,
                      ...) {
  mc->n = 0;
  mc->impl = nullptr;
  va_list args;
  va_start(args, fmt);
  const int result =
      confd::CallOnPath(__func__, sock, thandle, fmt, args,
                        [&](const confd::Target& list, confd::CallTrace*) {
                          confd::RequireList(list);
                          mc->impl = new confd::CursorState{list.node};
                          confd::Session::Current()->CountOpenCursor();
                          return CONFD_OK;
                        });
  va_end(args);
  return result;
}

namespace {

void FreeKeys(maapi_cursor* mc) {
  for (int i = 0; i < mc->n; ++i) confd_free_value(&mc->keys[i]);
  mc->n = 0;
}

void TakeKeys(const lyd_node& entry, maapi_cursor* mc) {
  for (const lyd_node* key = lyd_child(&entry);
       key != nullptr && lysc_is_key(key->schema); key = key->next) {
    if (mc->n + 1 == MAXKEYLEN) {
      throw confd::ConfdError(CONFD_ERR_BADPATH, "too many keys");
    }
    mc->keys[mc->n] = confd::ValueOf(*key).Release();
    ++mc->n;
  }
}

std::string KeysText(const maapi_cursor& mc) {
  if (mc.n == 0) return "no more";
  std::string text;
  for (int i = 0; i < mc.n; ++i) {
    text += (i == 0 ? "{" : " ") + confd::TraceText(mc.keys[i]);
  }
  return text + "}";
}

}  // namespace

int maapi_get_next(maapi_cursor* mc) {
  FreeKeys(mc);
  confd::CallTrace trace(__func__);
  const int result = confd::Guarded([&] {
    auto* state = static_cast<confd::CursorState*>(mc->impl);
    if (state == nullptr) {
      throw confd::ConfdError(CONFD_ERR_PROTOUSAGE, "cursor is not open");
    }
    confd::Session* session = confd::Session::Current();
    if (session != nullptr) session->CountCall("maapi_get_next");
    if (state->next == nullptr) return CONFD_OK;
    TakeKeys(*state->next, mc);
    state->next = ipav::datastore::NextEntry(state->next);
    return CONFD_OK;
  });
  if (trace.is_on()) trace.set_answer(KeysText(*mc));
  return trace.End(result);
}

void maapi_destroy_cursor(maapi_cursor* mc) {
  confd::CallTrace trace(__func__);
  confd::Session* session = confd::Session::Current();
  if (session != nullptr) {
    session->CountCall("maapi_destroy_cursor");
  }
  if (session != nullptr && mc->impl != nullptr) session->CountClosedCursor();
  FreeKeys(mc);
  delete static_cast<confd::CursorState*>(mc->impl);
  mc->impl = nullptr;
  trace.End();
}

int maapi_xpath_eval_expr(int sock, int thandle, const char* expr, char** res,
                          void (* /*trace*/)(char*), const char* fmtpath, ...) {
  *res = nullptr;
  va_list args;
  va_start(args, fmtpath);
  const int result = confd::CallOnPath(
      __func__, sock, thandle, fmtpath, args,
      [&](const confd::Target& at, confd::CallTrace* trace) {
        if (at.node == nullptr) {
          throw confd::ConfdError(CONFD_ERR_NOEXISTS, "no such context node");
        }
        *res = strdup(confd::EvaluateXPath(*at.node, expr).c_str());
        if (*res == nullptr) throw std::bad_alloc();
        if (trace->is_on()) trace->set_answer(ipav::base::Quoted(*res));
        return CONFD_OK;
      },
      expr);
  va_end(args);
  return result;
}

int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  confd::CallTrace trace(__func__, fmt, args);
  const int result = confd::Guarded([&] {
    confd::Session& session = confd::Session::OfCdbSocket(sock);
    session.CountCall("cdb_get_int32");
    const confd::Target leaf = confd::Resolve(
        session.running(), confd::ParsePath(confd::FormatPath(fmt, args)));
    *rval = confd::ReadLeaf(leaf, C_INT32)->val.i32;
    return CONFD_OK;
  });
  va_end(args);
  if (trace.is_on()) trace.set_answer(std::to_string(*rval));
  return trace.End(result);
}
