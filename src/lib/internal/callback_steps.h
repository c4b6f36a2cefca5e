// Steps that the callbacks share.
#ifndef IPAV_SRC_LIB_INTERNAL_CALLBACK_STEPS_H_
#define IPAV_SRC_LIB_INTERNAL_CALLBACK_STEPS_H_

#include <confd_lib.h>

#include <cstdint>
#include <initializer_list>

#include "include/config.h"
#include "include/validate_config.h"

namespace ip_application::config_valid::internal {

// Reads a family with the interface readers of these kinds, in that order,
// unless they have read it.
void ReadInterfacesIfNeeded(Config& config, ConfigAddrFamily family,
                            std::initializer_list<InterfaceType> kinds);

// Returns kAccept or kReject for the result of a rule. Sets the text of a
// violated rule on the transaction.
std::int32_t Report(confd_trans_ctx* tctx, int result,
                    const ValidateConfig& rules);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_CALLBACK_STEPS_H_
