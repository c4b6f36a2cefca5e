#include "fuzz/support/plugin_life.h"

#include <string>
#include <vector>

#include "fuzz/support/finding.h"
#include "include/validate.h"
#include "include/validate_logger.h"
#include "tests/support/fake_platform.h"

namespace ipav::fuzz {

namespace {

using ip_application::config_valid::Config;
using ip_application::config_valid::ValidateLogger;
using testing::Fake;
using testing::TransactionError;

void RequireBalance() {
  Require(Fake().open_cursors() == 0, "a cursor stays open");
  Require(Fake().unfreed_values() == 0, "a value is not freed");
  Require(Fake().open_cdb_sessions() == 0, "a CDB session stays open");
  if (!Fake().misuses().empty()) Finding(Fake().misuses().front());
}

void RequireRefusalText(const std::vector<TransactionError>& errors) {
  // Without a socket, the call ends before the look-up of a point.
  if (Fake().calls().back().name == "hostd_maapi_socket_get") {
    return Require(errors.empty(), "a text before any point");
  }
  Require(errors.size() == 1, "not one text");
  Require(errors.front().tctx == Fake().tctx(),
          "a text of another transaction");
  if (errors.front().text == "Lib context is null!") return;
  RequireKnownText(Fake().tctx()->validate_opaque, errors.front().text);
}

void AskForLogHandle() { ValidateLogger::Log("%s", ""); }

}  // namespace

void StartPlatform() {
  // The logger asks for its handle once per process: before all inputs.
  static const bool kAsked = [] {
    AskForLogHandle();
    return true;
  }();
  static_cast<void>(kAsked);
  Fake().Reset();
}

PluginLife::PluginLife(Assertions assertions) : assertions_(assertions) {
  lib_init(&context_);
  Fake().set_lib_context(context_);
}

PluginLife::~PluginLife() {
  lib_finish(&context_);
  Fake().set_lib_context(nullptr);
}

Ending PluginLife::Validate(confd_hkeypath_t* keypath) const {
  Fake().ForgetCalls();
  const auto before = static_cast<std::ptrdiff_t>(Fake().errors().size());
  confd_value_t newval = testing::Nothing().Borrow();
  const Ending ending =
      CallValidate(Fake().tctx(), keypath, &newval, assertions_);

  RequireBalance();
  const std::vector<TransactionError> errors(Fake().errors().begin() + before,
                                             Fake().errors().end());
  if (ending == Ending::kRefused) {
    RequireRefusalText(errors);
  } else {
    Require(errors.empty(), "a text without a refusal");
  }
  return ending;
}

const Config& PluginLife::snapshot() const {
  return *static_cast<const Config*>(context_);
}

}  // namespace ipav::fuzz
