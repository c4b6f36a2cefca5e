// Results of rules and callbacks.
#ifndef IPAV_SRC_LIB_INTERNAL_REPORT_H_
#define IPAV_SRC_LIB_INTERNAL_REPORT_H_

#include <cstdint>

namespace ip_application::config_valid::internal {

inline constexpr int kHolds = 0;
inline constexpr int kViolated = -1;

inline constexpr std::int32_t kAccept = 0;
inline constexpr std::int32_t kReject = -1;

// Error text for a key path below an interface that the point does not check.
inline constexpr char kInvalidInterface[] =
    "invalid interface being handled by IP-App validation";

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_REPORT_H_
