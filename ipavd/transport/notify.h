// What a service manager is told (sd_notify(3)).
#ifndef IPAV_SERVER_TRANSPORT_NOTIFY_H_
#define IPAV_SERVER_TRANSPORT_NOTIFY_H_

#include <string>

namespace ipav::transport {

// "READY=1", say, to the socket that the environment names (NOTIFY_SOCKET);
// nothing where it names none.
void Notify(const std::string& state);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_NOTIFY_H_
