#include <cstdlib>
#include <string>

#include "ipavd/netconf/operations.h"
#include "ipavd/transport/log.h"

namespace ipav::netconf {

Reply CloseSession(const Call& call) {
  call.session.lacks_hello =
      lyd_find_meta(call.rpc.meta, nullptr, "ipav-netconf:no-hello") != nullptr;
  call.session.Close();
  return Ok();
}

Reply KillSession(const Call& call) {
  const auto text = Text(call, "session-id");
  if (!text.has_value()) throw MissingElement("session-id");
  const auto id =
      static_cast<store::SessionId>(std::strtoul(text->c_str(), nullptr, 10));
  if (id == call.session.id()) {
    throw Refusal(store::ErrorTag::kInvalidValue,
                  "A session closes itself with close-session.");
  }
  Session* other = call.environment.sessions.Find(id);
  if (other == nullptr) {
    throw Refusal(store::ErrorTag::kInvalidValue,
                  "There is no session " + *text + ".");
  }
  transport::Log(transport::Severity::kNotice,
                 "session " + std::to_string(call.session.id()) + " (" +
                     NameOf(call.session.client()) + ") kill-session of " +
                     std::to_string(id));
  other->Kill(call.session.id());
  return Ok();
}

}  // namespace ipav::netconf
