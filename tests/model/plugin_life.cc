#include "tests/model/plugin_life.h"

#include <boost/system/system_error.hpp>
#include <cstring>
#include <stdexcept>
#include <string>

#include "include/config.h"
#include "include/validate.h"
#include "include/validate_config.h"
#include "tests/model/fake_configuration.h"
#include "tests/support/fake_platform.h"

namespace ipav::model {

namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::Interface;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::ValidateConfig;
using testing::Fake;
using testing::FakePlatform;

// The handle of no open transaction.
constexpr int kClosed = -1;

int Validate(const Call& call, confd_trans_ctx* tctx) {
  std::string opaque = call.opaque;
  tctx->validate_opaque = opaque.data();
  testing::KeyPath keypath = KeyPathOf(call.place);
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

// The answer without the records of the platform.
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

// The same, also when an exception leaves the call.
Answer JudgeAndCatch(const Call& call, const Configuration& configuration,
                     confd_trans_ctx* tctx, Config* config) {
  const auto left_by = [](Exception exception) {
    Answer answer;
    answer.exception = exception;
    return answer;
  };
  const auto is_of_number = [](const std::exception& error) {
    return std::strcmp(error.what(), "stoul") == 0;
  };
  try {
    return Judge(call, configuration, tctx, config);
  } catch (const std::invalid_argument& error) {
    if (!is_of_number(error)) throw;
    return left_by(Exception::kNoNumber);
  } catch (const std::out_of_range& error) {
    return left_by(is_of_number(error) ? Exception::kNumberTooLarge
                                       : Exception::kShortName);
  } catch (const boost::system::system_error&) {
    return left_by(Exception::kNoAddress);
  }
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

// Also drops the records, so that they do not accumulate.
void PluginLife::Show(std::size_t transaction) {
  Fake().Reset();
  Fake().set_lib_context(context_);
  ShowOnFake(transactions_[transaction]);
  shown_ = transaction;
}

Answer PluginLife::Run(const Call& call) {
  if (shown_ != call.transaction) Show(call.transaction);
  const std::size_t errors_before = Fake().errors().size();
  const std::size_t faults_before = Fake().faults().size();
  const std::size_t lines_before = Fake().log_lines().size();

  confd_trans_ctx& tctx = contexts_.emplace_back(*Fake().tctx());
  Answer answer = JudgeAndCatch(call, transactions_[call.transaction], &tctx,
                                static_cast<Config*>(context_));
  tctx.thandle = kClosed;

  for (std::size_t i = errors_before; i < Fake().errors().size(); ++i) {
    const auto& error = Fake().errors()[i];
    is_clean_ = is_clean_ && !answer.text && error.tctx == &tctx;
    answer.text = error.text;
    answer.format = error.format;
  }
  for (std::size_t i = faults_before; i < Fake().faults().size(); ++i) {
    answer.faults.push_back(Fake().faults()[i].message);
  }
  for (std::size_t i = lines_before; i < Fake().log_lines().size(); ++i) {
    answer.log.push_back(Fake().log_lines()[i].text);
  }
  is_clean_ = is_clean_ && Fake().open_cursors() == 0 &&
              Fake().unfreed_values() == 0 && Fake().open_cdb_sessions() == 0 &&
              Fake().misuses().empty();
  return answer;
}

}  // namespace ipav::model
