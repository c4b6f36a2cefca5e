// Random changes of the examples: each fix that is found for a refusal is
// judged by the plain model of the rules, too.
//
// RC_PARAMS sets the number of changes and the seed ("max_success=1000
// seed=1").

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fixer/fixes.h"
#include "fixer/prefix.h"
#include "host/confd/path.h"
#include "host/datastore/diff.h"
#include "host/datastore/input_text.h"
#include "tests/model/plain_model.h"

namespace ipav::fixer {
namespace {

using commit::Outcome;
using datastore::DataTree;
using messages::DataView;
using messages::Finding;
using messages::TextOf;

const datastore::Model& ProjectModel() {
  static const datastore::Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return kModel;
}

const DataTree& Running(bool is_branch) {
  static const DataTree kBranch = DataTree::FromFile(
      ProjectModel(), IPAV_EXAMPLES "/branch-router/running.xml");
  static const DataTree kCampus = DataTree::FromFile(
      ProjectModel(), IPAV_EXAMPLES "/campus-core/running.json");
  return is_branch ? kBranch : kCampus;
}

// ---- Random changes --------------------------------------------------------

// All leaves with one of these names.
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

// The network address of an address, if that is short work.
std::string NetworkOf(const std::string& text) {
  std::optional<Prefix> prefix = ParsePrefix(text);
  if (!prefix || !prefix->IsIpv4() || prefix->length < 20) return text;
  while (Contains(*prefix, prefix->Neighbour(false))) {
    *prefix = prefix->Neighbour(false);
  }
  return prefix->Text();
}

Edit AnyEdit(const DataTree& tree) {
  static const std::set<std::string> kNames = {
      "ip", "vrf", "vlan", "max-interval", "min-interval", "lifetime"};
  const auto leaves = LeavesOf(tree, kNames);
  const auto any = [](const std::vector<const lyd_node*>& nodes) {
    return nodes.at(*rc::gen::inRange<std::size_t>(0, nodes.size()));
  };
  const lyd_node* leaf = any(leaves);
  const auto like_it = LeavesOf(tree, {leaf->schema->name});
  switch (*rc::gen::inRange(0, 6)) {
    case 0:
      return Remove(leaf);
    case 1:
      return Set(leaf, NetworkOf(TextOf(leaf)));
    case 2: {
      const auto own = ParsePrefix(TextOf(any(LeavesOf(tree, {"ip"}))));
      const lyd_node* hop = any(LeavesOf(tree, {"rtmStaticRtNextHop"}));
      return Set(hop, OctetsOf(*own));
    }
    case 3: {  // another prefix length
      const auto prefix = ParsePrefix(TextOf(leaf));
      if (!prefix) return Remove(leaf);
      return Set(leaf, prefix->WithLength(prefix->length / 2).Text());
    }
    default:
      return Set(leaf, TextOf(any(like_it)));
  }
}

// ---- The plain model -------------------------------------------------------

template <typename T>
std::optional<T> NumberOf(const lyd_node* leaf) {
  if (leaf == nullptr) return std::nullopt;
  return static_cast<T>(std::strtoul(TextOf(leaf).c_str(), nullptr, 10));
}

template <typename T>
model::Leaf<T> LeafOf(std::optional<T> value) {
  return {value.has_value(), value};
}

std::optional<std::string> TextIn(const DataView& view, const lyd_node* entry,
                                  const char* name) {
  const lyd_node* leaf = view.Child(entry, name);
  return leaf == nullptr ? std::nullopt : std::make_optional(TextOf(leaf));
}

model::Octets OctetsIn(const DataView& view, const lyd_node* entry,
                       const char* name) {
  const std::string text = TextOf(view.Child(entry, name));
  model::Octets octets;
  for (std::size_t i = 0; i < text.size(); i += 3) {
    octets.push_back(static_cast<std::uint8_t>(
        std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
  }
  return octets;
}

model::InterfaceEntry InterfaceIn(const DataView& view, const lyd_node* entry) {
  model::InterfaceEntry interface;
  interface.key = TextOf(lyd_child(entry));
  interface.vrf = LeafOf(TextIn(view, entry, "vrf"));
  interface.vlan =
      NumberOf<std::int32_t>(view.At(entry, {"lower-layer-if", "vlan"}));
  for (const char* family : {"ipv4", "ipv6"}) {
    auto& entries = family[3] == '4' ? interface.ipv4 : interface.ipv6;
    for (const lyd_node* leaf : AddressesOf(view, entry, family)) {
      const std::string text = TextOf(leaf);
      if (lysc_is_key(leaf->schema)) {
        entries.push_back({text, model::PrefixOf(text)});
      } else {
        interface.primary = model::PrefixOf(text);
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

void AddRoutes(const DataView& view, model::Configuration* configuration) {
  const auto number = [&](const lyd_node* entry, const char* name) {
    return NumberOf<std::uint32_t>(view.Child(entry, name)).value_or(0);
  };
  const auto length = [&](const lyd_node* entry) {
    return static_cast<std::int32_t>(number(entry, "rtmStaticRtDestPfxLen"));
  };
  for (const lyd_node* route : RoutesOf(view)) {
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

void AddTables(const DataView& view, model::Configuration* configuration) {
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
        {*NumberOf<std::uint32_t>(lyd_child(row)), model::AddressOf(keys.at(1)),
         keys.at(2),
         NumberOf<std::uint32_t>(view.Child(row, "ospfv3-pm-if-index")),
         TextIn(view, row, "ospfv3-pm-if-name")});
  }
}

model::Configuration Described(const DataTree& running, const DataTree& tree) {
  model::Configuration configuration;
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
    configuration.running.push_back(
        {TextOf(lyd_child(EntryOf(leaf))), *NumberOf<std::int32_t>(leaf)});
  }
  const DataView before(running);
  for (const lyd_node* leaf : LeavesOf(tree, {"vrf"})) {
    const std::string path = confd::PrintPath(leaf);
    if (TextOf(before.AtPath(path)) == TextOf(leaf)) continue;
    configuration.changes.push_back(
        {model::PlaceOf(path), model::Operation::kValueSet, TextOf(leaf)});
  }
  return configuration;
}

Outcome Commit(const DataTree& running, const DataTree& tree) {
  commit::Options options;
  options.plugin = IPAV_PLUGIN;
  options.all = true;
  return commit::RunCommit(running, tree, options);
}

// The texts of the refusals that the plain model gives in that commit.
std::set<std::string> RefusalsOf(const DataTree& running,
                                 const DataTree& tree) {
  const model::Configuration configuration = Described(running, tree);
  model::PlainModel model;
  std::set<std::string> texts;
  for (const commit::Answer& answer : Commit(running, tree).answers) {
    model::Call call;
    call.opaque = answer.opaque;
    call.place = model::PlaceOf(answer.path);
    const model::Answer plain = model.Run(call, configuration);
    // The description is right only if both agree.
    RC_ASSERT(plain.text == answer.text);
    if (plain.verdict != 0) texts.insert(*plain.text);
  }
  return texts;
}

// ---- The test --------------------------------------------------------------

TEST(FixPropertyTest, PlainModelAcceptsWhatEachFixCorrects) {
  std::size_t count = 0;
  ASSERT_TRUE(rc::check([&] {
    // 1. A random change.
    const DataTree& running = Running(*rc::gen::arbitrary<bool>());
    std::vector<Edit> edits;
    for (int i = *rc::gen::inRange(1, 4); i > 0; --i) {
      edits.push_back(AnyEdit(running));
      RC_LOG() << edits.back().path << " = " << edits.back().value << '\n';
    }
    const std::optional<DataTree> candidate = Apply(edits, running, running);
    RC_PRE(candidate.has_value());
    // 2. The fixes of its refusals.
    const base::Countdown countdown(base::kNoTimeLimit);
    const std::string plugin = IPAV_PLUGIN;
    Fixer fixer(running, *candidate, plugin, countdown);
    const auto findings =
        messages::Finder({&running, "", nullptr}, {&*candidate, "", nullptr})
            .ExplainAll(fixer.outcome());
    const std::set<std::string> before = RefusalsOf(running, *candidate);
    const DataTree empty = DataTree::Empty(running.model());
    std::set<std::string> known;
    for (const Finding& finding : findings) {
      const bool is_of_timers = finding.rule.rfind("ra-", 0) == 0;
      if (!known.insert(finding.text).second || is_of_timers) continue;
      for (const Fix& fix : fixer.FixesOf(finding)) {
        RC_LOG() << finding.text << ": " << fix.text << '\n';
        // 3. The plain model.
        const auto after = RefusalsOf(running, *fix.tree);
        RC_ASSERT(after.count(finding.text) == 0U);
        RC_ASSERT(RefusalsOf(empty, *fix.tree).count(finding.text) == 0U);
        // Running has no fault: another one of a single edit was only hidden,
        // and is about the same value.
        for (const std::string& text : after) {
          const bool is_known = before.count(text) > 0 || edits.size() > 1 ||
                                finding.rule.rfind("address-is-", 0) == 0;
          if (is_known) continue;
          RC_LOG() << text << '\n';
          RC_ASSERT(text.find(edits.front().value + " ") == 0U);
        }
        ++count;
      }
    }
  }));
  EXPECT_GT(count, 0U);
}

}  // namespace
}  // namespace ipav::fixer
