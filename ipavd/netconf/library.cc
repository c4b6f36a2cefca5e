#include "ipavd/netconf/library.h"

#include <nc_server.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "ipavd/netconf/message_context.h"
#include "ipavd/netconf/operations.h"
#include "ipavd/transport/log.h"

namespace ipav::netconf {

namespace {

enum class Where : std::uint8_t { kInServer, kInChild };

// The function that the library calls. It must not throw.
template <Reply (*kOperation)(const Call&), Where kWhere = Where::kInServer>
nc_server_reply* Run(lyd_node* rpc, nc_session* handle) noexcept {
  try {
    CheckAnnotation(*rpc);
    CheckParts(*rpc);
    auto& environment = *static_cast<Environment*>(nc_session_get_data(handle));
    Session& session = *environment.sessions.Find(handle);
    if (kWhere == Where::kInChild && !session.AnswerInChild()) {
      return Ok().release();  // it is not sent
    }
    return kOperation({*rpc, session, environment}).release();
  } catch (const Refusal& refusal) {
    return Refuse(*rpc, refusal.error()).release();
  } catch (const std::exception& error) {
    transport::Log(transport::Severity::kError, error.what());
    return Refuse(*rpc, store::MakeError(store::ErrorTag::kOperationFailed,
                                         error.what()))
        .release();
  }
}

struct Row {
  const char* path;
  nc_rpc_clb run;
};

constexpr std::array kOperations{
    Row{"/ietf-netconf:get", Run<Get, Where::kInChild>},
    Row{"/ietf-netconf:get-config", Run<GetConfig, Where::kInChild>},
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

// Makes the library call our functions, and none for other operations.
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

// Ignores the library's log, which is of no use without its sources.
void Ignore(const nc_session* /*session*/, NC_VERB_LEVEL /*level*/,
            const char* /*text*/) {}

char* CopyContentId(void* context) {
  return strdup(ContentId(static_cast<const ly_ctx*>(context)).c_str());
}

// The capability of RFC 7950, section 5.6.4. The library itself announces only
// that of RFC 8526, which clients without NMDA ignore.
std::string YangLibrary10(const ly_ctx* context) {
  const lys_module* module =
      ly_ctx_get_module_implemented(context, "ietf-yang-library");
  return std::string("urn:ietf:params:netconf:capability:yang-library:1.0") +
         "?revision=" + module->revision +
         "&module-set-id=" + ContentId(context);
}

}  // namespace

Library::Library(ly_ctx* context) {
  nc_set_print_clb_session(Ignore);
  RegisterOperations(context);
  if (nc_server_init(context) != 0) {
    throw std::runtime_error("the NETCONF library does not start");
  }
  // Also announces report-all and trim: the library uses the numbers of the
  // modes as bits, and the number of report-all contains both.
  nc_server_set_capab_withdefaults(NC_WD_EXPLICIT, NC_WD_ALL);
  nc_server_set_content_id_clb(CopyContentId, context, nullptr);
  nc_server_set_capability(YangLibrary10(context).c_str());
}

Library::~Library() { nc_server_destroy(); }

}  // namespace ipav::netconf
