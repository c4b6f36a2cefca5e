// Requests that the YANG library refuses before their operation is called.
#ifndef IPAV_IPAVD_NETCONF_BAD_REQUEST_H_
#define IPAV_IPAVD_NETCONF_BAD_REQUEST_H_

#include <libyang/libyang.h>

#include <string>

namespace ipav::netconf {

// The reply of the NETCONF library, framed, which always has the tag
// operation-failed and the YANG library's last text. Returns it with the tag of
// RFC 6241 and the first text, from the errors that are recorded in the
// context; unchanged if there are none, or it is another reply.
std::string WithReason(const ly_ctx* context, const std::string& reply);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_BAD_REQUEST_H_
