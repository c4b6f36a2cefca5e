// The operations of the server, each a function of its name.
#ifndef IPAV_IPAVD_NETCONF_OPERATIONS_H_
#define IPAV_IPAVD_NETCONF_OPERATIONS_H_

#include "ipavd/netconf/call.h"
#include "ipavd/netconf/reply.h"

namespace ipav::netconf {

// operations/get.cc
Reply Get(const Call& call);
Reply GetConfig(const Call& call);

// operations/datastores.cc
Reply EditConfig(const Call& call);
Reply CopyConfig(const Call& call);
Reply DeleteConfig(const Call& call);
Reply DiscardChanges(const Call& call);
Reply Validate(const Call& call);
Reply Commit(const Call& call);
Reply CancelCommit(const Call& call);
Reply Lock(const Call& call);
Reply Unlock(const Call& call);

// operations/session.cc
Reply CloseSession(const Call& call);
Reply KillSession(const Call& call);

// operations/get_schema.cc
Reply GetSchema(const Call& call);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_OPERATIONS_H_
