#include <cstdlib>

#include "netconf/operations.h"

namespace ipav::netconf {

namespace {

store::RpcError NoSuchSession(const std::string& reason) {
  return {store::ErrorType::kProtocol,
          store::ErrorTag::kInvalidValue,
          "",
          "",
          reason,
          {}};
}

}  // namespace

Reply CloseSession(const Call& call) {
  call.session.Close();
  return Ok();
}

Reply KillSession(const Call& call) {
  const std::string text = Text(call, "session-id").value_or("");
  const auto id =
      static_cast<store::SessionId>(std::strtoul(text.c_str(), nullptr, 10));
  if (id == call.session.id()) {
    return Refuse(call.rpc,
                  NoSuchSession("A session closes itself with close-session."));
  }
  Session* other = call.environment.sessions.Find(id);
  if (other == nullptr) {
    return Refuse(call.rpc, NoSuchSession("There is no session " + text + "."));
  }
  other->Kill(call.session.id());
  return Ok();
}

}  // namespace ipav::netconf
