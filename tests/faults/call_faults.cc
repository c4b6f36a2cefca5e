#include "tests/faults/call_faults.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "tests/support/path_text.h"

namespace ipav::faults {

namespace {

using model::Action;
using model::AddressEntry;
using model::Answer;
using model::Configuration;
using model::InterfaceEntry;
using model::Leaf;
using model::PlainModel;
using testing::FakePlatform;
using testing::Path;

// ---- Ways ------------------------------------------------------------------

constexpr char kFails[] = "fails";
constexpr char kFailsOtherwise[] = "fails with another code";
constexpr int kFindsNothing = FakePlatform::kFindsNothing;

// Of the leaves that are read without maapi_exists() a missing one is one that
// cannot be read.
constexpr const char* kTypedReads[] = {
    "maapi_get_elem",
    "maapi_get_str_elem",
    "maapi_get_int32_elem",
    "maapi_get_u_int8_elem",
    "maapi_get_u_int16_elem",
    "maapi_get_u_int32_elem",
    "maapi_get_ipv4_and_plen_elem",
    "maapi_get_ipv6_and_plen_elem",
};

constexpr Way kOtherWays[] = {
    {"hostd_maapi_socket_get", kFails, CONFD_ERR, Effect::kNoSocket},
    {"get_lib_context", kFails, CONFD_ERR, Effect::kNoContext},
    {"maapi_exists", "says no", kFindsNothing, Effect::kAbsent},
    {"maapi_exists", kFails, CONFD_ERR, Effect::kAbsent},
    {"maapi_num_instances", "counts none", kFindsNothing, Effect::kAbsent},
    // Not none: whether there are any shows when they are walked.
    {"maapi_num_instances", kFails, CONFD_ERR, Effect::kNone},
    {"maapi_init_cursor", kFails, CONFD_ERR, Effect::kAbsent},
    {"maapi_get_next", "ends early", kFindsNothing, Effect::kCut},
    {"maapi_get_next", kFails, CONFD_ERR, Effect::kCut},
    {"maapi_xpath_eval_expr", kFails, CONFD_ERR, Effect::kNotInOspfv3},
    {"maapi_xpath_eval_expr", "gives no text", kFindsNothing,
     Effect::kNotInOspfv3},
    {"maapi_keypath_diff_iterate", kFails, CONFD_ERR, Effect::kNoChanges},
    {"maapi_keypath_diff_iterate", "visits nothing", kFindsNothing,
     Effect::kNoChanges},
    {"hostd_instance_get", kFails, CONFD_ERR, Effect::kNoRunningVlan},
    {"HostdCdbSessionBase", "does not open", CONFD_ERR, Effect::kNoRunningVlan},
    {"cdb_get_int32", kFails, CONFD_ERR, Effect::kNoRunningVlan},
    // Only the one code says that there is none.
    {"cdb_get_int32", kFailsOtherwise, CONFD_EOF, Effect::kRunningVlanZero},
    {"limid_l3_vlan_from_components", kFails, CONFD_ERR, Effect::kNoIdentifier},
    {"limid_to_ifindex", kFails, CONFD_ERR, Effect::kNoIndex},
};

const std::vector<Way>& AllWays() {
  static const std::vector<Way> ways = [] {
    std::vector<Way> all(std::begin(kOtherWays), std::end(kOtherWays));
    for (const char* read : kTypedReads) {
      all.push_back({read, kFails, CONFD_ERR, Effect::kUnreadable});
      all.push_back({read, kFailsOtherwise, CONFD_EOF, Effect::kUnreadable});
    }
    return all;
  }();
  return ways;
}

// get_config_vald_log_handle() can, but is called once per process: the
// logger's own test has a process to itself.
constexpr std::array<std::string_view, 8> kCallsWithoutFailure = {
    "IdVrfFromComponent",   "confd_free_value",    "confd_pp_value",
    "confd_trans_seterr",   "hostmw_gen_fault",    "hostmw_vlog_debug",
    "maapi_destroy_cursor", "~HostdCdbSessionBase"};

// ---- Where the reading is --------------------------------------------------

constexpr char kRouteTable[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";

// What the plug-in has read when it makes a call.
struct Progress {
  std::size_t route_walks = 0;  // begun
  std::size_t entries = 0;      // of the list that is walked
  std::size_t ospf_rows = 0;    // begun, of those with a hyphen
  std::string path;             // of the last call with one
};

Progress ProgressBefore(const Calls& calls, std::size_t at) {
  Progress progress;
  for (std::size_t i = 0; i < at; ++i) {
    const testing::Call& call = calls[i];
    if (call.name == "maapi_init_cursor") {
      progress.entries = 0;
      if (call.args == kRouteTable) ++progress.route_walks;
    }
    if (call.name == "maapi_get_next") ++progress.entries;
    if (call.name == "maapi_get_u_int8_elem") ++progress.ospf_rows;
    if (!call.args.empty() && call.args[0] == '/') progress.path = call.args;
  }
  return progress;
}

// ---- Edits of the configuration --------------------------------------------

// Of an identifier that the configuration does not use: a row that gets it has
// what hangs on its identifier to itself.
constexpr std::uint32_t kOwnIdentifier = 4000000001;

// What the failing call is about.
struct Strike {
  Path path;
  Effect effect;
  Progress progress;
};

template <typename List>
void EditList(const Strike& strike, List* list) {
  const std::size_t kept =
      strike.effect == Effect::kAbsent ? 0 : strike.progress.entries;
  list->resize(std::min(kept, list->size()));
}

template <typename T>
void EditLeaf(const Strike& strike, Leaf<T>* leaf) {
  if (strike.effect == Effect::kAbsent) {
    leaf->exists = false;
  } else {
    leaf->value.reset();
  }
}

template <typename List>
auto& EntryOf(List* list, const std::string& key) {
  const auto found =
      std::find_if(list->begin(), list->end(),
                   [&](const auto& entry) { return entry.key == key; });
  if (found == list->end()) throw std::logic_error("no entry " + key);
  return *found;
}

std::vector<InterfaceEntry>* InterfacesOf(const std::string& kind,
                                          Configuration* seen) {
  if (kind == "l3") return &seen->l3;
  return kind == "loopback" ? &seen->loopback : &seen->mgmt;
}

// Below an entry of a list of addresses, or that list itself.
void EditAddresses(const Strike& strike, std::vector<AddressEntry>* list) {
  const testing::PathStep& last = strike.path.back();
  if (last.name != "ip") return EditList(strike, list);
  const std::string& key = strike.path[strike.path.size() - 2].keys.at(0);
  EntryOf(list, key).ip.reset();
}

void EditTimer(const Strike& strike, model::RaTimers* timers) {
  const std::string& leaf = strike.path.back().name;
  EditLeaf(strike, leaf == "lifetime"       ? &timers->lifetime
                   : leaf == "max-interval" ? &timers->max_interval
                                            : &timers->min_interval);
}

void EditInterface(const Strike& strike, Configuration* seen) {
  const testing::PathStep& list = strike.path[2];
  std::vector<InterfaceEntry>* interfaces = InterfacesOf(list.name, seen);
  if (list.keys.empty()) return EditList(strike, interfaces);

  InterfaceEntry& entry = EntryOf(interfaces, list.keys[0]);
  const std::string node =
      testing::SchemaText({strike.path.begin() + 3, strike.path.end()});
  const bool is_primary = node == "/ipv4/address/ip" && list.name != "loopback";
  if (node == "/vrf") {
    EditLeaf(strike, &entry.vrf);
  } else if (node == "/lower-layer-if/vlan") {
    entry.vlan.reset();
  } else if (is_primary) {
    entry.primary.reset();
  } else if (node.find("/ipv4") == 0) {
    EditAddresses(strike, &entry.ipv4);
  } else if (node.find("/ipv6/address") == 0) {
    EditAddresses(strike, &entry.ipv6);
  } else {
    EditTimer(strike, &entry.timers);
  }
}

// The row that is being read gets an identifier that has the one of the two
// that does not fail.
void EditRouteRow(const Strike& strike, Configuration* seen) {
  model::RouteRow& row = seen->routes.at(strike.progress.entries - 1);
  const bool has_name = strike.path.back().name == "interface-name";
  const auto outputs = seen->outputs;
  const auto vrfs = seen->vrfs;
  for (model::OutputRow output : outputs) {
    if (has_name || output.vrf != row.vrf) continue;
    output.vrf = kOwnIdentifier;
    seen->outputs.push_back(output);
  }
  for (model::VrfIndexRow vrf : vrfs) {
    if (!has_name || vrf.index != row.vrf) continue;
    vrf.index = kOwnIdentifier;
    seen->vrfs.push_back(vrf);
  }
  row.vrf = kOwnIdentifier;
}

model::Ospfv2Row& OspfRowAt(std::size_t number, Configuration* seen) {
  for (model::Ospfv2Row& row : seen->ospfv2) {
    const bool is_read = row.interface_key.find('-') != std::string::npos;
    if (is_read && number-- == 0) return row;
  }
  throw std::logic_error("no such row of the OSPFv2 table");
}

void EditOspfTable(const Strike& strike, Configuration* seen) {
  if (strike.path.size() == 2) return EditList(strike, &seen->ospfv2);
  OspfRowAt(strike.progress.ospf_rows, seen).netmask.reset();
}

void EditProcessOfRow(const Strike& strike, Configuration* seen) {
  model::Ospfv2Row& row = OspfRowAt(strike.progress.ospf_rows - 1, seen);
  model::ProcessRow process;
  for (const model::ProcessRow& known : seen->processes) {
    if (std::to_string(known.compound_id) == row.compound_id) process = known;
  }
  process.compound_id = kOwnIdentifier;
  if (strike.path.back().name == "proc_id") {
    process.process_id.reset();
  } else {
    process.vrf.reset();
  }
  seen->processes.push_back(process);
  row.compound_id = std::to_string(kOwnIdentifier);
}

void EditOspfv3Table(const Strike& strike, Configuration* seen) {
  if (strike.path.size() == 2) return EditList(strike, &seen->ospfv3);
  const std::vector<std::string>& keys = strike.path[1].keys;
  for (model::Ospfv3Row& row : seen->ospfv3) {
    if (std::to_string(row.router) != keys.at(0)) continue;
    if (model::AddressText(row.area) != keys.at(1)) continue;
    if (row.interface_key == keys.at(2)) row.if_index.reset();
  }
}

void EditNode(const Strike& strike, Configuration* seen) {
  const Path& path = strike.path;
  const std::string top = testing::SchemaText({path.begin(), path.begin() + 1});
  const std::string table =
      path.size() > 1 ? path[1].name : std::string("the table of names");
  if (top == "/config") return EditInterface(strike, seen);
  if (top == "/rtmStaticRtEntry-global" || table == "vrf-config") {
    return EditRouteRow(strike, seen);
  }
  if (top == "/DC-RTM-MIB") return EditList(strike, &seen->routes);
  if (table == "ospf-interface-l3") return EditOspfTable(strike, seen);
  if (table == "ospf-index-to-proc-id") return EditProcessOfRow(strike, seen);
  if (table == "ospfv3-interface-l3") return EditOspfv3Table(strike, seen);
  throw std::logic_error("an unknown node: " + testing::PathText(path));
}

// ---- Edits that a path does not tell ---------------------------------------

// The rows of one index stand where those of the VLAN's would.
void EditIndexes(const std::string& key, std::optional<std::uint32_t> found,
                 Configuration* seen) {
  constexpr std::uint32_t kFirstIfIndex = 1000;
  const std::int32_t vlan = EntryOf(&seen->running, key).vlan;
  const std::uint32_t wanted = kFirstIfIndex + static_cast<std::uint32_t>(vlan);
  for (model::Ospfv3Row& row : seen->ospfv3) {
    if (row.if_index == found) {
      row.if_index = wanted;
    } else if (row.if_index == wanted) {
      row.if_index.reset();
    }
  }
}

// The interface of the last path; of a reader, or of the check of a VLAN.
void EditIdentifier(const Scenario& scenario, const Strike& strike,
                    Configuration* seen) {
  if (scenario.call.opaque == "lower_layer_prot_cross_validation") {
    return EditIndexes(model::ElementOf(scenario.call.place, 1), 1000, seen);
  }
  const Path path = *testing::ParsePath(strike.progress.path);
  EntryOf(&seen->l3, path[2].keys.at(0)).vlan.reset();
}

// Names it as the table does: ...='l3-core1'...
void EditOspfv3Name(const std::string& question, Configuration* seen) {
  const std::size_t begin = question.find('\'') + 1;
  const std::string name =
      question.substr(begin, question.find('\'', begin) - begin);
  for (model::Ospfv3Row& row : seen->ospfv3) {
    if (row.if_name == name) row.if_name.reset();
  }
}

void EditRunning(const Scenario& scenario, Effect effect, Configuration* seen) {
  const std::string key = model::ElementOf(scenario.call.place, 1);
  if (effect == Effect::kRunningVlanZero) {
    EntryOf(&seen->running, key).vlan = 0;
  } else {
    seen->running.clear();
  }
}

Configuration Seen(const Scenario& scenario, const testing::Call& call,
                   const Strike& strike) {
  Configuration seen = scenario.configuration;
  switch (strike.effect) {
    case Effect::kNone:
    case Effect::kNoSocket:
    case Effect::kNoContext:
      break;
    case Effect::kAbsent:
    case Effect::kUnreadable:
    case Effect::kCut:
      EditNode(strike, &seen);
      break;
    case Effect::kNoRunningVlan:
    case Effect::kRunningVlanZero:
      EditRunning(scenario, strike.effect, &seen);
      break;
    case Effect::kNoIdentifier:
      EditIdentifier(scenario, strike, &seen);
      break;
    case Effect::kNoIndex:
      EditIndexes(model::ElementOf(scenario.call.place, 1), std::nullopt,
                  &seen);
      break;
    case Effect::kNotInOspfv3:
      EditOspfv3Name(call.args, &seen);
      break;
    case Effect::kNoChanges:
      seen.changes.clear();
      break;
  }
  return seen;
}

// ---- The plain model -------------------------------------------------------

// The log names a row by the identifier that it has.
void NameOwnIdentifier(const std::string& identifier, Answer* answer) {
  const std::string own = std::to_string(kOwnIdentifier);
  for (std::string& line : answer->log) {
    const std::size_t at = line.find(own);
    if (at != std::string::npos) line.replace(at, own.size(), identifier);
  }
}

// One walk through the routes saw another table than the other one did.
void ReadRoutes(const Scenario& scenario, const Configuration& seen,
                std::size_t walk, PlainModel* model) {
  const bool is_ipv6 = scenario.call.opaque.find("ipv6") == 0;
  const std::array<int, 2> families = {is_ipv6 ? 6 : 4, 6};
  model::Call read;
  read.action = Action::kReadRoutes;
  for (std::size_t i = 1; i <= walk; ++i) {
    read.family = families.at(i - 1);
    model->Run(read, i == walk ? seen : scenario.configuration);
  }
}

// Not in the model's words: there the host's services are always there.
std::optional<Answer> AnswerWithoutHost(Effect effect) {
  Answer answer;
  answer.verdict = -1;
  if (effect == Effect::kNoSocket) return answer;
  if (effect != Effect::kNoContext) return std::nullopt;
  answer.text = "Lib context is null!";
  answer.format = *answer.text;
  return answer;
}

bool IsOfRoutes(const Path& path) {
  return !path.empty() && (path[0].name == "DC-RTM-MIB" ||
                           path[0].name == "rtmStaticRtEntry-global" ||
                           (path.size() > 1 && path[1].name == "vrf-config"));
}

}  // namespace

std::vector<Way> WaysToFail(const std::string& call) {
  std::vector<Way> ways;
  std::copy_if(AllWays().begin(), AllWays().end(), std::back_inserter(ways),
               [&](const Way& way) { return way.call == call; });
  return ways;
}

std::set<std::string> CallsThatCanFail() {
  std::set<std::string> calls;
  for (const Way& way : AllWays()) calls.insert(way.call);
  return calls;
}

bool CannotFail(const std::string& call) {
  return std::find(kCallsWithoutFailure.begin(), kCallsWithoutFailure.end(),
                   call) != kCallsWithoutFailure.end();
}

Expectation Expect(const Scenario& scenario, const Calls& calls, std::size_t at,
                   const Way& way) {
  const Configuration& whole = scenario.configuration;
  PlainModel model;
  if (const auto answer = AnswerWithoutHost(way.effect)) {
    return {*answer, model.Run(scenario.call, whole)};
  }

  const Strike strike = {testing::ParsePath(calls[at].args).value_or(Path{}),
                         way.effect, ProgressBefore(calls, at)};
  Configuration seen = Seen(scenario, calls[at], strike);
  if (IsOfRoutes(strike.path)) {
    // A cursor that does not open is of a walk that begins.
    const bool begins = calls[at].name == "maapi_init_cursor";
    ReadRoutes(scenario, seen, strike.progress.route_walks + (begins ? 1 : 0),
               &model);
    seen = whole;
  }
  Expectation expected = {model.Run(scenario.call, seen),
                          model.Run(scenario.call, whole)};
  if (strike.path.size() > 1 &&
      strike.path[1].name == "ospf-index-to-proc-id") {
    NameOwnIdentifier(strike.path[1].keys.at(0), &expected.answer);
  }
  return expected;
}

}  // namespace ipav::faults
