#include "include/config.h"

#include "src/lib/internal/assertion.h"
#include "src/lib/internal/model_tags.h"

namespace ip_application::config_valid {

namespace {

constexpr internal::AssertionSite kPathEndsInNode = {
    "(&keypath->v[0][0])->type == C_XMLTAG", internal::kConfigSource, 659,
    "static ip_application::config_valid::InterfaceType "
    "ip_application::config_valid::Config::intf_type_from_confd_path("
    "confd_hkeypath_t*)"};

}  // namespace

Config::Config()
    : static_route_(std::make_unique<StaticRouteConfig>()),
      interface_configs_{&mgmt_, &l3_, &lo_} {}

Config::~Config() {
  static_route_.reset();  // before the readers that are members
}

void Config::set_sock(int sock) {
  ospfv2_.set_sock(sock);
  static_route_->set_sock(sock);
  for (InterfaceConfig* config : interface_configs_) config->set_sock(sock);
}

void Config::set_confd_trans(confd_trans_ctx* trans) {
  ospfv2_.set_confd_trans(trans);
  static_route_->set_confd_trans(trans);
  for (InterfaceConfig* config : interface_configs_) {
    config->set_confd_trans(trans);
  }
}

void Config::ReadStaticRouteConfig(ConfigAddrFamily family) {
  static_route_->ReadConfigIfNeeded(family);
}

InterfaceConfig* Config::intf_by_type(InterfaceType type) const {
  for (InterfaceConfig* config : interface_configs_) {
    if (config->type() == type) return config;
  }
  return nullptr;
}

InterfaceType Config::intf_type_from_confd_path(confd_hkeypath_t* keypath) {
  if (keypath->len < 1) return InterfaceType::kNone;

  const confd_value_t& last = keypath->v[0][0];
  internal::RequireType(last, C_XMLTAG, kPathEndsInNode);
  switch (CONFD_GET_XMLTAG(&last)) {
    case internal::kMgmtTag:
      return InterfaceType::kMgmt;
    case internal::kL3Tag:
      return InterfaceType::kL3;
    case internal::kLoopbackTag:
      return InterfaceType::kLoopback;
    default:
      return InterfaceType::kNone;
  }
}

}  // namespace ip_application::config_valid
