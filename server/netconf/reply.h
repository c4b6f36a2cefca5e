// Answers to operations.
#ifndef IPAV_SERVER_NETCONF_REPLY_H_
#define IPAV_SERVER_NETCONF_REPLY_H_

#include <libyang/libyang.h>
#include <nc_server.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/edit_config.h"
#include "store/rpc_error.h"

namespace ipav::netconf {

struct ReplyDeleter {
  void operator()(nc_server_reply* reply) const { nc_server_reply_free(reply); }
};
using Reply = std::unique_ptr<nc_server_reply, ReplyDeleter>;

Reply Ok();

// Element "data" with these nodes, of the same context as `rpc`.
Reply Data(const lyd_node& rpc, store::Nodes nodes, NC_WD_MODE defaults);

// The same with a text.
Reply DataText(const lyd_node& rpc, const std::string& text);

Reply Refuse(const lyd_node& rpc, const store::RpcError& error);

// Ok() where there is none.
Reply Answer(const lyd_node& rpc, const std::optional<store::RpcError>& error);
Reply Answer(const lyd_node& rpc, const std::vector<store::RpcError>& errors);

}  // namespace ipav::netconf

#endif  // IPAV_SERVER_NETCONF_REPLY_H_
