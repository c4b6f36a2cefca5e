// One operation that a client asks for, and what is there to do it with.
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

// All of it is borrowed, and lives as long as the server.
struct Environment {
  ly_ctx* context;  // of messages
  store::Datastores& datastores;
  Sessions& sessions;
  std::time_t start;
  Counters counters;  // of all sessions that there were
};

struct Call {
  const lyd_node& rpc;
  Session& session;
  Environment& environment;
};

// A part of the operation's input; null where it is not given.
const lyd_node* Find(const lyd_node& parent, const char* name);

// The value of a leaf of the input; no value where it is not given.
std::optional<std::string> Text(const Call& call, const char* leaf);

// For a part that the model asks for, but the library does not.
Refusal MissingElement(const std::string& name);

// Throws Refusal for an input with a part twice, or with two cases of a choice,
// which the library lets through: nobody could tell which one is meant.
void CheckParts(const lyd_node& rpc);

// The datastore named by the container "source" or "target". Throws Refusal.
store::Datastore DatastoreIn(const Call& call, const char* container);

// The same, or the configuration in its element config. The with-defaults of
// the operation says which default values a datastore gives. Throws Refusal.
store::Source SourceOf(const Call& call);

// The content of an element config, in XML. Throws Refusal.
std::string ConfigIn(const lyd_node& config);

// What the operation says of default values; "explicit" where it says nothing.
// Throws Refusal for what is not announced.
NC_WD_MODE DefaultsOf(const Call& call);

}  // namespace ipav::netconf

#endif  // IPAV_IPAVD_NETCONF_CALL_H_
