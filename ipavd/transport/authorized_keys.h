// The public keys that may log in, read from a file in the format of sshd(8).
#ifndef IPAV_IPAVD_TRANSPORT_AUTHORIZED_KEYS_H_
#define IPAV_IPAVD_TRANSPORT_AUTHORIZED_KEYS_H_

#include <libssh/libssh.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "host/base/c_ptr.h"
#include "host/base/file_descriptor.h"

namespace ipav::transport {

using Key = base::CPtr<ssh_key_struct, ssh_key_free>;

// The error of the last system call, which was about that key file.
inline std::runtime_error FileError(const std::string& path) {
  return std::runtime_error(path + ": " +
                            std::generic_category().message(errno));
}

// Reading anything else, such as a pipe, may never end.
inline std::runtime_error NoRegularFile(const std::string& path) {
  return std::runtime_error(path + ": is not a regular file");
}

// As ssh-keygen -l prints it, "SHA256:" and base64; empty if there is no
// memory.
std::string Fingerprint(ssh_key key);

// Opens a file of authorized keys: a regular file, or /dev/null for no keys.
// Throws std::runtime_error, also if another user may change the file.
base::FileDescriptor OpenAuthorizedKeys(const std::string& path);

class AuthorizedKeys {
 public:
  AuthorizedKeys() = default;

  // Reads an open file, which `path` names in errors. One key per line: TYPE
  // BASE64 [COMMENT]. Every line must let somebody in: one with options is
  // refused, since this server does not implement them, as is one with a
  // certificate or with two keys. Throws std::runtime_error with file and line.
  AuthorizedKeys(const base::FileDescriptor& file, const std::string& path);

  bool Has(ssh_key key) const;
  std::size_t size() const { return keys_.size(); }

 private:
  std::vector<Key> keys_;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_AUTHORIZED_KEYS_H_
