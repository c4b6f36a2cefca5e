#include "store/commit_gate.h"

namespace ipav::store {

Judgement CommitGate::Complete(Nodes) const { return {nullptr, RpcError{}}; }

Judgement CommitGate::Judge(const datastore::DataTree&, Nodes) const {
  return {nullptr, RpcError{}};
}

std::optional<RpcError> CommitGate::Judge(const datastore::DataTree&,
                                          const datastore::DataTree&) const {
  return RpcError{};
}

}  // namespace ipav::store
