// The functions of the daemon's interface whose calls are counted.
#ifndef IPAV_HOST_CONFD_PLATFORM_CALL_H_
#define IPAV_HOST_CONFD_PLATFORM_CALL_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace ipav::confd {

enum class PlatformCall : std::uint8_t {
  kCdbGetInt32,
  kPrintValue,
  kSetError,
  kDestroyCursor,
  kExists,
  kGetElem,
  kGetInt32,
  kGetIpv4AndPlen,
  kGetIpv6AndPlen,
  kGetNext,
  kGetString,
  kGetUint16,
  kGetUint32,
  kGetUint8,
  kInitCursor,
  kDiffIterate,
  kNumInstances,
  kEvaluateXPath,
};

// In the order of the enumeration.
constexpr std::array<const char*, 18> kPlatformCallNames = {
    "cdb_get_int32",
    "confd_pp_value",
    "confd_trans_seterr",
    "maapi_destroy_cursor",
    "maapi_exists",
    "maapi_get_elem",
    "maapi_get_int32_elem",
    "maapi_get_ipv4_and_plen_elem",
    "maapi_get_ipv6_and_plen_elem",
    "maapi_get_next",
    "maapi_get_str_elem",
    "maapi_get_u_int16_elem",
    "maapi_get_u_int32_elem",
    "maapi_get_u_int8_elem",
    "maapi_init_cursor",
    "maapi_keypath_diff_iterate",
    "maapi_num_instances",
    "maapi_xpath_eval_expr",
};

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_PLATFORM_CALL_H_
