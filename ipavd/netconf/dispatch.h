// Which function does which operation.
#ifndef IPAV_IPAVD_NETCONF_DISPATCH_H_
#define IPAV_IPAVD_NETCONF_DISPATCH_H_

#include "ipavd/netconf/call.h"

namespace ipav::netconf {

// Lets the library call our functions, and nothing for operations that are not
// ours. Before nc_server_init(). The data of each session is then an
// Environment.
void RegisterOperations(const ly_ctx* context);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_DISPATCH_H_
