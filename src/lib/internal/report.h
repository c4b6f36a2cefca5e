// What a rule returns and what a callback answers.
#ifndef IPAV_SRC_LIB_INTERNAL_REPORT_H_
#define IPAV_SRC_LIB_INTERNAL_REPORT_H_

#include <cstdint>

namespace ip_application::config_valid::internal {

inline constexpr int kHolds = 0;
inline constexpr int kViolated = -1;

inline constexpr std::int32_t kAccept = 0;
inline constexpr std::int32_t kReject = -1;

// Set on the transaction for a key path under no interface that the validation
// point judges.
inline constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_REPORT_H_
