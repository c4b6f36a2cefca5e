#include "static_route_config.h"

namespace ip_application::config_valid {

// No validation point asks for static routes yet, so this reads nothing.
void StaticRouteConfig::ReadConfig(ConfigAddrFamily /*family*/) {}

}  // namespace ip_application::config_valid
