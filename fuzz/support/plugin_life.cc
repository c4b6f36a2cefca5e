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

// Whether the call was refused before a point was looked for: its arguments are
// invalid, or the host has no socket.
bool EndedAtOnce() {
  const auto& calls = Fake().calls();
  return calls.empty() || calls.back().name == "hostd_maapi_socket_get";
}

void RequireRefusalText(const confd_trans_ctx* tctx,
                        const std::vector<TransactionError>& errors) {
  if (EndedAtOnce()) return Require(errors.empty(), "a text before any point");

  const std::string point = PointOf(tctx->validate_opaque);
  if (errors.empty()) return Require(point.empty(), "a refusal without a text");
  Require(errors.size() == 1, "more than one text");
  Require(errors.front().tctx == tctx, "a text of another transaction");
  if (errors.front().text == "Lib context is null!") return;
  RequireKnownText(point, errors.front().text);
}

void AskForLogHandle() { ValidateLogger::Log("%s", ""); }

}  // namespace

void StartPlatform() {
  // The logger asks for its handle once in the process: ahead of all inputs.
  static const bool kAsked = [] {
    AskForLogHandle();
    return true;
  }();
  static_cast<void>(kAsked);
  Fake().Reset();
}

PluginLife::PluginLife(Causes legal) : legal_(legal) {
  lib_init(&context_);
  Fake().set_lib_context(context_);
}

PluginLife::~PluginLife() {
  lib_finish(&context_);
  Fake().set_lib_context(nullptr);
}

Outcome PluginLife::Validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                             confd_value_t* newval) const {
  Fake().ForgetCalls();
  const auto before = static_cast<std::ptrdiff_t>(Fake().errors().size());
  Outcome outcome = CallValidate(tctx, keypath, newval, legal_);

  RequireBalance();
  const std::vector<TransactionError> errors(Fake().errors().begin() + before,
                                             Fake().errors().end());
  if (outcome.ending == Ending::kRefused) {
    RequireRefusalText(tctx, errors);
  } else {
    Require(errors.empty(), "a text without a refusal");
  }
  return outcome;
}

const Config& PluginLife::snapshot() const {
  return *static_cast<const Config*>(context_);
}

}  // namespace ipav::fuzz
