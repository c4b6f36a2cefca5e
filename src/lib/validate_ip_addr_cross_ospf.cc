// OSPFv3 identifies an interface by the index of its VLAN interface. The check
// uses the running VLAN, since the transaction may have another one.

#include "include/validate_ip_addr_cross_ospf.h"

#include <arpa/inet.h>
#include <confd_cdb.h>
#include <confd_maapi.h>
#include <hostd/hostd.h>
#include <ids/limid.h>

#include <string>

#include "src/lib/internal/address_text.h"
#include "src/lib/internal/assertion.h"
#include "src/lib/internal/maapi_owners.h"
#include "src/lib/internal/report.h"

namespace ip_application::config_valid {

namespace {

using internal::MaapiCursor;
using internal::PathFormat;
using internal::RequireType;

constexpr char kOspfv3Table[] = "/internal/ospfv3-interface-l3";
constexpr char kVlanFormat[] = "/config/interface/l3{%s}/lower-layer-if/vlan";

constexpr char kSource[] = "src/lib/validate_ip_addr_cross_ospf.cc";
constexpr char kFunction[] =
    "int32_t validate_lower_layer_cross_ospfv3(int32_t, confd_trans_ctx*, "
    "confd_hkeypath_t*, confd_value_t*)";

// Keys of a row of the OSPFv3 interface table.
constexpr int kRouter = 0;
constexpr int kArea = 1;
constexpr int kInterface = 2;

// A row's area as text.
struct AreaText {
  char dotted[INET_ADDRSTRLEN] = "";
};

bool TableIsEmpty(int sock, int thandle) {
  return maapi_exists(sock, thandle, kOspfv3Table) != 1 ||
         maapi_num_instances(sock, thandle, kOspfv3Table) == 0;
}

// Reads the VLAN of the running configuration; false if there is none. The
// session ends with the read, because it may delay the daemon.
bool ReadRunningVlan(confd_trans_ctx* tctx, const confd_value_t& name,
                     std::int32_t* vlan) {
  const HostdCdbSession session(
      hostd_instance_get(static_cast<hostd_t*>(tctx->vcb_opaque)), CDB_RUNNING,
      true);
  RequireType(
      name, C_BUF,
      {"(&keypath->v[1][0])->type == C_BUF", kSource, __LINE__, kFunction});
  return cdb_get_int32(session.Socket(), vlan, kVlanFormat,
                       internal::TextOf(name).c_str()) != CONFD_ERR;
}

// 0 if the service has no index.
std::uint32_t IfIndexOfVlan(std::int32_t vlan) {
  limid_t limid = 0;
  std::uint32_t ifindex = 0;
  static_cast<void>(limid_l3_vlan_from_components(&limid, vlan));
  static_cast<void>(limid_to_ifindex(limid, &ifindex));
  return ifindex;
}

// Interface index of a row, 0 if it cannot be read; and the row's area.
std::uint32_t IfIndexOfRow(int sock, int thandle, const maapi_cursor& mc_intf,
                           AreaText* area) {
  const confd_value_t* keys = mc_intf.keys;
  RequireType(
      keys[kArea], C_IPV4,
      {"(&mc_intf.keys[1])->type == C_IPV4", kSource, __LINE__, kFunction});
  const in_addr address = CONFD_GET_IPV4(&keys[kArea]);
  // The buffer has room for any address, so it cannot fail.
  static_cast<void>(
      inet_ntop(AF_INET, &address, area->dotted, sizeof(area->dotted)));
  RequireType(
      keys[kRouter], C_UINT32,
      {"(&mc_intf.keys[0])->type == C_UINT32", kSource, __LINE__, kFunction});
  RequireType(
      keys[kInterface], C_BUF,
      {"(&mc_intf.keys[2])->type == C_BUF", kSource, __LINE__, kFunction});

  std::uint32_t ifindex = 0;
  static_cast<void>(maapi_get_u_int32_elem(
      sock, thandle, &ifindex, "%s{ %u %s %s }/ospfv3-pm-if-index",
      kOspfv3Table, CONFD_GET_UINT32(&keys[kRouter]), area->dotted,
      internal::TextOf(keys[kInterface]).c_str()));
  return ifindex;
}

// Whether a row of the table has the index of the old VLAN's interface. The
// text names the first such row.
bool RefuseIfAssigned(int sock, confd_trans_ctx* tctx, std::int32_t old_vlan) {
  MaapiCursor cursor(sock, tctx->thandle, PathFormat{kOspfv3Table});
  auto row = cursor.begin();
  const std::uint32_t target = IfIndexOfVlan(old_vlan);
  for (; row != cursor.end(); ++row) {
    AreaText area;
    if (IfIndexOfRow(sock, tctx->thandle, *row, &area) != target) continue;
    confd_trans_seterr(
        tctx,
        "vlan %d cannot be changed, it is assigned to router ospfv3 %d area %u "
        "(%s)",
        old_vlan, static_cast<int>(CONFD_GET_UINT32(&(*row).keys[kRouter])),
        internal::ParseIpv4(area.dotted).to_uint32(), area.dotted);
    return true;
  }
  return false;
}

}  // namespace

}  // namespace ip_application::config_valid

namespace config_valid = ip_application::config_valid;
namespace internal = config_valid::internal;

int32_t validate_lower_layer_cross_ospfv3(int32_t maapi_socket,
                                          confd_trans_ctx* tctx,
                                          confd_hkeypath_t* keypath,
                                          confd_value_t* /*newval*/) {
  // 1. There is nothing to compare with.
  if (config_valid::TableIsEmpty(maapi_socket, tctx->thandle)) {
    return internal::kAccept;
  }

  // 2. There was no VLAN, or it does not change.
  const confd_value_t& name = keypath->v[1][0];
  std::int32_t old_vlan = 0;
  if (!config_valid::ReadRunningVlan(tctx, name, &old_vlan)) {
    return internal::kAccept;
  }
  std::int32_t new_vlan = 0;
  const bool has_new_vlan =
      maapi_get_int32_elem(maapi_socket, tctx->thandle, &new_vlan,
                           config_valid::kVlanFormat,
                           internal::TextOf(name).c_str()) == CONFD_OK;
  if (has_new_vlan && new_vlan == old_vlan) return internal::kAccept;

  // 3. It changes or is removed: refuse if OSPFv3 uses it.
  return config_valid::RefuseIfAssigned(maapi_socket, tctx, old_vlan)
             ? internal::kReject
             : internal::kAccept;
}
