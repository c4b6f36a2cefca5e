// Replies to operations.
#ifndef IPAV_IPAVD_NETCONF_REPLY_H_
#define IPAV_IPAVD_NETCONF_REPLY_H_

#include <libyang/libyang.h>
#include <nc_server.h>

#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/base/c_ptr.h"
#include "ipavd/store/nodes.h"
#include "ipavd/store/rpc_error.h"

namespace ipav::netconf {

using Reply = base::CPtr<nc_server_reply, nc_server_reply_free>;

// Thrown by an operation that cannot be done.
class Refusal : public std::exception {
 public:
  explicit Refusal(store::RpcError error) : error_(std::move(error)) {}

  // An error of the protocol.
  Refusal(store::ErrorTag tag, const std::string& message,
          store::ErrorInfo info = {})
      : Refusal(store::MakeError(tag, message, store::ErrorType::kProtocol,
                                 std::move(info))) {}

  const store::RpcError& error() const { return error_; }
  const char* what() const noexcept override { return error_.message.c_str(); }

 private:
  store::RpcError error_;
};

Reply Ok();

// An element "data" with these nodes, which have the context of `rpc`.
Reply Data(const lyd_node& rpc, store::Nodes nodes, NC_WD_MODE defaults);

// An element "data" with a text.
Reply DataText(const lyd_node& rpc, const std::string& text);

Reply Refuse(const lyd_node& rpc, const store::RpcError& error);

// The element rpc-error.
std::string TextOf(const ly_ctx* context, const store::RpcError& error);

// Ok() if there is no error.
Reply Answer(const lyd_node& rpc, const std::optional<store::RpcError>& error);
Reply Answer(const lyd_node& rpc, const std::vector<store::RpcError>& errors);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_REPLY_H_
