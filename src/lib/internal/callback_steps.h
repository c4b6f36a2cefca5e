// Steps that the callbacks over the snapshot have in common.
#ifndef IPAV_SRC_LIB_INTERNAL_CALLBACK_STEPS_H_
#define IPAV_SRC_LIB_INTERNAL_CALLBACK_STEPS_H_

#include <confd_lib.h>

#include <cstdint>
#include <initializer_list>

#include "include/config.h"
#include "include/validate_config.h"

namespace ip_application::config_valid::internal {

// Has the interface readers of these kinds read a family, in that order.
void ReadInterfacesIfNeeded(Config& config, ConfigAddrFamily family,
                            std::initializer_list<InterfaceType> kinds);

// Turns a rule's result into the answer: kAccept or kReject. A violated rule's
// text is set on the transaction.
std::int32_t Report(confd_trans_ctx* tctx, int result,
                    const ValidateConfig& rules);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_CALLBACK_STEPS_H_
