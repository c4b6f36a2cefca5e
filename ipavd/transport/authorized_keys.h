// The public keys that may log in, read from a file in the format of sshd(8).
#ifndef IPAV_IPAVD_TRANSPORT_AUTHORIZED_KEYS_H_
#define IPAV_IPAVD_TRANSPORT_AUTHORIZED_KEYS_H_

#include <libssh/libssh.h>

#include <memory>
#include <string>
#include <vector>

namespace ipav::transport {

struct KeyDeleter {
  void operator()(ssh_key key) const { ssh_key_free(key); }
};
using Key = std::unique_ptr<ssh_key_struct, KeyDeleter>;

class AuthorizedKeys {
 public:
  // One key per line: TYPE BASE64 [COMMENT]. A line with options is refused,
  // since this server does not implement them, as is a line without a key.
  // Throws std::runtime_error with file and line.
  static AuthorizedKeys FromFile(const std::string& path);

  bool Has(ssh_key key) const;
  std::size_t size() const { return keys_.size(); }

 private:
  std::vector<Key> keys_;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_AUTHORIZED_KEYS_H_
