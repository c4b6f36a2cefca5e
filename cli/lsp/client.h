// Sends messages to the editor.
#ifndef IPAV_CLI_LSP_CLIENT_H_
#define IPAV_CLI_LSP_CLIENT_H_

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "cli/lsp/protocol.h"

namespace ipav::cli::lsp {

class Client {
 public:
  // `send` gets each message, framed.
  explicit Client(std::function<void(const std::string&)> send)
      : send_(std::move(send)) {}

  void Notify(const std::string& method, Json params);
  // The result of the client is not used.
  void Request(const std::string& method, Json params);
  void Reply(const Json& id, Json result);
  void Fail(const Json& id, ErrorCode code, const std::string& reason);
  void ShowError(const std::string& text);

 private:
  void Send(Json message);

  std::function<void(const std::string&)> send_;
  std::uint32_t requests_ = 0;
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_CLIENT_H_
