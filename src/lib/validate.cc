#include "include/validate.h"

#include <hostd/hostd.h>

#include <cstdio>
#include <cstring>

#include "include/config.h"
#include "include/validate_config.h"
#include "include/validate_intf_vrf.h"
#include "include/validate_ip_addr_cross_ospf.h"
#include "include/validate_nd_ra.h"
#include "src/lib/internal/callback_steps.h"
#include "src/lib/internal/report.h"

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::ValidateConfig;
using ip_application::config_valid::internal::kInvalidInterface;
using ip_application::config_valid::internal::kReject;
using ip_application::config_valid::internal::ReadInterfacesIfNeeded;
using ip_application::config_valid::internal::Report;

namespace {

// Name of the validation set, and key of the context that the host keeps.
constexpr char kValidationSet[] = "ip_app_validation";

using Callback = int32_t (*)(int32_t, confd_trans_ctx*, confd_hkeypath_t*,
                             confd_value_t*, Config&);

struct ValidationPoint {
  Callback callback;
  const char* name;
};

// In search order.
constexpr ValidationPoint kValidationPoints[] = {
    {validate_intf_l3_name, "intf_l3_name_validation"},
    {validate_intf_vrf, "intf_vrf_validation"},
    {validate_ipv4_addr, "ipv4_addr_validation"},
    {validate_ipv4_addr_cross_prot, "ipv4_addr_prot_cross_validation"},
    {validate_ipv4_addr_route, "ipv4_addr_route_validation"},
    {validate_ipv6_addr, "ipv6_addr_validation"},
    {validate_ipv6_addr_route, "ipv6_addr_route_validation"},
    {validate_ipv6_nd_ra_interval, "validate_ipv6_nd_ra_interval"},
    {validate_ipv6_nd_ra_lifetime, "validate_ipv6_nd_ra_lifetime"},
    {validate_route_l3_intf, "static_route_l3_intf_validation"},
    {validate_lower_layer_cross_prot, "lower_layer_prot_cross_validation"},
};

// The first row whose name begins the opaque text, or null. A prefix test by
// design: a use site may append to the name.
const ValidationPoint* FindValidationPoint(const char* opaque) {
  if (opaque == nullptr) return nullptr;  // a use site without opaque text
  for (const ValidationPoint& point : kValidationPoints) {
    if (std::strncmp(opaque, point.name, std::strlen(point.name)) == 0) {
      return &point;
    }
  }
  return nullptr;
}

// Checks the addresses of one family.
int32_t ValidateAddresses(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                          Config& config, ConfigAddrFamily family,
                          int (ValidateConfig::*rule)(const Config&,
                                                      InterfaceType)) {
  const InterfaceType kind = Config::intf_type_from_confd_path(keypath);
  if (kind == InterfaceType::kNone) {
    confd_trans_seterr(tctx, "%s", kInvalidInterface);
    return kReject;
  }

  // All kinds: an address is compared with those of every other interface.
  ReadInterfacesIfNeeded(
      config, family,
      {InterfaceType::kL3, InterfaceType::kLoopback, InterfaceType::kMgmt});
  config.ReadStaticRouteConfig(family);

  ValidateConfig rules;
  return Report(tctx, (rules.*rule)(config, kind), rules);
}

// Checks the static routes and the interfaces of one family.
int32_t ValidateRoutes(confd_trans_ctx* tctx, ConfigAddrFamily family,
                       Config& config) {
  ReadInterfacesIfNeeded(
      config, family,
      {InterfaceType::kL3, InterfaceType::kMgmt, InterfaceType::kLoopback});
  config.ReadStaticRouteConfig(family);

  ValidateConfig rules;
  return Report(tctx, rules.ValidateStaticRoute(config), rules);
}

}  // namespace

int32_t lib_init(void** context) {
  *context = new Config();
  return 0;
}

int32_t get_validation_point(char* buffer, size_t size) {
  // If the buffer is too small, the name is truncated.
  static_cast<void>(std::snprintf(buffer, size, "%s", kValidationSet));
  return 0;
}

int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval) {
  if (tctx == nullptr || keypath == nullptr || newval == nullptr) {
    return kReject;
  }

  const int sock =
      hostd_maapi_socket_get(static_cast<hostd_t*>(tctx->vcb_opaque));
  if (sock < 0) return kReject;

  auto* config =
      static_cast<Config*>(get_lib_context(tctx->v_opaque, kValidationSet));
  if (config == nullptr) {
    confd_trans_seterr(tctx, "Lib context is null!");
    return kReject;
  }

  // Before the search: a call with an unknown name binds the snapshot, too.
  config->set_sock(sock);
  config->set_confd_trans(tctx);

  const ValidationPoint* point = FindValidationPoint(tctx->validate_opaque);
  if (point == nullptr) return kReject;
  return point->callback(sock, tctx, keypath, newval, *config);
}

int32_t lib_finish(void** context) {
  delete static_cast<Config*>(*context);
  return 0;
}

int32_t validate_intf_l3_name(int32_t /*maapi_socket*/, confd_trans_ctx* tctx,
                              confd_hkeypath_t* /*keypath*/,
                              confd_value_t* /*newval*/, Config& config) {
  ReadInterfacesIfNeeded(config, ConfigAddrFamily::kIpv4, {InterfaceType::kL3});
  ValidateConfig rules;
  return Report(tctx, rules.ValidateInterfaceL3(config), rules);
}

int32_t validate_ipv4_addr(int32_t /*maapi_socket*/, confd_trans_ctx* tctx,
                           confd_hkeypath_t* keypath, confd_value_t* /*newval*/,
                           Config& config) {
  return ValidateAddresses(tctx, keypath, config, ConfigAddrFamily::kIpv4,
                           &ValidateConfig::ValidateInterfaceIPv4);
}

int32_t validate_ipv6_addr(int32_t /*maapi_socket*/, confd_trans_ctx* tctx,
                           confd_hkeypath_t* keypath, confd_value_t* /*newval*/,
                           Config& config) {
  return ValidateAddresses(tctx, keypath, config, ConfigAddrFamily::kIpv6,
                           &ValidateConfig::ValidateInterfaceIPv6);
}

int32_t validate_ipv4_addr_route(int32_t /*maapi_socket*/,
                                 confd_trans_ctx* tctx,
                                 confd_hkeypath_t* /*keypath*/,
                                 confd_value_t* /*newval*/, Config& config) {
  return ValidateRoutes(tctx, ConfigAddrFamily::kIpv4, config);
}

int32_t validate_ipv6_addr_route(int32_t /*maapi_socket*/,
                                 confd_trans_ctx* tctx,
                                 confd_hkeypath_t* /*keypath*/,
                                 confd_value_t* /*newval*/, Config& config) {
  return ValidateRoutes(tctx, ConfigAddrFamily::kIpv6, config);
}

int32_t validate_route_l3_intf(int32_t /*maapi_socket*/, confd_trans_ctx* tctx,
                               confd_hkeypath_t* /*keypath*/,
                               confd_value_t* /*newval*/, Config& config) {
  // The VLAN belongs to no family, but routes of both name the interface.
  ReadInterfacesIfNeeded(config, ConfigAddrFamily::kIpv4, {InterfaceType::kL3});
  config.ReadStaticRouteConfig(ConfigAddrFamily::kIpv4);
  config.ReadStaticRouteConfig(ConfigAddrFamily::kIpv6);

  ValidateConfig rules;
  return Report(tctx, rules.ValidateStaticRouteOutputIntf(config), rules);
}

int32_t validate_ipv4_addr_cross_prot(int32_t /*maapi_socket*/,
                                      confd_trans_ctx* tctx,
                                      confd_hkeypath_t* /*keypath*/,
                                      confd_value_t* /*newval*/,
                                      Config& config) {
  // No management interfaces: OSPF does not run on them.
  ReadInterfacesIfNeeded(config, ConfigAddrFamily::kIpv4,
                         {InterfaceType::kL3, InterfaceType::kLoopback});
  config.ospfv2_config().ReadConfigIfNeeded(ConfigAddrFamily::kIpv4);

  ValidateConfig rules;
  return Report(tctx, rules.ValidateOspfv2(config), rules);
}

int32_t validate_lower_layer_cross_prot(int32_t maapi_socket,
                                        confd_trans_ctx* tctx,
                                        confd_hkeypath_t* keypath,
                                        confd_value_t* newval,
                                        Config& /*config*/) {
  return validate_lower_layer_cross_ospfv3(maapi_socket, tctx, keypath, newval);
}
