// Registers the functions of the operations.
#ifndef IPAV_IPAVD_NETCONF_DISPATCH_H_
#define IPAV_IPAVD_NETCONF_DISPATCH_H_

#include "ipavd/netconf/call.h"

namespace ipav::netconf {

// Makes the library call our functions, and none for other operations. Must be
// called before nc_server_init(). The data of each session must be an
// Environment.
void RegisterOperations(const ly_ctx* context);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_DISPATCH_H_
