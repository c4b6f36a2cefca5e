// The language server: takes the messages of an editor, and answers them. It
// neither reads nor waits.
#ifndef IPAV_CLI_LSP_SERVER_H_
#define IPAV_CLI_LSP_SERVER_H_

#include <string>

#include "cli/lsp/client.h"
#include "cli/lsp/features/completion.h"
#include "cli/lsp/framing.h"
#include "cli/lsp/jobs.h"
#include "cli/lsp/protocol.h"
#include "cli/lsp/workspace.h"
#include "host/datastore/model.h"

namespace ipav::cli::lsp {

// A larger message is dropped: a document of 64 MiB fits into one, with its
// escapes.
inline constexpr std::size_t kMaxMessage = std::size_t{160} << 20;

class Server {
 public:
  // All are borrowed, but the settings, which the client may replace.
  Server(const datastore::Model* model, Jobs* jobs, Client* client,
         const Settings& settings);

  void Receive(const Message& message);

  Workspace& workspace() { return workspace_; }

  // Whether the client has sent "exit", and whether it has first sent
  // "shutdown", as it must.
  bool is_over() const { return state_ == State::kOver; }
  bool was_shut_down() const { return was_shut_down_; }

 private:
  enum class State { kNew, kReady, kShutDown, kOver };
  using Request = void (Server::*)(const Json& id, const Json& params);
  using Notification = void (Server::*)(const Json& params);

  void Dispatch(const Json& message);
  void TakeRequest(const Json& id, const std::string& method,
                   const Json& params);
  void TakeNotification(const std::string& method, const Json& params);
  void Configure(const Json& settings);

  void Initialize(const Json& id, const Json& params);
  void Shutdown(const Json& id, const Json& params);
  void CodeAction(const Json& id, const Json& params);
  void CodeLens(const Json& id, const Json& params);
  void ExecuteCommand(const Json& id, const Json& params);

  void Initialized(const Json& params);
  void Exit(const Json& params);
  void DidOpen(const Json& params);
  void DidChange(const Json& params);
  void DidSave(const Json& params);
  void DidClose(const Json& params);
  void DidChangeConfiguration(const Json& params);
  void DidChangeWatchedFiles(const Json& params);
  void CancelRequest(const Json& params);

  const datastore::Model& model_;
  Client& client_;
  Workspace workspace_;
  const std::string running_;  // of the command line
  State state_ = State::kNew;
  bool was_shut_down_ = false;
  bool watches_files_ = false;  // the client can
  features::CompletionClient completion_client_;
};

}  // namespace ipav::cli::lsp

#endif  // IPAV_CLI_LSP_SERVER_H_
