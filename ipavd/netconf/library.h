// Starts and stops the NETCONF library, which has global state. It calls the
// function in operations.h for each operation.
#ifndef IPAV_IPAVD_NETCONF_LIBRARY_H_
#define IPAV_IPAVD_NETCONF_LIBRARY_H_

#include <libyang/libyang.h>

namespace ipav::netconf {

class Library {
 public:
  // At most one at a time. Borrows the message context. The data of each
  // session must be an Environment. Throws std::runtime_error.
  explicit Library(ly_ctx* context);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_LIBRARY_H_
