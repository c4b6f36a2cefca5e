#include <chrono>
#include <cstdlib>

#include "ipavd/netconf/operations.h"

namespace ipav::netconf {

Reply Validate(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.Validate(SourceOf(call)));
}

Reply Commit(const Call& call) {
  store::CommitRequest request;
  request.confirmed = Find(call.rpc, "confirmed") != nullptr;
  if (const auto timeout = Text(call, "confirm-timeout")) {
    request.timeout =
        std::chrono::seconds(std::strtoul(timeout->c_str(), nullptr, 10));
  }
  request.persist = Text(call, "persist");
  request.persist_id = Text(call, "persist-id");
  return Answer(call.rpc,
                call.environment.datastores.Commit(call.session.id(), request));
}

Reply CancelCommit(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.CancelCommit(
                              call.session.id(), Text(call, "persist-id")));
}

}  // namespace ipav::netconf
