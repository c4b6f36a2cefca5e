// The configuration snapshot that the rules check. It is read from the
// transaction under validation through MAAPI, lazily and at most once per
// address family.
//
// The host keeps one `Config` per library context, from lib_init() to
// lib_finish(). It is never reset in between: a host that needs fresh data
// calls lib_finish() and lib_init() again. Not thread-safe: one validation call
// at a time.
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

  // Set the socket and the transaction of the current call in all five readers.
  // `trans` is borrowed.
  void set_sock(int sock);
  void set_confd_trans(confd_trans_ctx* trans);

  void ReadStaticRouteConfig(ConfigAddrFamily family);

  // The reader of that type, owned by the snapshot; null for kNone.
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

  // Type of the interface list that the key path ends with (v[0][0]); kNone for
  // any other node and for an empty path. Aborts the process if v[0][0] is not
  // a C_XMLTAG.
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
