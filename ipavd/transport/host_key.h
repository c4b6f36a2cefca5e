// The key that identifies this server to SSH clients.
#ifndef IPAV_IPAVD_TRANSPORT_HOST_KEY_H_
#define IPAV_IPAVD_TRANSPORT_HOST_KEY_H_

#include <string>

#include "ipavd/transport/authorized_keys.h"

namespace ipav::transport {

// The key in the file. If the file does not exist, generates an ECDSA key
// (P-256) in it, readable by its owner only, and writes the public key to
// `path`.pub. Throws std::runtime_error, also when the file is not a key or
// others may read it.
Key HostKey(const std::string& path);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_HOST_KEY_H_
