// The configuration snapshot: what the rules judge, read from the transaction
// under validation through MAAPI, lazily and at most once per address family.
//
// The host keeps one `Config` per library context, from lib_init() to
// lib_finish(). It is never reset in between: a host that wants fresh data for
// a validation must make these two calls around it. One validation call at a
// time: nothing here locks.
#ifndef IPAV_CONFIG_H_
#define IPAV_CONFIG_H_

#include <confd_lib.h>

#include <memory>
#include <vector>

#include "include/generic_config.h"
#include "include/interface_config.h"
#include "include/ospfv2_config.h"
#include "include/static_route_config.h"

namespace ip_application::config_valid {

// The snapshot: five readers that share socket and transaction.
class Config {
 public:
  Config();
  ~Config();
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  // Bind all five readers to the socket and the transaction of a call.
  void set_sock(int sock);
  void set_confd_trans(confd_trans_ctx* trans);

  void ReadStaticRouteConfig(ConfigAddrFamily family);

  // The reader of that kind, owned by the snapshot; null for none.
  InterfaceConfig* intf_by_type(InterfaceType type) const;

  // In search order: mgmt, l3, loopback.
  const std::vector<InterfaceConfig*>& interface_configs() const {
    return interface_configs_;
  }
  const L3Config& l3_config() const { return l3_; }
  const LoConfig& lo_config() const { return lo_; }
  Ospfv2Config& ospfv2_config() { return ospfv2_; }
  const Ospfv2Config& ospfv2_config() const { return ospfv2_; }
  const StaticRouteConfig& static_route_config() const {
    return *static_route_;
  }

  // Kind of the interface list that the last element of a validation point's
  // key path names. Stops the process when that element is no node.
  static InterfaceType intf_type_from_confd_path(confd_hkeypath_t* keypath);

 private:
  Ospfv2Config ospfv2_;
  std::unique_ptr<StaticRouteConfig> static_route_;
  L3Config l3_;
  LoConfig lo_;
  MgmtConfig mgmt_;
  // Look-up table of intf_by_type(), in search order; not owning.
  std::vector<InterfaceConfig*> interface_configs_;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_CONFIG_H_
