#include "host/services/framework.h"

#include <hostd/cdb_session.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include "host/confd/session.h"
#include "host/confd/tracer.h"

namespace ipav::services {

namespace {

Listener* g_listener = nullptr;

}  // namespace

void SetListener(Listener* listener) { g_listener = listener; }

}  // namespace ipav::services

using ipav::confd::CallTrace;
using ipav::services::g_listener;

namespace {

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
    context =
        *static_cast<ipav::services::LibraryContexts*>(v_opaque)->Slot(name);
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
  if (g_listener == nullptr) return;
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::vector<char> line(static_cast<std::size_t>(std::max(length, 0)) + 1);
  static_cast<void>(std::vsnprintf(line.data(), line.size(), format, args));
  CallTrace trace(__func__, line.data());
  g_listener->OnDebugLine(line.data());
  trace.End();
}

void hostmw_gen_fault(int /*code*/, const char* /*function*/,
                      const char* /*file*/, int /*line*/, const char* message) {
  if (g_listener == nullptr) return;
  CallTrace trace(__func__, message);
  g_listener->OnFault(message != nullptr ? message : "(no message)");
  trace.End();
}
