#include <utility>

#include "ipavd/netconf/filter.h"
#include "ipavd/netconf/monitoring.h"
#include "ipavd/netconf/operations.h"
#include "ipavd/netconf/selection.h"

namespace ipav::netconf {

Reply GetConfig(const Call& call) {
  const Filter filter(call.rpc);
  const lyd_node* tree =
      call.environment.datastores.Tree(DatastoreIn(call, "source"));
  return Data(call.rpc, filter.Apply(tree), DefaultsOf(call));
}

Reply Get(const Call& call) {
  const Filter filter(call.rpc);
  const lyd_node* running =
      call.environment.datastores.Tree(store::Datastore::kRunning);
  store::Nodes state = StateData(call.environment);
  if (filter.needs_whole_tree()) {
    const store::Nodes all =
        Join(CopyTo(call.environment.context, running), std::move(state));
    return Data(call.rpc, filter.Apply(all.get()), DefaultsOf(call));
  }
  store::Nodes data = Join(filter.Apply(running), filter.Apply(state.get()));
  return Data(call.rpc, std::move(data), DefaultsOf(call));
}

}  // namespace ipav::netconf
