#include "ipavd/netconf/reply.h"

#include <stdexcept>
#include <utility>

#include "ipavd/netconf/errors.h"

namespace ipav::netconf {

namespace {

Reply WithData(const lyd_node& rpc, const void* value,
               LYD_ANYDATA_VALUETYPE type, NC_WD_MODE defaults) {
  lyd_node* envelope = nullptr;
  if (lyd_dup_single(&rpc, nullptr, 0, &envelope) != LY_SUCCESS ||
      lyd_new_any(envelope, nullptr, "data", value,
                  type == LYD_ANYDATA_DATATREE ? 1 : 0, type, 1,
                  nullptr) != LY_SUCCESS) {
    lyd_free_all(envelope);
    throw std::runtime_error("no reply can be made");
  }
  return Reply(nc_server_reply_data(envelope, defaults, NC_PARAMTYPE_FREE));
}

}  // namespace

Reply Ok() { return Reply(nc_server_reply_ok()); }

Reply Data(const lyd_node& rpc, store::Nodes nodes, NC_WD_MODE defaults) {
  Reply reply = WithData(rpc, nodes.get(), LYD_ANYDATA_DATATREE, defaults);
  static_cast<void>(nodes.release());  // the reply owns them now
  return reply;
}

Reply DataText(const lyd_node& rpc, const std::string& text) {
  return WithData(rpc, text.c_str(), LYD_ANYDATA_STRING, NC_WD_ALL);
}

Reply Refuse(const lyd_node& rpc, const store::RpcError& error) {
  return Reply(nc_server_reply_err(ToTree(LYD_CTX(&rpc), error)));
}

Reply Answer(const lyd_node& rpc, const std::optional<store::RpcError>& error) {
  return error.has_value() ? Refuse(rpc, *error) : Ok();
}

Reply Answer(const lyd_node& rpc, const std::vector<store::RpcError>& errors) {
  if (errors.empty()) return Ok();
  Reply reply = Refuse(rpc, errors.front());
  for (std::size_t i = 1; i < errors.size(); ++i) {
    nc_server_reply_add_err(reply.get(), ToTree(LYD_CTX(&rpc), errors[i]));
  }
  return reply;
}

}  // namespace ipav::netconf
