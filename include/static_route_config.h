// Reader of the routing stack's static-route table.
#ifndef IPAV_STATIC_ROUTE_CONFIG_H_
#define IPAV_STATIC_ROUTE_CONFIG_H_

#include "config.h"

namespace ip_application::config_valid {

class StaticRouteConfig : public GenericConfig {
 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_STATIC_ROUTE_CONFIG_H_
