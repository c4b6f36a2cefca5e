// The public keys that may log in, from a file as sshd(8) has it.
#ifndef IPAV_SERVER_TRANSPORT_AUTHORIZED_KEYS_H_
#define IPAV_SERVER_TRANSPORT_AUTHORIZED_KEYS_H_

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
  // One key a line: TYPE BASE64 [COMMENT]. Options before a key would promise
  // what nobody keeps, and are refused like all that is no key. Throws
  // std::runtime_error with file and line.
  static AuthorizedKeys FromFile(const std::string& path);

  bool Has(ssh_key key) const;
  std::size_t size() const { return keys_.size(); }

 private:
  std::vector<Key> keys_;
};

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_AUTHORIZED_KEYS_H_
