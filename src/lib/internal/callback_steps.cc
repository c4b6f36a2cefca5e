#include "src/lib/internal/callback_steps.h"

#include "src/lib/internal/report.h"

namespace ip_application::config_valid::internal {

void ReadInterfacesIfNeeded(Config& config, ConfigAddrFamily family,
                            std::initializer_list<InterfaceType> kinds) {
  for (const InterfaceType kind : kinds) {
    config.intf_by_type(kind)->ReadConfigIfNeeded(family);
  }
}

std::int32_t Report(confd_trans_ctx* tctx, int result,
                    const ValidateConfig& rules) {
  if (result == 0) return kAccept;
  // Through "%s": the text may hold a "%" that somebody typed.
  confd_trans_seterr(tctx, "%s", rules.error_text().c_str());
  return kReject;
}

}  // namespace ip_application::config_valid::internal
