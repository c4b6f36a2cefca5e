// Reports to the service manager, as sd_notify(3) does.
#ifndef IPAV_IPAVD_TRANSPORT_NOTIFY_H_
#define IPAV_IPAVD_TRANSPORT_NOTIFY_H_

#include <string>

namespace ipav::transport {

// Sends a state such as "READY=1" to the socket that NOTIFY_SOCKET names; does
// nothing without that variable.
void Notify(const std::string& state);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_NOTIFY_H_
