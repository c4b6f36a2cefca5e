#include "cli/lsp/client.h"

#include "cli/lsp/framing.h"

namespace ipav::cli::lsp {

void Client::Send(Json message) {
  message["jsonrpc"] = "2.0";
  // A plug-in may write any bytes.
  send_(Frame(message.dump(-1, ' ', false, Json::error_handler_t::replace)));
}

void Client::Notify(const std::string& method, Json params) {
  Send({{"method", method}, {"params", std::move(params)}});
}

void Client::Request(const std::string& method, Json params) {
  Send(
      {{"id", ++requests_}, {"method", method}, {"params", std::move(params)}});
}

void Client::Reply(const Json& id, Json result) {
  Send({{"id", id}, {"result", std::move(result)}});
}

void Client::Fail(const Json& id, ErrorCode code, const std::string& reason) {
  Send({{"id", id}, {"error", {{"code", code}, {"message", reason}}}});
}

void Client::ShowError(const std::string& text) {
  Notify("window/showMessage", {{"type", 1}, {"message", text}});
}

}  // namespace ipav::cli::lsp
