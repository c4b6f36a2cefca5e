// Callbacks of the IPv6 router-advertisement timers (RFC 4861, section 6.2.1),
// exported with C linkage.
#ifndef IPAV_VALIDATE_ND_RA_H_
#define IPAV_VALIDATE_ND_RA_H_

#include <confd_lib.h>

#include <cstdint>

#include "include/config.h"

#pragma GCC visibility push(default)

extern "C" {

// The key path names the container of the timers, <interface>/ipv6/nd/ra; a key
// path of another shape aborts the process. The timers are read through
// `maapi_socket`; `newval` and `config` are not used. Return 0 to accept; -1 to
// refuse, with the error text set on the transaction.

// The minimum interval is at most three quarters of the maximum.
int32_t validate_ipv6_nd_ra_interval(
    int32_t maapi_socket, confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
    confd_value_t* newval, ip_application::config_valid::Config& config);

// The router lifetime of an l3 interface is zero or above the maximum interval.
int32_t validate_ipv6_nd_ra_lifetime(
    int32_t maapi_socket, confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
    confd_value_t* newval, ip_application::config_valid::Config& config);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_ND_RA_H_
