// IPv6 router-advertisement timers (RFC 4861, section 6.2.1): the minimum
// interval is limited by the maximum, and a router lifetime exceeds it. Read
// directly from the transaction, without the snapshot.

#include "include/validate_nd_ra.h"

#include <confd_maapi.h>

#include <cstdint>
#include <string>

#include "include/validate_logger.h"
#include "src/lib/internal/assertion.h"
#include "src/lib/internal/model_tags.h"
#include "src/lib/internal/report.h"

namespace ip_application::config_valid {

namespace {

// The timers of one call. The maximum interval is read before a rule runs.
struct RaTimers {
  int sock;
  confd_trans_ctx* tctx;
  bool is_mgmt;
  std::uint16_t max_interval;  // seconds
  std::string other_path;      // of the timer compared with the maximum
};

// One rule: a timer against the maximum interval.
struct RaRule {
  const char* other_leaf;
  std::int32_t (*judge)(const RaTimers& timers);
  const char* callback;  // signature that a failed assertion names
};

// The kind segment of the container's path, null for a list without RA timers.
const char* KindSegment(std::uint32_t list_tag) {
  if (list_tag == internal::kMgmtTag) return "mgmt{";
  if (list_tag == internal::kL3Tag) return "l3{";
  return nullptr;
}

std::string NameOf(const confd_value_t& key) {
  const auto* text = reinterpret_cast<const char*>(CONFD_GET_BUFPTR(&key));
  return std::string(text, CONFD_GET_BUFSIZE(&key));
}

bool Exists(const RaTimers& timers, const std::string& path) {
  return maapi_exists(timers.sock, timers.tctx->thandle, "%s", path.c_str()) ==
         1;
}

bool ReadTimer(const RaTimers& timers, const std::string& path,
               std::uint16_t* seconds) {
  return maapi_get_u_int16_elem(timers.sock, timers.tctx->thandle, seconds,
                                "%s", path.c_str()) == CONFD_OK;
}

// The validation point sits on <interface>/ipv6/nd/ra, so that, counted from
// the leaf end, v[3] is the interface's key and v[4] its list.
void RequireInterface(const confd_hkeypath_t& keypath, const char* callback) {
  constexpr char kSource[] = "src/lib/validate_nd_ra.cc";
  internal::RequireType(
      keypath.v[3][0], C_BUF,
      {"(&keypath->v[3][0])->type == C_BUF", kSource, __LINE__, callback});
  internal::RequireType(
      keypath.v[4][0], C_XMLTAG,
      {"(&keypath->v[4][0])->type == C_XMLTAG", kSource, __LINE__, callback});
}

std::int32_t ValidateTimers(const RaRule& rule, std::int32_t maapi_socket,
                            confd_trans_ctx* tctx,
                            const confd_hkeypath_t& keypath) {
  RequireInterface(keypath, rule.callback);
  const std::uint32_t list_tag = CONFD_GET_XMLTAG(&keypath.v[4][0]);
  const char* kind = KindSegment(list_tag);
  if (kind == nullptr) {
    confd_trans_seterr(tctx, internal::kInvalidInterface);
    return internal::kReject;
  }

  const std::string container = std::string("/config/interface/") + kind +
                                NameOf(keypath.v[3][0]) + "}/ipv6/nd/ra/";
  const std::string max_path = container + "max-interval";
  RaTimers timers{maapi_socket, tctx, list_tag == internal::kMgmtTag, 0,
                  container + rule.other_leaf};
  if (!Exists(timers, max_path) && !Exists(timers, timers.other_path)) {
    ValidateLogger::Log(
        "There is no path for '%s' and '%s'. Skipping validation ...",
        max_path.c_str(), timers.other_path.c_str());
    return internal::kAccept;
  }

  if (!ReadTimer(timers, max_path, &timers.max_interval)) {
    confd_trans_seterr(
        tctx, "fail to get maximum router advertisement interval value");
    return internal::kReject;
  }
  return rule.judge(timers);
}

std::int32_t JudgeMinInterval(const RaTimers& timers) {
  constexpr float kLargestShare = 0.75F;  // RFC 4861: exact in binary

  std::uint16_t min_interval = 0;
  if (!ReadTimer(timers, timers.other_path, &min_interval)) {
    confd_trans_seterr(
        timers.tctx, "fail to get minimum router advertisement interval value");
    return internal::kReject;
  }

  const double largest = static_cast<double>(timers.max_interval) *
                         static_cast<double>(kLargestShare);
  if (static_cast<double>(min_interval) > largest) {
    confd_trans_seterr(
        timers.tctx,
        "Minimum interval must be no greater than maximum interval * 0.75");
    return internal::kReject;
  }
  return internal::kAccept;
}

std::int32_t JudgeLifetime(const RaTimers& timers) {
  // A management interface is not a default router: its lifetime is not
  // checked, but its maximum interval must be readable.
  if (timers.is_mgmt) return internal::kAccept;

  std::uint16_t lifetime = 0;
  if (!ReadTimer(timers, timers.other_path, &lifetime)) {
    confd_trans_seterr(timers.tctx,
                       "fail to get router advertisement lifetime value");
    return internal::kReject;
  }

  // Zero means "not a default router" (RFC 4861). Otherwise stricter than the
  // RFC: a lifetime equal to the interval is refused.
  if (lifetime == 0 || lifetime > timers.max_interval) {
    return internal::kAccept;
  }
  confd_trans_seterr(
      timers.tctx,
      "Lifetime must be greater than maximum router advertisement interval");
  return internal::kReject;
}

constexpr RaRule kIntervalRule = {
    "min-interval", JudgeMinInterval,
    "int32_t validate_ipv6_nd_ra_interval(int32_t, confd_trans_ctx*, "
    "confd_hkeypath_t*, confd_value_t*, "
    "ip_application::config_valid::Config&)"};

constexpr RaRule kLifetimeRule = {
    "lifetime", JudgeLifetime,
    "int32_t validate_ipv6_nd_ra_lifetime(int32_t, confd_trans_ctx*, "
    "confd_hkeypath_t*, confd_value_t*, "
    "ip_application::config_valid::Config&)"};

}  // namespace

}  // namespace ip_application::config_valid

namespace config_valid = ip_application::config_valid;

int32_t validate_ipv6_nd_ra_interval(int32_t maapi_socket,
                                     confd_trans_ctx* tctx,
                                     confd_hkeypath_t* keypath,
                                     confd_value_t* /*newval*/,
                                     config_valid::Config& /*config*/) {
  return config_valid::ValidateTimers(config_valid::kIntervalRule, maapi_socket,
                                      tctx, *keypath);
}

int32_t validate_ipv6_nd_ra_lifetime(int32_t maapi_socket,
                                     confd_trans_ctx* tctx,
                                     confd_hkeypath_t* keypath,
                                     confd_value_t* /*newval*/,
                                     config_valid::Config& /*config*/) {
  return config_valid::ValidateTimers(config_valid::kLifetimeRule, maapi_socket,
                                      tctx, *keypath);
}
