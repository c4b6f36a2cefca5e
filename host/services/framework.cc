#include "host/services/framework.h"

#include <hostd/cdb_session.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <ids/limid.h>
#include <ids/vrf_id.h>

#include <cstdarg>
#include <cstdint>
#include <utility>

#include "host/confd/session.h"
#include "host/confd/tracer.h"
#include "host/confd/value.h"

namespace ipav::services {

namespace {

Listener g_listener;

}  // namespace

void SetListener(Listener listener) { g_listener = std::move(listener); }

}  // namespace ipav::services

using ipav::confd::CallTrace;
using ipav::services::g_listener;

namespace {

constexpr limid_t kL3VlanKind = 0x01000000;
constexpr limid_t kIndexMask = 0x00ffffff;
constexpr std::uint32_t kFirstIfIndex = 1000;

// Not the number of a pointer, which differs in each run.
const char* Presence(const void* pointer) {
  return pointer == nullptr ? "null" : "a pointer";
}

}  // namespace

int hostd_maapi_socket_get(hostd_t* hostd) {
  const int socket = hostd == nullptr ? -1 : hostd->maapi_socket;
  CallTrace trace(__func__);
  if (trace.is_on()) trace.set_answer(std::to_string(socket));
  trace.End();
  return socket;
}

HostdInterface* hostd_instance_get(hostd_t* hostd) {
  HostdInterface* instance = hostd == nullptr ? nullptr : hostd->instance;
  CallTrace trace(__func__);
  if (trace.is_on()) trace.set_answer(Presence(instance));
  trace.End();
  return instance;
}

void* get_lib_context(void* v_opaque, const char* name) {
  CallTrace trace(__func__, name);
  void* context = nullptr;
  if (v_opaque != nullptr && name != nullptr) {
    context = (*static_cast<ipav::services::LibraryContexts*>(v_opaque))[name];
  }
  if (trace.is_on()) trace.set_answer(Presence(context));
  trace.End();
  return context;
}

HostdCdbSessionBase::HostdCdbSessionBase(HostdInterface* host,
                                         cdb_db_type database, bool /*wait*/)
    : socket_(-1) {
  CallTrace trace(__func__, static_cast<int>(database));
  ipav::confd::Session* session = ipav::confd::Session::Current();
  if (host != nullptr && database == CDB_RUNNING && session != nullptr) {
    socket_ = session->OpenCdb();
  }
  if (trace.is_on()) trace.set_answer(std::to_string(socket_));
  trace.End();
}

HostdCdbSessionBase::~HostdCdbSessionBase() {
  CallTrace trace(__func__, socket_);
  ipav::confd::Session* session = ipav::confd::Session::Current();
  if (session != nullptr) session->CloseCdb(socket_);
  trace.End();
}

int HostdCdbSessionBase::Socket() const { return socket_; }

// Any address will do, since the log has no state.
void* get_config_vald_log_handle(void) { return &g_listener; }

void hostmw_vlog_debug(void* /*handle*/, const char* format, va_list args) {
  if (g_listener.on_debug_line == nullptr) return;
  const std::string line = ipav::confd::FormatText(format, args);
  CallTrace trace(__func__, line.c_str());
  g_listener.on_debug_line(line);
  trace.End();
}

void hostmw_gen_fault(int /*code*/, const char* /*function*/,
                      const char* /*file*/, int /*line*/, const char* message) {
  if (g_listener.on_fault == nullptr) return;
  CallTrace trace(__func__, message);
  g_listener.on_fault(message != nullptr ? message : "(no message)");
  trace.End();
}

// Identifiers are plain functions of their arguments, so that a configuration
// alone decides every answer.
int limid_l3_vlan_from_components(limid_t* out, int32_t vlan) {
  CallTrace trace(__func__, vlan);
  *out = vlan == 0 ? 0 : kL3VlanKind + static_cast<limid_t>(vlan);
  if (trace.is_on()) trace.set_answer(std::to_string(*out));
  return trace.End(0);
}

int limid_to_ifindex(limid_t id, uint32_t* ifindex) {
  CallTrace trace(__func__, id);
  *ifindex = (id & kIndexMask) + kFirstIfIndex;
  if (trace.is_on()) trace.set_answer(std::to_string(*ifindex));
  return trace.End(0);
}

uint32_t IdVrfFromComponent(uint32_t component) {
  CallTrace trace(__func__, component);
  if (trace.is_on()) trace.set_answer(std::to_string(component));
  trace.End();
  return component;
}
