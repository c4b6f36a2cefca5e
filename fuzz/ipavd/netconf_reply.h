// What an answer of the NETCONF server may be.
#ifndef IPAV_FUZZ_IPAVD_NETCONF_REPLY_H_
#define IPAV_FUZZ_IPAVD_NETCONF_REPLY_H_

#include <string>

#include "ipavd/store/rpc_error.h"

namespace ipav::fuzz {

// A finding where the text is no rpc-reply of RFC 6241: XML that is not well
// formed; neither ok, data nor errors; an error whose type its tag cannot have
// (appendix A), or that lacks what the tag asks for.
void RequireLegalReply(const std::string& text);

// The same for an error of the datastores.
void RequireLegalError(const store::RpcError& error);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_REPLY_H_
