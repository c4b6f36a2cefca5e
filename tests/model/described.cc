#include "tests/model/described.h"

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <utility>

#include "fixer/proposals.h"
#include "host/confd/path.h"
#include "host/datastore/diff.h"
#include "messages/data_view.h"

namespace ipav::model {

using datastore::DataTree;
using messages::DataView;
using messages::TextOf;

namespace {

template <typename T>
std::optional<T> NumberOf(const lyd_node* leaf) {
  if (leaf == nullptr) return std::nullopt;
  return static_cast<T>(std::strtoul(TextOf(leaf).c_str(), nullptr, 10));
}

template <typename T>
Leaf<T> LeafOf(std::optional<T> value) {
  return {value.has_value(), value};
}

std::optional<std::string> TextIn(const DataView& view, const lyd_node* entry,
                                  const char* name) {
  const lyd_node* leaf = view.Child(entry, name);
  return leaf == nullptr ? std::nullopt : std::make_optional(TextOf(leaf));
}

Octets OctetsIn(const DataView& view, const lyd_node* entry, const char* name) {
  const std::string text = TextOf(view.Child(entry, name));
  Octets octets;
  for (std::size_t i = 0; i < text.size(); i += 3) {
    octets.push_back(static_cast<std::uint8_t>(
        std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
  }
  return octets;
}

InterfaceEntry InterfaceIn(const DataView& view, const lyd_node* entry) {
  InterfaceEntry interface;
  interface.key = TextOf(lyd_child(entry));
  interface.vrf = LeafOf(TextIn(view, entry, "vrf"));
  interface.vlan =
      NumberOf<std::int32_t>(view.At(entry, {"lower-layer-if", "vlan"}));
  for (const char* family : {"ipv4", "ipv6"}) {
    auto& entries = family[3] == '4' ? interface.ipv4 : interface.ipv6;
    for (const lyd_node* leaf : AddressesOf(view, entry, family)) {
      const std::string text = TextOf(leaf);
      if (lysc_is_key(leaf->schema)) {
        entries.push_back({text, PrefixOf(text)});
      } else {
        interface.primary = PrefixOf(text);
      }
    }
  }
  const lyd_node* ra = view.At(entry, {"ipv6", "nd", "ra"});
  const auto timer = [&](const char* name) {
    return LeafOf(NumberOf<std::uint16_t>(view.Child(ra, name)));
  };
  interface.timers = {timer("max-interval"), timer("min-interval"),
                      timer("lifetime")};
  return interface;
}

void AddRoutes(const DataView& view, Configuration* configuration) {
  const auto number = [&](const lyd_node* entry, const char* name) {
    return NumberOf<std::uint32_t>(view.Child(entry, name)).value_or(0);
  };
  const auto length = [&](const lyd_node* entry) {
    return static_cast<std::int32_t>(number(entry, "rtmStaticRtDestPfxLen"));
  };
  for (const lyd_node* route : fixer::RoutesOf(view)) {
    configuration->routes.push_back(
        {number(route, "rtmStaticRtFteIndex"),
         TextIn(view, route, "rtmStaticRtDestType") == "ipv4" ? 1 : 2,
         OctetsIn(view, route, "rtmStaticRtDest"), length(route),
         OctetsIn(view, route, "rtmStaticRtNextHop"), 1});
  }
  for (const lyd_node* row : view.Entries(nullptr, "rtmStaticRtEntry-global")) {
    configuration->outputs.push_back(
        {number(row, "rtmStaticRtFteIndex"),
         OctetsIn(view, row, "rtmStaticRtDest"), length(row),
         OctetsIn(view, row, "rtmStaticRtNextHop"),
         TextIn(view, row, "interface-name").value_or("")});
  }
}

void AddTables(const DataView& view, Configuration* configuration) {
  const lyd_node* tables = view.At(nullptr, {"internal"});
  for (const lyd_node* row :
       view.Entries(view.Child(tables, "vrf-config"), "indexTOstring")) {
    configuration->vrfs.push_back({*NumberOf<std::uint32_t>(lyd_child(row)),
                                   LeafOf(TextIn(view, row, "vname"))});
  }
  for (const lyd_node* row : view.Entries(tables, "ospf-index-to-proc-id")) {
    configuration->processes.push_back(
        {*NumberOf<std::uint32_t>(lyd_child(row)),
         NumberOf<std::uint32_t>(view.Child(row, "proc_id")),
         TextIn(view, row, "vrf_name")});
  }
  for (const lyd_node* row : view.Entries(tables, "ospf-interface-l3")) {
    const auto keys = datastore::KeysOf(row);
    configuration->ospfv2.push_back(
        {keys.at(0), keys.at(1), keys.at(2), keys.at(3),
         NumberOf<std::uint8_t>(view.Child(row, "ospf-pm-ip-netmask"))});
  }
  for (const lyd_node* row : view.Entries(tables, "ospfv3-interface-l3")) {
    const auto keys = datastore::KeysOf(row);
    configuration->ospfv3.push_back(
        {*NumberOf<std::uint32_t>(lyd_child(row)), AddressOf(keys.at(1)),
         keys.at(2),
         NumberOf<std::uint32_t>(view.Child(row, "ospfv3-pm-if-index")),
         TextIn(view, row, "ospfv3-pm-if-name")});
  }
}

}  // namespace

const datastore::Model& ProjectModel() {
  static const datastore::Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return kModel;
}

std::vector<const lyd_node*> LeavesOf(const DataTree& tree,
                                      const std::set<std::string>& names) {
  std::vector<const lyd_node*> leaves;
  const std::function<void(const lyd_node*)> add = [&](const lyd_node* node) {
    for (; node != nullptr; node = node->next) {
      if (names.count(node->schema->name) > 0) leaves.push_back(node);
      add(lyd_child(node));
    }
  };
  add(tree.FirstChild(nullptr));
  return leaves;
}

Configuration Described(const DataTree& running, const DataTree& tree) {
  Configuration configuration;
  const DataView view(tree);
  const lyd_node* parent = view.At(nullptr, {"config", "interface"});
  for (const auto& [kind, entries] :
       {std::make_pair("l3", &configuration.l3),
        std::make_pair("loopback", &configuration.loopback),
        std::make_pair("mgmt", &configuration.mgmt)}) {
    for (const lyd_node* entry : view.Entries(parent, kind)) {
      entries->push_back(InterfaceIn(view, entry));
    }
  }
  AddRoutes(view, &configuration);
  AddTables(view, &configuration);
  for (const lyd_node* leaf : LeavesOf(running, {"vlan"})) {
    configuration.running.push_back({TextOf(lyd_child(fixer::EntryOf(leaf))),
                                     *NumberOf<std::int32_t>(leaf)});
  }
  const DataView before(running);
  for (const lyd_node* leaf : LeavesOf(tree, {"vrf"})) {
    const std::string path = confd::PrintPath(leaf);
    if (TextOf(before.AtPath(path)) == TextOf(leaf)) continue;
    configuration.changes.push_back(
        {PlaceOf(path), Operation::kValueSet, TextOf(leaf)});
  }
  return configuration;
}

std::vector<Answer> AnswersTo(const std::vector<commit::Answer>& calls,
                              const DataTree& running, const DataTree& tree) {
  const Configuration configuration = Described(running, tree);
  PlainModel model;
  std::vector<Answer> answers;
  for (const commit::Answer& made : calls) {
    Call call;
    call.opaque = made.opaque;
    call.place = PlaceOf(made.path);
    answers.push_back(model.Run(call, configuration));
  }
  return answers;
}

}  // namespace ipav::model
