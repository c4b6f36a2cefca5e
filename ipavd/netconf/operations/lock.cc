#include "ipavd/netconf/operations.h"

namespace ipav::netconf {

Reply Lock(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.Lock(
                              call.session.id(), DatastoreIn(call, "target")));
}

Reply Unlock(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.Unlock(
                              call.session.id(), DatastoreIn(call, "target")));
}

}  // namespace ipav::netconf
