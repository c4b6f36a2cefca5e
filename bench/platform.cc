#include "bench/platform.h"

#include <confd_cdb.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <ids/limid.h>
#include <ids/vrf_id.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace ipav::bench {

namespace {

using Kind = TracedCall::Kind;

constexpr int kSocket = 3;
constexpr int kTransaction = 1;

Trace* current_trace = nullptr;

void Note(Kind kind) {
  if (current_trace != nullptr) current_trace->Add(kind);
}

// A thread that sends back every octet.
class Echo {
 public:
  Echo() {
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) != 0) {
      throw std::runtime_error("no socket pair");
    }
    thread_ = std::thread([end = ends_[1]] {
      char octet = 0;
      while (read(end, &octet, 1) == 1 && write(end, &octet, 1) == 1) continue;
    });
  }
  ~Echo() {
    shutdown(ends_[0], SHUT_RDWR);
    thread_.join();
    close(ends_[0]);
    close(ends_[1]);
  }
  Echo(const Echo&) = delete;
  Echo& operator=(const Echo&) = delete;

  void RoundTrip() const {
    char octet = 0;
    if (write(ends_[0], &octet, 1) != 1 || read(ends_[0], &octet, 1) != 1) {
      throw std::runtime_error("no echo");
    }
  }

 private:
  int ends_[2] = {-1, -1};
  std::thread thread_;
};

std::unique_ptr<Echo> echo;  // null: no round trips

void AskDaemon() {
  if (echo != nullptr) echo->RoundTrip();
}

// The node of the path that a call gives, or null.
const Platform::Node* FindNode(Kind kind, const char* format, va_list args) {
  if (current_trace != nullptr) {
    va_list copy;
    va_copy(copy, args);
    current_trace->AddWithPath(kind, format, copy);
    va_end(copy);
  }
  AskDaemon();
  char path[1024];
  static_cast<void>(std::vsnprintf(path, sizeof(path), format, args));
  return ThePlatform().Find(path);
}

// The leaf of a typed read, or null.
const confd_value_t* Read(Kind kind, const char* format, va_list args) {
  const Platform::Node* node = FindNode(kind, format, args);
  return node != nullptr && node->value ? &*node->value : nullptr;
}

bool EndsStep(char c) { return c == '/' || c == '{' || c == '\0'; }

// The next step's name, or its keys in braces. Moves `at` after it.
std::string_view TakeStep(const char** at) {
  const char* start = *at;
  if (*start == '{') {
    const char* end = std::strchr(start, '}');
    *at = end + 1;
    return {start, static_cast<std::size_t>(*at - start)};
  }
  const char* name = ++start;  // after the slash
  const char* end = start;
  for (; !EndsStep(*end); ++end) {
    if (*end == ':') name = end + 1;
  }
  *at = end;
  return {name, static_cast<std::size_t>(end - name)};
}

confd_value_t OfType(confd_vtype type) {
  confd_value_t value{};
  value.type = type;
  return value;
}

// State of an open cursor; one list is walked at a time.
struct Walk {
  const std::vector<Platform::Row>* rows = nullptr;
  std::size_t next = 0;
};
Walk walk;

}  // namespace

Platform& ThePlatform() {
  static Platform platform;
  return platform;
}

const char* Platform::Keep(std::string text) {
  return texts_.emplace_back(std::move(text)).c_str();
}

void Platform::SetLeaf(const std::string& path, const confd_value_t& value) {
  Make(path).value = value;
}

void Platform::AddRow(const std::string& list, const Row& keys) {
  Make(list).rows.push_back(keys);
}

void Platform::set_round_trips(bool round_trips) {
  echo = round_trips ? std::make_unique<Echo>() : nullptr;
}

void Platform::Clear() {
  root_.children.clear();
  texts_.clear();
}

const Platform::Node* Platform::Find(const char* path) const {
  const Node* node = &root_;
  while (*path != '\0') {
    const auto found = node->children.find(TakeStep(&path));
    if (found == node->children.end()) return nullptr;
    node = found->second.get();
  }
  return node;
}

Platform::Node& Platform::Make(const std::string& path) {
  Node* node = &root_;
  for (const char* at = path.c_str(); *at != '\0';) {
    const std::string_view step = TakeStep(&at);
    auto found = node->children.find(step);
    if (found == node->children.end()) {
      const char* kept = Keep(std::string(step));
      found = node->children
                  .emplace(std::string_view(kept, step.size()),
                           std::make_unique<Node>())
                  .first;
    }
    node = found->second.get();
  }
  return *node;
}

confd_value_t TextValue(const std::string& text) {
  confd_value_t value = OfType(C_BUF);
  value.val.buf.size = static_cast<unsigned>(text.size());
  // The C type has no const; nobody writes to it.
  value.val.buf.ptr = reinterpret_cast<unsigned char*>(
      const_cast<char*>(ThePlatform().Keep(text)));
  return value;
}

confd_value_t OctetsValue(const std::string& octets) {
  confd_value_t value = TextValue(octets);
  value.type = C_BINARY;
  return value;
}

confd_value_t Int32Value(std::int32_t number) {
  confd_value_t value = OfType(C_INT32);
  value.val.i32 = number;
  return value;
}

confd_value_t Uint32Value(std::uint32_t number) {
  confd_value_t value = OfType(C_UINT32);
  value.val.u32 = number;
  return value;
}

confd_value_t EnumValue(std::int32_t number) {
  confd_value_t value = OfType(C_ENUM_VALUE);
  value.val.enumvalue = number;
  return value;
}

void Trace::Add(Kind kind) { calls_.push_back({kind, {}, {}}); }

void Trace::AddPrint(const confd_value_t& value) {
  calls_.push_back({Kind::kPrint, {}, value});
}

void Trace::AddWithPath(Kind kind, const char* format, va_list args) {
  TracedPath path;
  path.format = Keep(format);
  std::size_t texts = 0;
  for (const char* at = format; (at = std::strchr(at, '%')) != nullptr; ++at) {
    if (std::strncmp(at, "%u", 2) == 0 && texts == 1) {
      path.number = va_arg(args, unsigned);
    } else if (std::strncmp(at, "%s", 2) == 0 && texts < path.texts.size()) {
      path.texts[texts++] = Keep(va_arg(args, const char*));
    } else {
      throw std::logic_error(std::string("path format: ") + format);
    }
  }
  calls_.push_back({kind, path, {}});
}

std::size_t Trace::Keep(const char* text) {
  const std::size_t at = texts_.size();
  texts_.insert(texts_.end(), text, text + std::strlen(text) + 1);
  return at;
}

void Trace::Replay() const {
  maapi_cursor cursor{};
  confd_value_t value{};
  confd_ipv4_prefix ipv4{};
  confd_ipv6_prefix ipv6{};
  std::uint8_t u8 = 0;
  std::uint32_t u32 = 0;
  char text[256];
  constexpr int kSize = sizeof(text);
  for (const TracedCall& call : calls_) {
    switch (call.kind) {
      case Kind::kExists:
        MakeAgain(call.path, maapi_exists);
        break;
      case Kind::kGetElem:
        MakeAgain(call.path, maapi_get_elem, &value);
        break;
      case Kind::kFreeValue:
        confd_free_value(&value);
        break;
      case Kind::kIpv4Mask:
        MakeAgain(call.path, maapi_get_ipv4_and_plen_elem, &ipv4);
        break;
      case Kind::kIpv6Mask:
        MakeAgain(call.path, maapi_get_ipv6_and_plen_elem, &ipv6);
        break;
      case Kind::kUint8:
        MakeAgain(call.path, maapi_get_u_int8_elem, &u8);
        break;
      case Kind::kUint32:
        MakeAgain(call.path, maapi_get_u_int32_elem, &u32);
        break;
      case Kind::kText:
        MakeAgain(call.path, maapi_get_str_elem, text, kSize);
        break;
      case Kind::kInitCursor:
        MakeAgain(call.path, maapi_init_cursor, &cursor);
        break;
      case Kind::kNext:
        maapi_get_next(&cursor);
        break;
      case Kind::kDestroyCursor:
        maapi_destroy_cursor(&cursor);
        break;
      case Kind::kPrint:
        confd_pp_value(text, kSize, &call.value);
        break;
      case Kind::kOther:
        break;
    }
  }
}

// A format uses as many of the arguments as it has conversions.
template <typename Call, typename... Out>
void Trace::MakeAgain(const TracedPath& path, Call call, Out... out) const {
  const char* texts = texts_.data();
  call(kSocket, kTransaction, out..., texts + path.format,
       texts + path.texts[0], path.number, texts + path.texts[1],
       texts + path.texts[2], texts + path.texts[3]);
}

void TraceCallsTo(Trace* trace) { current_trace = trace; }

}  // namespace ipav::bench

using ipav::bench::AskDaemon;
using ipav::bench::current_trace;
using ipav::bench::FindNode;
using ipav::bench::Note;
using ipav::bench::Platform;
using ipav::bench::Read;
using ipav::bench::ThePlatform;
using ipav::bench::walk;
using Kind = ipav::bench::TracedCall::Kind;

// ---- confd_lib.h -----------------------------------------------------------

int confd_errno = 0;

char* confd_lasterr(void) {
  static char text[] = "";
  return text;
}

void confd_trans_seterr(confd_trans_ctx* /*tctx*/, const char* /*fmt*/, ...) {
  Note(Kind::kOther);
}

int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  if (current_trace != nullptr) current_trace->AddPrint(*v);
  const auto size = static_cast<std::size_t>(bufsiz);
  if (v->type == C_UINT32) return std::snprintf(buf, size, "%u", v->val.u32);
  std::size_t length = v->val.buf.size;
  if (length >= size) length = size - 1;
  std::memcpy(buf, v->val.buf.ptr, length);
  buf[length] = '\0';
  return static_cast<int>(v->val.buf.size);
}

void confd_free_value(confd_value_t* v) {
  Note(Kind::kFreeValue);
  if (v->type == C_BUF || v->type == C_BINARY) std::free(v->val.buf.ptr);
  v->type = C_NOEXISTS;
}

// ---- confd_maapi.h ---------------------------------------------------------

int maapi_exists(int /*sock*/, int /*thandle*/, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const Platform::Node* node = FindNode(Kind::kExists, fmt, args);
  va_end(args);
  return node != nullptr && (node->value || !node->rows.empty()) ? 1 : 0;
}

int maapi_num_instances(int /*sock*/, int /*thandle*/, const char* /*fmt*/,
                        ...) {
  return CONFD_ERR;
}

int maapi_get_elem(int /*sock*/, int /*thandle*/, confd_value_t* v,
                   const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const confd_value_t* leaf = Read(Kind::kGetElem, fmt, args);
  va_end(args);
  if (leaf == nullptr) return CONFD_ERR;
  *v = *leaf;
  if (leaf->type != C_BUF && leaf->type != C_BINARY) return CONFD_OK;
  const std::size_t size = leaf->val.buf.size + std::size_t{1};
  v->val.buf.ptr = static_cast<unsigned char*>(std::malloc(size));
  std::memcpy(v->val.buf.ptr, leaf->val.buf.ptr, size);
  return CONFD_OK;
}

int maapi_get_str_elem(int /*sock*/, int /*thandle*/, char* buf, int n,
                       const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const confd_value_t* leaf = Read(Kind::kText, fmt, args);
  va_end(args);
  if (leaf == nullptr || static_cast<int>(leaf->val.buf.size) >= n) {
    return CONFD_ERR;
  }
  std::memcpy(buf, leaf->val.buf.ptr, leaf->val.buf.size + std::size_t{1});
  return CONFD_OK;
}

int maapi_get_int32_elem(int /*sock*/, int /*thandle*/, int32_t* /*rval*/,
                         const char* /*fmt*/, ...) {
  return CONFD_ERR;
}

int maapi_get_u_int8_elem(int /*sock*/, int /*thandle*/, uint8_t* rval,
                          const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const confd_value_t* leaf = Read(Kind::kUint8, fmt, args);
  va_end(args);
  if (leaf == nullptr) return CONFD_ERR;
  *rval = leaf->val.u8;
  return CONFD_OK;
}

int maapi_get_u_int16_elem(int /*sock*/, int /*thandle*/, uint16_t* /*rval*/,
                           const char* /*fmt*/, ...) {
  return CONFD_ERR;
}

int maapi_get_u_int32_elem(int /*sock*/, int /*thandle*/, uint32_t* rval,
                           const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const confd_value_t* leaf = Read(Kind::kUint32, fmt, args);
  va_end(args);
  if (leaf == nullptr) return CONFD_ERR;
  *rval = leaf->val.u32;
  return CONFD_OK;
}

int maapi_get_ipv4_and_plen_elem(int /*sock*/, int /*thandle*/,
                                 confd_ipv4_prefix* rval, const char* fmt,
                                 ...) {
  va_list args;
  va_start(args, fmt);
  const confd_value_t* leaf = Read(Kind::kIpv4Mask, fmt, args);
  va_end(args);
  if (leaf == nullptr) return CONFD_ERR;
  *rval = leaf->val.ipv4prefix;
  return CONFD_OK;
}

int maapi_get_ipv6_and_plen_elem(int /*sock*/, int /*thandle*/,
                                 confd_ipv6_prefix* rval, const char* fmt,
                                 ...) {
  va_list args;
  va_start(args, fmt);
  const confd_value_t* leaf = Read(Kind::kIpv6Mask, fmt, args);
  va_end(args);
  if (leaf == nullptr) return CONFD_ERR;
  *rval = leaf->val.ipv6prefix;
  return CONFD_OK;
}

int maapi_init_cursor(int /*sock*/, int /*thandle*/, maapi_cursor* /*mc*/,
                      const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const Platform::Node* node = FindNode(Kind::kInitCursor, fmt, args);
  va_end(args);
  walk = {node == nullptr ? nullptr : &node->rows, 0};
  return walk.rows == nullptr ? CONFD_ERR : CONFD_OK;
}

int maapi_get_next(maapi_cursor* mc) {
  Note(Kind::kNext);
  AskDaemon();
  mc->n = 0;
  if (walk.rows == nullptr || walk.next == walk.rows->size()) return CONFD_OK;
  for (const confd_value_t& key : (*walk.rows)[walk.next++]) {
    mc->keys[mc->n++] = key;
  }
  return CONFD_OK;
}

void maapi_destroy_cursor(maapi_cursor* /*mc*/) {
  Note(Kind::kDestroyCursor);
  walk = {};
}

int maapi_xpath_eval_expr(int /*sock*/, int /*thandle*/, const char* /*expr*/,
                          char** res, void (* /*trace*/)(char*),
                          const char* /*fmtpath*/, ...) {
  *res = nullptr;
  return CONFD_ERR;
}

int maapi_keypath_diff_iterate(
    int /*sock*/, int /*thandle*/,
    confd_iter_ret (* /*iter*/)(confd_hkeypath_t*, confd_iter_op,
                                confd_value_t*, confd_value_t*, void*),
    int /*flags*/, void* /*initstate*/, const char* /*fmtpath*/, ...) {
  return CONFD_OK;
}

// ---- The framework's services ----------------------------------------------

int cdb_get_int32(int /*sock*/, int32_t* /*rval*/, const char* /*fmt*/, ...) {
  return CONFD_ERR;
}

HostdCdbSessionBase::HostdCdbSessionBase(HostdInterface* /*host*/,
                                         cdb_db_type /*database*/,
                                         bool /*wait*/)
    : socket_(-1) {}
HostdCdbSessionBase::~HostdCdbSessionBase() = default;
int HostdCdbSessionBase::Socket() const { return socket_; }

int hostd_maapi_socket_get(hostd_t* /*hostd*/) { return ipav::bench::kSocket; }
HostdInterface* hostd_instance_get(hostd_t* /*hostd*/) { return nullptr; }
void* get_lib_context(void* /*v_opaque*/, const char* /*name*/) {
  return ThePlatform().context();
}

void* get_config_vald_log_handle(void) { return nullptr; }
void hostmw_vlog_debug(void* /*handle*/, const char* /*format*/,
                       va_list /*args*/) {}
void hostmw_gen_fault(int /*code*/, const char* /*function*/,
                      const char* /*file*/, int /*line*/,
                      const char* /*message*/) {}

int limid_l3_vlan_from_components(limid_t* out, int32_t vlan) {
  *out = static_cast<limid_t>(vlan);
  return 0;
}
int limid_to_ifindex(limid_t id, uint32_t* ifindex) {
  *ifindex = id;
  return 0;
}
uint32_t IdVrfFromComponent(uint32_t component) { return component; }
