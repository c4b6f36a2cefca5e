#include "store/edit_config.h"

namespace ipav::store {

Nodes Copy(const lyd_node* nodes) {
  lyd_node* copy = nullptr;
  if (nodes != nullptr) {
    static_cast<void>(lyd_dup_siblings(
        nodes, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy));
  }
  return Nodes(copy);
}

std::vector<RpcError> EditConfig(const datastore::Model&, const std::string&,
                                 const EditRules&, Nodes*) {
  RpcError error;
  error.tag = ErrorTag::kOperationNotSupported;
  return {error};
}

}  // namespace ipav::store
