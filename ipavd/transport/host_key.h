// The key by which clients know this server.
#ifndef IPAV_SERVER_TRANSPORT_HOST_KEY_H_
#define IPAV_SERVER_TRANSPORT_HOST_KEY_H_

#include <string>

namespace ipav::transport {

// Makes an ECDSA key (P-256) in that file, which only its owner may read, if
// there is none; the public key goes beside it, in `path`.pub. Throws
// std::runtime_error, also for a file that is no key or that others may read.
void EnsureHostKey(const std::string& path);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_HOST_KEY_H_
