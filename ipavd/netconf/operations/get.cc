#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "ipavd/netconf/filter.h"
#include "ipavd/netconf/message_context.h"
#include "ipavd/netconf/operations.h"
#include "ipavd/netconf/selection.h"

namespace ipav::netconf {

namespace {

using store::Datastore;

// Adds nodes of one module by their paths. Empty values are left out if the
// model does not allow them.
class Writer {
 public:
  explicit Writer(const ly_ctx* context) : context_(context) {}

  void Add(const std::string& path, const std::string& value) {
    lyd_node* root = nodes_.release();
    const LY_ERR result =
        lyd_new_path(root, context_, path.c_str(), value.c_str(),
                     LYD_NEW_PATH_UPDATE, root == nullptr ? &root : nullptr);
    nodes_.reset(root);
    if (result != LY_SUCCESS) {
      throw std::runtime_error("no state data: " + path);
    }
  }

  void Add(const std::string& path, std::uint32_t number) {
    Add(path, std::to_string(number));
  }

  store::Nodes Take() { return std::move(nodes_); }

 private:
  const ly_ctx* context_;
  store::Nodes nodes_;
};

constexpr char kState[] = "/ietf-netconf-monitoring:netconf-state";

std::string InIso8601(std::time_t time) {
  std::tm parts{};
  if (gmtime_r(&time, &parts) == nullptr) return "";
  std::array<char, 32> text{};
  const std::size_t size =
      std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text.data(), size};
}

void AddCapabilities(ly_ctx* context, Writer* writer) {
  // The same as in the hello, which leaves out modules of YANG 1.1.
  const char** capabilities =
      nc_server_get_cpblts_version(context, LYS_VERSION_1_0);
  for (const char** capability = capabilities;
       capability != nullptr && *capability != nullptr; ++capability) {
    writer->Add(std::string(kState) + "/capabilities/capability", *capability);
    lydict_remove(context, *capability);
  }
  std::free(capabilities);  // NOLINT: it comes from malloc()
}

void AddDatastores(const store::Datastores& datastores, Writer* writer) {
  for (const Datastore datastore :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    const std::string path = std::string(kState) +
                             "/datastores/datastore[name='" +
                             store::NameOf(datastore) + "']";
    writer->Add(path, "");
    const auto& lock = datastores.LockOf(datastore);
    if (!lock.has_value()) continue;
    const std::string global = path + "/locks/global-lock";
    writer->Add(global + "/locked-by-session", lock->session);
    writer->Add(global + "/locked-time",
                InIso8601(std::chrono::system_clock::to_time_t(lock->since)));
  }
}

void AddSchemas(const ly_ctx* context, Writer* writer) {
  std::uint32_t index = 0;
  while (const lys_module* module = ly_ctx_get_module_iter(context, &index)) {
    for (const char* format : {"yang", "yin"}) {
      const std::string path =
          std::string(kState) + "/schemas/schema[identifier='" + module->name +
          "'][version='" +
          (module->revision == nullptr ? "" : module->revision) +
          "'][format='" + format + "']";
      writer->Add(path + "/namespace", module->ns);
      writer->Add(path + "/location", "NETCONF");
    }
  }
}

void AddCounters(const std::string& path, const Counters& counters,
                 Writer* writer) {
  writer->Add(path + "/in-rpcs", counters.in_rpcs);
  writer->Add(path + "/in-bad-rpcs", counters.in_bad_rpcs);
  writer->Add(path + "/out-rpc-errors", counters.out_rpc_errors);
  writer->Add(path + "/out-notifications", 0);
}

void AddSessions(const Sessions& sessions, Writer* writer) {
  for (const auto& session : sessions.all()) {
    const transport::PassedConnection& client = session->client();
    const std::string path = std::string(kState) +
                             "/sessions/session[session-id='" +
                             std::to_string(session->id()) + "']";
    writer->Add(path + "/transport", client.transport == "unix"
                                         ? "ipav-netconf:netconf-unix"
                                         : "netconf-ssh");
    writer->Add(path + "/username", client.user);
    if (!client.host.empty()) writer->Add(path + "/source-host", client.host);
    writer->Add(path + "/login-time", InIso8601(session->login_time()));
    AddCounters(path, session->counters, writer);
  }
}

// Removes the paths of files of the server: a client gets modules by
// get-schema.
void RemoveLocations(lyd_node* first) {
  for (lyd_node* node = first; node != nullptr;) {
    lyd_node* next = node->next;
    const bool is_term = (node->schema->nodetype & LYD_NODE_TERM) != 0;
    if (!is_term) {
      RemoveLocations(lyd_child(node));
    } else if (std::string_view(lyd_get_value(node)).substr(0, 5) == "file:") {
      lyd_free_tree(node);
    }
    node = next;
  }
}

store::Nodes YangLibrary(const ly_ctx* context) {
  lyd_node* tree = nullptr;
  if (ly_ctx_get_yanglib_data(context, &tree, "%s",
                              ContentId(context).c_str()) != LY_SUCCESS) {
    throw std::runtime_error("no YANG library");
  }
  store::Nodes nodes(tree);
  RemoveLocations(tree);
  for (const Datastore datastore :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    const std::string path =
        std::string(
            "/ietf-yang-library:yang-library/datastore[name='"
            "ietf-datastores:") +
        store::NameOf(datastore) + "']/schema";
    if (lyd_new_path(tree, nullptr, path.c_str(), "complete", 0, nullptr) !=
        LY_SUCCESS) {
      throw std::runtime_error("no YANG library");
    }
  }
  return nodes;
}

// The state data of the server: /netconf-state (RFC 6022) and the YANG library
// (RFC 8525), in the message context.
store::Nodes StateData(const Environment& environment) {
  Writer writer(environment.context);
  AddCapabilities(environment.context, &writer);
  AddDatastores(environment.datastores, &writer);
  AddSchemas(environment.context, &writer);
  AddSessions(environment.sessions, &writer);
  const std::string statistics = std::string(kState) + "/statistics";
  writer.Add(statistics + "/netconf-start-time", InIso8601(environment.start));
  const Totals& totals = environment.counters;
  writer.Add(statistics + "/in-bad-hellos", totals.in_bad_hellos);
  writer.Add(statistics + "/in-sessions", totals.in_sessions);
  writer.Add(statistics + "/dropped-sessions", totals.dropped_sessions);
  AddCounters(statistics, totals, &writer);
  return Join(writer.Take(), YangLibrary(environment.context));
}

}  // namespace

Reply GetConfig(const Call& call) {
  const Filter filter(call.rpc);
  const lyd_node* tree =
      call.environment.datastores.Tree(DatastoreIn(call, "source"));
  return Data(call.rpc, filter.Apply(tree), DefaultsOf(call));
}

Reply Get(const Call& call) {
  const Filter filter(call.rpc);
  const lyd_node* running =
      call.environment.datastores.Tree(store::Datastore::kRunning);
  store::Nodes state = StateData(call.environment);
  if (filter.needs_whole_tree()) {
    const store::Nodes all =
        Join(CopyTo(call.environment.context, running), std::move(state));
    return Data(call.rpc, filter.Apply(all.get()), DefaultsOf(call));
  }
  store::Nodes data = Join(filter.Apply(running), filter.Apply(state.get()));
  return Data(call.rpc, std::move(data), DefaultsOf(call));
}

}  // namespace ipav::netconf
