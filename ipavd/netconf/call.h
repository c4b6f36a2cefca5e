// One operation that a client calls, and what it works on.
#ifndef IPAV_IPAVD_NETCONF_CALL_H_
#define IPAV_IPAVD_NETCONF_CALL_H_

#include <libyang/libyang.h>

#include <ctime>
#include <optional>
#include <string>

#include "ipavd/netconf/reply.h"
#include "ipavd/netconf/session.h"
#include "ipavd/store/datastores.h"

namespace ipav::netconf {

// Everything is borrowed, and lives as long as the server.
struct Environment {
  ly_ctx* context;  // of messages
  store::Datastores& datastores;
  Sessions& sessions;
  std::time_t start;
  Totals counters;  // of all sessions, ended ones included
};

struct Call {
  const lyd_node& rpc;
  Session& session;
  Environment& environment;
};

// A node of the input of the operation; null if it is not given.
const lyd_node* Find(const lyd_node& parent, const char* name);

// The value of a leaf of the input; no value if it is not given.
std::optional<std::string> Text(const Call& call, const char* leaf);

// For a mandatory node that the library does not check.
Refusal MissingElement(const std::string& name);

// Throws Refusal if the process that relays the client's messages refuses the
// request: its annotation "refuse" says why.
void CheckAnnotation(const lyd_node& rpc);

// Throws Refusal if the input has a node twice, or two cases of a choice. The
// library accepts both, although the request is ambiguous.
void CheckParts(const lyd_node& rpc);

// The datastore named by the container "source" or "target". Throws Refusal.
store::Datastore DatastoreIn(const Call& call, const char* container);

// The same, or the configuration in its element config. The with-defaults of
// the operation says which default values a datastore gives. Throws Refusal.
store::Source SourceOf(const Call& call);

// The content of an element config, in XML. Throws Refusal.
std::string ConfigIn(const lyd_node& config);

// The with-defaults mode of the operation; "explicit" if it names none. Throws
// Refusal for a mode that the server does not announce.
NC_WD_MODE DefaultsOf(const Call& call);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_CALL_H_
