// The NETCONF library, which has one state for the whole process.
#ifndef IPAV_IPAVD_NETCONF_LIBRARY_H_
#define IPAV_IPAVD_NETCONF_LIBRARY_H_

#include <libyang/libyang.h>

namespace ipav::netconf {

class Library {
 public:
  // Starts it, with our operations. One at a time. The context, of messages, is
  // borrowed. Throws std::runtime_error.
  explicit Library(ly_ctx* context);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_LIBRARY_H_
