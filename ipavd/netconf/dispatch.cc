#include "ipavd/netconf/dispatch.h"

#include <array>
#include <exception>
#include <stdexcept>
#include <string>

#include "ipavd/netconf/operations.h"
#include "ipavd/transport/log.h"

namespace ipav::netconf {

namespace {

store::RpcError Failure(const std::string& reason) {
  return {store::ErrorType::kApplication,
          store::ErrorTag::kOperationFailed,
          "",
          "",
          reason,
          {}};
}

// What the library calls. Nothing is thrown through it.
template <Reply (*kOperation)(const Call&)>
nc_server_reply* Run(lyd_node* rpc, nc_session* handle) noexcept {
  try {
    CheckParts(*rpc);
    auto& environment = *static_cast<Environment*>(nc_session_get_data(handle));
    Session& session = *environment.sessions.Find(handle);
    return kOperation({*rpc, session, environment}).release();
  } catch (const Refusal& refusal) {
    return Refuse(*rpc, refusal.error()).release();
  } catch (const std::exception& error) {
    transport::Log(transport::Severity::kError, error.what());
    return Refuse(*rpc, Failure(error.what())).release();
  }
}

struct Row {
  const char* path;
  nc_rpc_clb run;
};

constexpr std::array kOperations{
    Row{"/ietf-netconf:get", Run<Get>},
    Row{"/ietf-netconf:get-config", Run<GetConfig>},
    Row{"/ietf-netconf:edit-config", Run<EditConfig>},
    Row{"/ietf-netconf:copy-config", Run<CopyConfig>},
    Row{"/ietf-netconf:delete-config", Run<DeleteConfig>},
    Row{"/ietf-netconf:validate", Run<Validate>},
    Row{"/ietf-netconf:commit", Run<Commit>},
    Row{"/ietf-netconf:cancel-commit", Run<CancelCommit>},
    Row{"/ietf-netconf:discard-changes", Run<DiscardChanges>},
    Row{"/ietf-netconf:lock", Run<Lock>},
    Row{"/ietf-netconf:unlock", Run<Unlock>},
    Row{"/ietf-netconf:close-session", Run<CloseSession>},
    Row{"/ietf-netconf:kill-session", Run<KillSession>},
    Row{"/ietf-netconf-monitoring:get-schema", Run<GetSchema>},
};

}  // namespace

void RegisterOperations(const ly_ctx* context) {
  for (const Row& row : kOperations) {
    const lysc_node* node = lys_find_path(context, nullptr, row.path, 0);
    if (node == nullptr) {
      throw std::runtime_error(std::string(row.path) + ": no such operation");
    }
    // The library keeps its callback in the member for user data.
    const_cast<lysc_node*>(node)->priv = reinterpret_cast<void*>(row.run);
  }
}

}  // namespace ipav::netconf
