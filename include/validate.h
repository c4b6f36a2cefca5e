// The entry points that the host calls, and the callbacks of the validation
// points; exported with C linkage.
//
// No function is noexcept: exceptions of the readers reach the host.
#ifndef IPAV_VALIDATE_H_
#define IPAV_VALIDATE_H_

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>

#include "include/config.h"

// All symbols outside of such a block are hidden.
#pragma GCC visibility push(default)

extern "C" {

// Creates the snapshot and stores it in *context, the host's slot; returns 0.
// The host must pass it to lib_finish(). Throws std::bad_alloc.
int32_t lib_init(void** context);

// Writes the name of the validation set, truncated to `size` bytes including
// the terminating NUL; returns 0. The host registers the plug-in under that
// name.
int32_t get_validation_point(char* buffer, size_t size);

// Validation callback of the set: binds the snapshot to the call and runs the
// callback of the first validation point whose name is a prefix of the use
// site's opaque text. Returns 0 to accept, -1 to refuse. A refusal by a
// callback sets the error text of the transaction; a malformed or unknown call
// is refused without an error text.
int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval);

// Destroys the snapshot in *context, if any; returns 0. Does not reset the
// slot.
int32_t lib_finish(void** context);

// Callbacks. All but the last one read the parts of the snapshot that they need
// and that were not read before, and run one rule; if it is violated, they set
// its text on the transaction. They do not use `maapi_socket` and `newval`: the
// snapshot has the socket. Return 0 to accept, -1 to refuse.

// Number and names of the l3 interfaces.
int32_t validate_intf_l3_name(int32_t maapi_socket, confd_trans_ctx* tctx,
                              confd_hkeypath_t* keypath, confd_value_t* newval,
                              ip_application::config_valid::Config& config);

// Addresses of one family of the interfaces in the list that the key path ends
// with. Refuses a key path that ends with another node.
int32_t validate_ipv4_addr(int32_t maapi_socket, confd_trans_ctx* tctx,
                           confd_hkeypath_t* keypath, confd_value_t* newval,
                           ip_application::config_valid::Config& config);
int32_t validate_ipv6_addr(int32_t maapi_socket, confd_trans_ctx* tctx,
                           confd_hkeypath_t* keypath, confd_value_t* newval,
                           ip_application::config_valid::Config& config);

// Static routes: their next hops against the addresses of the interfaces, their
// number and their black holes. Reads one family. The IPv6 routes are checked
// only in a snapshot that has not read the IPv4 routes.
int32_t validate_ipv4_addr_route(int32_t maapi_socket, confd_trans_ctx* tctx,
                                 confd_hkeypath_t* keypath,
                                 confd_value_t* newval,
                                 ip_application::config_valid::Config& config);
int32_t validate_ipv6_addr_route(int32_t maapi_socket, confd_trans_ctx* tctx,
                                 confd_hkeypath_t* keypath,
                                 confd_value_t* newval,
                                 ip_application::config_valid::Config& config);

// Each output interface of a static route has a lower-layer interface.
int32_t validate_route_l3_intf(int32_t maapi_socket, confd_trans_ctx* tctx,
                               confd_hkeypath_t* keypath, confd_value_t* newval,
                               ip_application::config_valid::Config& config);

// IPv4 addresses of interfaces against those in OSPFv2's table.
int32_t validate_ipv4_addr_cross_prot(
    int32_t maapi_socket, confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
    confd_value_t* newval, ip_application::config_valid::Config& config);

// The VLAN of an l3 interface against OSPFv3: returns the result of
// validate_lower_layer_cross_ospfv3(). The snapshot is not used.
int32_t validate_lower_layer_cross_prot(
    int32_t maapi_socket, confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
    confd_value_t* newval, ip_application::config_valid::Config& config);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_H_
