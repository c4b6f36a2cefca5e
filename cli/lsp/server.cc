#include "cli/lsp/server.h"

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "cli/lsp/features.h"
#include "cli/lsp/features/names.h"
#include "cli/lsp/uri.h"
#include "cli/report/json/shallow_json.h"

namespace ipav::cli::lsp {

namespace {

const std::string& UriIn(const Json& params) {
  return params.at("textDocument").at("uri").get_ref<const std::string&>();
}

bool Has(const Json& json, const char* pointer) {
  return json.contains(Json::json_pointer(pointer));
}

// A member of members; null if one of them is missing.
Json At(const Json& json, const char* pointer) {
  return Has(json, pointer) ? json.at(Json::json_pointer(pointer)) : Json();
}

bool IsTrue(const Json& json, const char* pointer) {
  return At(json, pointer) == true;
}

// The folder for relative names; empty if the client has none.
std::string RootIn(const Json& params) {
  Json uri = At(params, "/workspaceFolders/0/uri");
  if (!uri.is_string()) uri = At(params, "/rootUri");
  if (!uri.is_string()) return "";
  return PathOf(uri.get<std::string>()).value_or("");
}

features::CompletionClient CompletionClientIn(const Json& params) {
  const std::string item =
      "/capabilities/textDocument/completion/completionItem";
  constexpr int kAdjustIndentation = 2;
  const Json modes =
      At(params, (item + "/insertTextModeSupport/valueSet").c_str());
  return {
      IsTrue(params, (item + "/snippetSupport").c_str()),
      std::find(modes.begin(), modes.end(), kAdjustIndentation) != modes.end()};
}

Json Capabilities() {
  Json capabilities = {
      {"positionEncoding", "utf-16"},
      {"textDocumentSync",
       {{"openClose", true}, {"change", 2}, {"save", true}}},
      {"codeActionProvider", {{"codeActionKinds", Json::array({"quickfix"})}}},
      {"codeLensProvider", {{"resolveProvider", false}}},
      {"executeCommandProvider", {{"commands", Json::array({kCheckCommand})}}}};
  for (const Feature& feature : Features()) {
    capabilities[feature.capability] = feature.options;
  }
  return capabilities;
}

// So that a running configuration that another program writes is noticed.
Json WatchRunning() {
  const Json watchers =
      Json::array({{{"globPattern", "**/running.{xml,json}"}}});
  Json registration = {{"id", "running"},
                       {"method", "workspace/didChangeWatchedFiles"},
                       {"registerOptions", {{"watchers", watchers}}}};
  return {{"registrations", Json::array({std::move(registration)})}};
}

const Feature* FindFeature(const std::string& method) {
  const std::vector<Feature>& all = Features();
  const auto found = std::find_if(
      all.begin(), all.end(),
      [&](const Feature& feature) { return feature.method == method; });
  return found == all.end() ? nullptr : &*found;
}

}  // namespace

Server::Server(const datastore::Model* model, Jobs* jobs, Client* client,
               const Settings& settings)
    : model_(*model),
      client_(*client),
      workspace_(jobs, client),
      running_(settings.running) {
  workspace_.settings() = settings;
}

// ---- Messages ---------------------------------------------------------------

void Server::Receive(const Message& message) {
  if (message.is_too_large) {
    client_.Fail(nullptr, kInvalidRequest, "the message is too large");
    client_.ShowError("ipav: a document is too large to be judged");
    return workspace_.Lose(message.content);
  }
  const Json json = report::ParseShallow(message.content);
  if (json.is_discarded()) {
    client_.Fail(nullptr, kParseError, "not JSON, or too deep");
  } else {
    Dispatch(json);
  }
}

void Server::Dispatch(const Json& message) {
  if (!message.is_object()) {
    return client_.Fail(nullptr, kInvalidRequest, "not an object");
  }
  const Json method = message.value("method", Json());
  const Json params = message.value("params", Json::object());
  const bool has_id = message.contains("id");
  if (!method.is_string()) {
    // The client's answer to a request has none.
    if (message.contains("result") || message.contains("error")) return;
    return client_.Fail(nullptr, kInvalidRequest, "no method");
  }
  if (!has_id) return TakeNotification(method.get<std::string>(), params);
  const Json& id = message.at("id");
  if (!id.is_string() && !id.is_number_integer()) {
    return client_.Fail(nullptr, kInvalidRequest,
                        "the id is neither a number nor a string");
  }
  TakeRequest(id, method.get<std::string>(), params);
}

void Server::TakeRequest(const Json& id, const std::string& method,
                         const Json& params) {
  static const std::map<std::string, Request> kRequests = {
      {"initialize", &Server::Initialize},
      {"shutdown", &Server::Shutdown},
      {"textDocument/codeAction", &Server::CodeAction},
      {"textDocument/codeLens", &Server::CodeLens},
      {"workspace/executeCommand", &Server::ExecuteCommand},
  };
  try {
    if (state_ == State::kNew && method != "initialize") {
      throw RequestError(kServerNotInitialized, "initialize comes first");
    }
    if (state_ != State::kNew &&
        (state_ != State::kReady || method == "initialize")) {
      throw RequestError(kInvalidRequest, "not after initialize or shutdown");
    }
    const auto request = kRequests.find(method);
    if (request != kRequests.end()) {
      return (this->*request->second)(id, params);
    }
    const Feature* feature = FindFeature(method);
    if (feature == nullptr) {
      throw RequestError(kMethodNotFound, "no method " + method);
    }
    const OpenDocument* document = workspace_.Find(UriIn(params));
    client_.Reply(id, document == nullptr
                          ? Json()
                          : feature->answer({*document, params, model_,
                                             completion_client_}));
  } catch (const RequestError& error) {
    client_.Fail(id, error.code(), error.what());
  } catch (const features::RenameError& error) {
    client_.Fail(id, kRequestFailed, error.what());
  } catch (const std::exception& error) {
    client_.Fail(id, kInvalidParams, error.what());
  }
}

// A notification has no answer, so that a wrong one can only be ignored.
void Server::TakeNotification(const std::string& method, const Json& params) {
  static const std::map<std::string, Notification> kNotifications = {
      {"initialized", &Server::Initialized},
      {"exit", &Server::Exit},
      {"textDocument/didOpen", &Server::DidOpen},
      {"textDocument/didChange", &Server::DidChange},
      {"textDocument/didSave", &Server::DidSave},
      {"textDocument/didClose", &Server::DidClose},
      {"workspace/didChangeConfiguration", &Server::DidChangeConfiguration},
      {"workspace/didChangeWatchedFiles", &Server::DidChangeWatchedFiles},
      {"$/cancelRequest", &Server::CancelRequest},
  };
  const auto notification = kNotifications.find(method);
  if (notification == kNotifications.end()) return;
  if (state_ != State::kReady && method != "exit") return;
  try {
    (this->*notification->second)(params);
  } catch (const std::exception& error) {
    client_.Notify("window/logMessage",
                   {{"type", 1}, {"message", method + ": " + error.what()}});
  }
}

// ---- The life of the server -------------------------------------------------

void Server::Initialize(const Json& id, const Json& params) {
  Settings& settings = workspace_.settings();
  settings.root = RootIn(params);
  settings.refreshes_lenses =
      IsTrue(params, "/capabilities/workspace/codeLens/refreshSupport");
  completion_client_ = CompletionClientIn(params);
  watches_files_ = IsTrue(params,
                          "/capabilities/workspace/didChangeWatchedFiles/"
                          "dynamicRegistration");
  Configure(At(params, "/initializationOptions"));
  state_ = State::kReady;
  client_.Reply(
      id, {{"capabilities", Capabilities()},
           {"serverInfo", {{"name", "ipav"}, {"version", IPAV_VERSION}}}});
}

void Server::Initialized(const Json& /*params*/) {
  if (!watches_files_) return;
  client_.Request("client/registerCapability", WatchRunning());
}

void Server::Shutdown(const Json& id, const Json& /*params*/) {
  state_ = State::kShutDown;
  was_shut_down_ = true;
  client_.Reply(id, nullptr);
}

void Server::Exit(const Json& /*params*/) { state_ = State::kOver; }

// Settings are {"running": FILE}, also below the name of the server. Without it
// they change nothing.
void Server::Configure(const Json& settings) {
  if (!Has(settings, "/ipav/running") && !Has(settings, "/running")) return;
  Json running = At(settings, "/ipav/running");
  if (!running.is_string()) running = At(settings, "/running");
  workspace_.settings().running = running.is_string() && running != ""
                                      ? running.get<std::string>()
                                      : running_;
}

void Server::DidChangeConfiguration(const Json& params) {
  Configure(At(params, "/settings"));
  workspace_.CheckAllAgain();
}

void Server::DidChangeWatchedFiles(const Json& /*params*/) {
  workspace_.CheckAllAgain();
}

void Server::CancelRequest(const Json& params) {
  workspace_.Cancel(params.at("id"));
}

// ---- Documents --------------------------------------------------------------

void Server::DidOpen(const Json& params) {
  const Json& document = params.at("textDocument");
  workspace_.Open(UriIn(params), VersionOf(document),
                  document.at("text").get<std::string>());
}

void Server::DidChange(const Json& params) {
  std::vector<ContentChange> changes;
  for (const Json& change : params.at("contentChanges")) {
    changes.push_back(ContentChangeOf(change));
  }
  workspace_.Change(UriIn(params), VersionOf(params.at("textDocument")),
                    changes);
}

void Server::DidSave(const Json& params) {
  workspace_.CheckAgain(UriIn(params));
}

void Server::DidClose(const Json& params) { workspace_.Close(UriIn(params)); }

void Server::CodeAction(const Json& id, const Json& params) {
  workspace_.Hold(
      {id, Held::Kind::kActions, UriIn(params), RangeOf(params.at("range"))});
}

void Server::CodeLens(const Json& id, const Json& params) {
  workspace_.Hold({id, Held::Kind::kLenses, UriIn(params), {}});
}

void Server::ExecuteCommand(const Json& id, const Json& params) {
  if (params.at("command") != kCheckCommand) {
    throw RequestError(kInvalidParams, "no such command");
  }
  workspace_.CheckAgain(params.at("arguments").at(0).get<std::string>());
  client_.Reply(id, nullptr);
}

}  // namespace ipav::cli::lsp
