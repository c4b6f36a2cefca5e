// The entry points that the host calls, and the callbacks that judge the
// snapshot; exported under C names.
//
// Nothing here is noexcept: what a reader throws reaches the host.
#ifndef IPAV_VALIDATE_H_
#define IPAV_VALIDATE_H_

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>

#include "include/config.h"

// The library hides every symbol that no such block shows.
#pragma GCC visibility push(default)

extern "C" {

// Creates the snapshot and stores it in *context, the host's slot; returns 0.
// Throws what the construction throws.
int32_t lib_init(void** context);

// Writes the name of the validation set, cut and terminated at `size` bytes;
// returns 0. The host registers the plug-in under that name.
int32_t get_validation_point(char* buffer, size_t size);

// Validation callback of the set: binds the snapshot to the call and runs the
// callback whose name begins the opaque text of the use site. Returns 0 to
// accept, -1 to refuse. A refusal by a callback sets the error text of the
// transaction; a malformed or unknown call is refused without one.
int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval);

// Destroys the snapshot in *context, if any; returns 0. Does not reset the
// slot.
int32_t lib_finish(void** context);

// Callbacks. All but the last one read the parts of the snapshot that they need
// and that were not read before, run one rule, and set the rule's text on the
// transaction if it is violated. They do not use `maapi_socket` and `newval`:
// the snapshot is bound already. Return 0 to accept, -1 to refuse.

// Number and names of the l3 interfaces.
int32_t validate_intf_l3_name(int32_t maapi_socket, confd_trans_ctx* tctx,
                              confd_hkeypath_t* keypath, confd_value_t* newval,
                              ip_application::config_valid::Config& config);

// Addresses of the interfaces of the kind that the key path names, of one
// family. Refuses a key path that names no kind.
int32_t validate_ipv4_addr(int32_t maapi_socket, confd_trans_ctx* tctx,
                           confd_hkeypath_t* keypath, confd_value_t* newval,
                           ip_application::config_valid::Config& config);
int32_t validate_ipv6_addr(int32_t maapi_socket, confd_trans_ctx* tctx,
                           confd_hkeypath_t* keypath, confd_value_t* newval,
                           ip_application::config_valid::Config& config);

// Static routes against the addresses of the interfaces, their number and their
// black holes. One family is read, and the IPv6 routes are examined only in a
// snapshot that has not read the IPv4 ones.
int32_t validate_ipv4_addr_route(int32_t maapi_socket, confd_trans_ctx* tctx,
                                 confd_hkeypath_t* keypath,
                                 confd_value_t* newval,
                                 ip_application::config_valid::Config& config);
int32_t validate_ipv6_addr_route(int32_t maapi_socket, confd_trans_ctx* tctx,
                                 confd_hkeypath_t* keypath,
                                 confd_value_t* newval,
                                 ip_application::config_valid::Config& config);

// Lower-layer interfaces of the output interfaces of static routes.
int32_t validate_route_l3_intf(int32_t maapi_socket, confd_trans_ctx* tctx,
                               confd_hkeypath_t* keypath, confd_value_t* newval,
                               ip_application::config_valid::Config& config);

// IPv4 addresses against those that OSPFv2 knows.
int32_t validate_ipv4_addr_cross_prot(
    int32_t maapi_socket, confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
    confd_value_t* newval, ip_application::config_valid::Config& config);

// The VLAN of an l3 interface against OSPFv3: the answer of
// validate_lower_layer_cross_ospfv3(). The snapshot is not used.
int32_t validate_lower_layer_cross_prot(
    int32_t maapi_socket, confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
    confd_value_t* newval, ip_application::config_valid::Config& config);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_H_
