// The state data of the server: /netconf-state (RFC 6022) and the YANG library
// (RFC 8525).
#ifndef IPAV_IPAVD_NETCONF_MONITORING_H_
#define IPAV_IPAVD_NETCONF_MONITORING_H_

#include "ipavd/netconf/call.h"
#include "ipavd/store/edit_config.h"

namespace ipav::netconf {

// Nodes of the message context. Throws std::runtime_error.
store::Nodes StateData(const Environment& environment);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_MONITORING_H_
