// Checks replies of the NETCONF server.
#ifndef IPAV_FUZZ_IPAVD_NETCONF_REPLY_H_
#define IPAV_FUZZ_IPAVD_NETCONF_REPLY_H_

#include <string>

namespace ipav::fuzz {

// It is a finding if the text is not an rpc-reply of RFC 6241: XML that is not
// well-formed; neither ok, data nor errors; an error with a type that its tag
// cannot have (appendix A), or without the elements that the tag requires.
void RequireLegalReply(const std::string& text);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_REPLY_H_
