#include "plugin_life.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "config.h"
#include "fake_platform.h"
#include "validate.h"
#include "validate_config.h"

namespace ipav::model {

namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::Interface;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::ValidateConfig;
using testing::Fake;
using testing::FakePlatform;
using testing::KeyPath;
using testing::Value;

constexpr char kInterfaces[] = "/config/interface/";
constexpr char kRouteTable[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr char kOutputTable[] = "/rtmStaticRtEntry-global";
constexpr char kVrfTable[] = "/internal/vrf-config/indexTOstring";

// ---- The configuration on the fake -----------------------------------------

Value ValueOf(const Prefix& prefix) {
  confd_value_t value{};
  const auto length = static_cast<std::uint8_t>(prefix.length);
  const auto* octets = prefix.address.data();
  if (prefix.address.size() == 4) {
    value.type = C_IPV4_AND_PLEN;
    std::memcpy(&value.val.ipv4prefix.ip, octets, 4);
    value.val.ipv4prefix.len = length;
  } else {
    value.type = C_IPV6_AND_PLEN;
    std::memcpy(&value.val.ipv6prefix.ip6, octets, 16);
    value.val.ipv6prefix.len = length;
  }
  return Value(value);
}

Value ValueOf(const Octets& octets) {
  return testing::Binary(std::string(octets.begin(), octets.end()));
}

void Store(const std::string& path, const TextLeaf& leaf) {
  if (!leaf.exists) return;
  if (leaf.text) {
    Fake().SetValue(path, testing::Text(*leaf.text));
  } else {
    Fake().FailReads(path);
  }
}

void Store(const std::string& list, const std::vector<AddressEntry>& entries) {
  for (const AddressEntry& entry : entries) {
    Fake().AddEntry(list, {testing::Text(entry.key)});
    if (!entry.ip) continue;
    Fake().SetValue(list + "{" + entry.key + "}/ip", ValueOf(*entry.ip));
  }
}

void Store(const std::string& kind, const InterfaceEntry& entry) {
  const std::string list = kInterfaces + kind;
  Fake().AddEntry(list, {testing::Text(entry.key)});
  const std::string path = list + "{" + entry.key + "}";
  Store(path + "/vrf", entry.vrf);
  if (entry.vlan) {
    Fake().SetValue(path + "/lower-layer-if/vlan", testing::Int32(*entry.vlan));
  }
  if (entry.primary) {
    Fake().SetValue(path + "/ipv4/address/ip", ValueOf(*entry.primary));
  }
  Store(path + (kind == "l3" ? "/ipv4/address/secondary" : "/ipv4/address"),
        entry.ipv4);
  Store(path + "/ipv6/address", entry.ipv6);
}

void Store(const RouteRow& row) {
  const Value next_hop_type = testing::Enum(1);  // nobody reads it
  for (unsigned i = 0; i < row.times; ++i) {
    Fake().AddEntry(kRouteTable,
                    {testing::Uint32(row.vrf), testing::Enum(row.type),
                     ValueOf(row.destination), testing::Int32(row.length),
                     next_hop_type, ValueOf(row.next_hop)});
  }
}

void Store(const OutputRow& row) {
  // A negative length stands in the path as the unsigned number.
  const std::vector<Value> keys = {
      testing::Uint32(row.vrf), ValueOf(row.destination),
      testing::Uint32(static_cast<std::uint32_t>(row.length)),
      ValueOf(row.next_hop)};
  Fake().AddEntry(kOutputTable, keys);
  std::string path = std::string(kOutputTable) + "{";
  for (const Value& key : keys) path += key.KeyText() + ' ';
  Fake().SetValue(path + "}/interface-name", testing::Text(row.interface_name));
}

void Store(const VrfIndexRow& row) {
  Fake().AddEntry(kVrfTable, {testing::Uint32(row.index)});
  Store(std::string(kVrfTable) + "{" + std::to_string(row.index) + "}/vname",
        row.name);
}

// ---- Calls -----------------------------------------------------------------

KeyPath KeyPathOf(Target target) {
  constexpr const char* kNodes[] = {"l3", "loopback", "mgmt", "ospf"};
  KeyPath path;
  if (target == Target::kNothing) return path;
  path.Node("config").Node("interface");
  path.Node(kNodes[static_cast<std::size_t>(target)]);
  return path;
}

int Validate(const Call& call, confd_trans_ctx* tctx) {
  std::string opaque = call.opaque;
  tctx->validate_opaque = opaque.data();
  KeyPath keypath = KeyPathOf(call.target);
  confd_value_t newval{};
  newval.type = C_NOEXISTS;
  return validate(tctx, keypath.get(), &newval);
}

void ReadRoutes(int family, confd_trans_ctx* tctx, Config* config) {
  config->set_sock(FakePlatform::kSocket);
  config->set_confd_trans(tctx);
  config->ReadStaticRouteConfig(static_cast<ConfigAddrFamily>(family));
}

void MergeL3s(const Configuration& configuration, Config* config) {
  for (const InterfaceEntry& entry : configuration.l3) {
    Interface record;
    record.name = "l3 " + entry.key;
    record.vrf_name = "merged";
    if (entry.primary) {
      auto& mask = record.ipv4.emplace_back();
      mask.set_addr(ValueOf(*entry.primary).Borrow().val.ipv4prefix.ip.s_addr);
      mask.set_prefix_len(entry.primary->length);
    }
    for (const AddressEntry& address : entry.ipv6) {
      if (!address.ip) continue;
      auto& mask = record.ipv6.emplace_back();
      mask.set_addr(ValueOf(*address.ip).Borrow().val.ipv6prefix.ip6);
      mask.set_prefix_len(address.ip->length);
    }
    config->intf_by_type(InterfaceType::kL3)->MergeConfigAndInsert(record);
  }
}

using Rule = int (ValidateConfig::*)(const Config&);

Rule RuleOf(Action action) {
  switch (action) {
    case Action::kRouteRules:
      return &ValidateConfig::ValidateStaticRoute;
    case Action::kNextHopRule:
      return &ValidateConfig::ValidateStaticRouteNextHop;
    case Action::kLimitRule:
      return &ValidateConfig::ValidateStaticRouteLimit;
    case Action::kBlackHoleRule:
      return &ValidateConfig::ValidateRouteBlackHole;
    case Action::kOutputRule:
      return &ValidateConfig::ValidateStaticRouteOutputIntf;
    default:
      throw std::invalid_argument("no rule");
  }
}

// The answer without what the platform recorded.
Answer Judge(const Call& call, const Configuration& configuration,
             confd_trans_ctx* tctx, Config* config) {
  Answer answer;
  if (call.action == Action::kValidate) {
    answer.verdict = Validate(call, tctx);
  } else if (call.action == Action::kReadRoutes) {
    ReadRoutes(call.family, tctx, config);
  } else if (call.action == Action::kMerge) {
    MergeL3s(configuration, config);
  } else {
    ValidateConfig rules;
    answer.verdict = (rules.*RuleOf(call.action))(*config);
    if (!rules.error_text().empty()) answer.text = rules.error_text();
  }
  return answer;
}

}  // namespace

PluginLife::PluginLife(const std::vector<Configuration>& transactions)
    : transactions_(transactions) {
  lib_init(&context_);
}

PluginLife::~PluginLife() {
  lib_finish(&context_);
  Fake().Reset();
}

// Also forgets what was recorded, so that records never pile up.
void PluginLife::Show(std::size_t transaction) {
  Fake().Reset();
  Fake().set_lib_context(context_);
  const Configuration& configuration = transactions_[transaction];
  for (const auto& entry : configuration.l3) Store("l3", entry);
  for (const auto& entry : configuration.loopback) Store("loopback", entry);
  for (const auto& entry : configuration.mgmt) Store("mgmt", entry);
  for (const auto& row : configuration.routes) Store(row);
  for (const auto& row : configuration.outputs) Store(row);
  for (const auto& row : configuration.vrfs) Store(row);
  shown_ = transaction;
}

Answer PluginLife::Run(const Call& call) {
  if (shown_ != call.transaction) Show(call.transaction);
  const std::size_t errors_before = Fake().errors().size();
  const std::size_t faults_before = Fake().faults().size();
  const std::size_t lines_before = Fake().log_lines().size();

  // Of this call only: a reader that kept the context of another call would
  // use one that is gone.
  confd_trans_ctx tctx = *Fake().tctx();
  Answer answer;
  try {
    answer = Judge(call, transactions_[call.transaction], &tctx,
                   static_cast<Config*>(context_));
  } catch (const std::out_of_range&) {
    answer.out_of_range = true;
  }

  for (std::size_t i = errors_before; i < Fake().errors().size(); ++i) {
    const auto& error = Fake().errors()[i];
    is_clean_ = is_clean_ && !answer.text && error.tctx == &tctx &&
                error.format == "%s";
    answer.text = error.text;
  }
  for (std::size_t i = faults_before; i < Fake().faults().size(); ++i) {
    answer.faults.push_back(Fake().faults()[i].message);
  }
  for (std::size_t i = lines_before; i < Fake().log_lines().size(); ++i) {
    answer.log.push_back(Fake().log_lines()[i].text);
  }
  is_clean_ = is_clean_ && Fake().open_cursors() == 0 &&
              Fake().unfreed_values() == 0 && Fake().misuses().empty();
  return answer;
}

}  // namespace ipav::model
