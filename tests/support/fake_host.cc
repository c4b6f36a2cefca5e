// The fake's host services and identifier services.

#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <ids/limid.h>
#include <ids/vrf_id.h>

#include <string>

#include "tests/support/fake_platform.h"
#include "tests/support/side.h"

using ipav::testing::Fake;
using ipav::testing::FormatText;
using ipav::testing::Side;
using ipav::testing::SideScope;

namespace {

constexpr std::uint32_t kL3VlanKind = 0x01000000;
constexpr std::uint32_t kNumberBits = 0x00FFFFFF;
constexpr std::uint32_t kFirstIfindex = 1000;

}  // namespace

int hostd_maapi_socket_get(hostd_t* hostd) {
  const SideScope scope(Side::kPlatform);
  if (Fake().RecordAndFail({"hostd_maapi_socket_get", ""})) return -1;
  return Fake().maapi_socket_of(hostd);
}

HostdInterface* hostd_instance_get(hostd_t* hostd) {
  const SideScope scope(Side::kPlatform);
  if (Fake().RecordAndFail({"hostd_instance_get", ""})) return nullptr;
  return hostd == Fake().hostd() ? Fake().host_instance() : nullptr;
}

void* get_lib_context(void* v_opaque, const char* name) {
  const SideScope scope(Side::kPlatform);
  if (Fake().RecordAndFail({"get_lib_context", name})) return nullptr;
  return Fake().lib_context_of(v_opaque, name);
}

HostdCdbSessionBase::HostdCdbSessionBase(HostdInterface* host,
                                         cdb_db_type database, bool wait)
    : socket_(-1) {
  const SideScope scope(Side::kPlatform);
  const std::string args =
      std::to_string(database) + (wait ? ", true" : ", false");
  if (Fake().RecordAndFail({"HostdCdbSessionBase", args})) return;
  socket_ = Fake().OpenCdbSession(host, database);
}

HostdCdbSessionBase::~HostdCdbSessionBase() {
  const SideScope scope(Side::kPlatform);
  Fake().RecordAndFail({"~HostdCdbSessionBase", ""});
  Fake().CloseCdbSession(socket_);
}

int HostdCdbSessionBase::Socket() const { return socket_; }

void* get_config_vald_log_handle() {
  const SideScope scope(Side::kPlatform);
  if (Fake().RecordAndFail({"get_config_vald_log_handle", ""})) return nullptr;
  return Fake().log_handle_or_null();
}

void hostmw_vlog_debug(void* handle, const char* format, va_list args) {
  const SideScope scope(Side::kPlatform);
  const std::string text = FormatText(format, args);
  Fake().RecordAndFail({"hostmw_vlog_debug", text});
  Fake().RecordLogLine({handle, format, text});
}

void hostmw_gen_fault(int code, const char* function, const char* file,
                      int line, const char* message) {
  const SideScope scope(Side::kPlatform);
  Fake().RecordAndFail({"hostmw_gen_fault", message});
  Fake().RecordFault({code, function, file, line, message});
}

int limid_l3_vlan_from_components(limid_t* out, int32_t vlan) {
  const SideScope scope(Side::kPlatform);
  if (Fake().RecordAndFail(
          {"limid_l3_vlan_from_components", std::to_string(vlan)})) {
    return -1;
  }
  *out = vlan == 0 ? 0 : kL3VlanKind + static_cast<std::uint32_t>(vlan);
  return 0;
}

int limid_to_ifindex(limid_t id, uint32_t* ifindex) {
  const SideScope scope(Side::kPlatform);
  if (Fake().RecordAndFail({"limid_to_ifindex", std::to_string(id)})) return -1;
  *ifindex = (id & kNumberBits) + kFirstIfindex;
  return 0;
}

uint32_t IdVrfFromComponent(uint32_t component) {
  const SideScope scope(Side::kPlatform);
  Fake().RecordAndFail({"IdVrfFromComponent", std::to_string(component)});
  return Fake().vrf_index_of(component);
}
