#include "cli/lsp/features/symbols.h"

#include <algorithm>
#include <optional>

#include "messages/data_view.h"

namespace ipav::features {

namespace {

using Kind = Outline::Kind;
using Node = Outline::Node;

// A list whose entries are shown, as part of a group.
struct Shown {
  const char* path;
  const char* group;
  // Fills the name and the detail from an entry's leaves.
  void (*name)(const Outline& outline, Node entry, Symbol* symbol);
};

// ---- Names of entries ------------------------------------------------------

void NameInterface(const Outline& outline, Node entry, Symbol* symbol) {
  symbol->name = std::string(outline[entry].schema->name) + " " +
                 outline.LeafValue(entry, "name");
  const std::string vrf = outline.LeafValue(entry, "vrf");
  if (!vrf.empty()) symbol->detail = "VRF " + vrf;
}

void NameVrf(const Outline& outline, Node entry, Symbol* symbol) {
  symbol->name = outline.LeafValue(entry, "vname");
  symbol->detail = "index " + outline.LeafValue(entry, "index");
}

// "10.0.0.0/8 via 192.0.2.1"
void NameRoute(const Outline& outline, Node entry, Symbol* symbol) {
  const auto address = [&](const char* leaf) {
    return messages::AddressOfOctets(outline.LeafValue(entry, leaf));
  };
  const std::string hop = address("rtmStaticRtNextHop");
  const bool is_black_hole = hop == "0.0.0.0" || hop == "::";
  symbol->name = address("rtmStaticRtDest") + "/" +
                 outline.LeafValue(entry, "rtmStaticRtDestPfxLen") +
                 (is_black_hole ? ", black hole" : " via " + hop);
  symbol->detail =
      "VRF index " + outline.LeafValue(entry, "rtmStaticRtFteIndex");
}

void NameOutput(const Outline& outline, Node entry, Symbol* symbol) {
  NameRoute(outline, entry, symbol);
  symbol->detail = outline.LeafValue(entry, "interface-name");
}

void NameProcess(const Outline& outline, Node entry, Symbol* symbol) {
  symbol->name = "process " + outline.LeafValue(entry, "proc_id");
  symbol->detail = "VRF " + outline.LeafValue(entry, "vrf_name");
}

void NameOspfRow(const Outline& outline, Node entry, Symbol* symbol) {
  symbol->name = outline.LeafValue(entry, "interface");
  const std::string address = outline.LeafValue(entry, "address");
  if (!address.empty()) symbol->name += " " + address;
  symbol->detail = "area " + outline.LeafValue(entry, "area");
}

constexpr Shown kShown[] = {
    {"/config/interface/l3", "interfaces", NameInterface},
    {"/config/interface/loopback", "interfaces", NameInterface},
    {"/config/interface/mgmt", "interfaces", NameInterface},
    {"/internal/vrf-config/indexTOstring", "VRFs", NameVrf},
    {"/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry", "static routes",
     NameRoute},
    {"/rtmStaticRtEntry-global", "output interfaces of routes", NameOutput},
    {"/internal/ospf-index-to-proc-id", "OSPFv2 processes", NameProcess},
    {"/internal/ospf-interface-l3", "OSPFv2 interfaces", NameOspfRow},
    {"/internal/ospfv3-interface-l3", "OSPFv3 interfaces", NameOspfRow},
};

// ---- Symbols ---------------------------------------------------------------

// The first line of an entry, at most to its end.
Span FirstLine(const Outline& outline, const Span& whole) {
  const std::string_view text = outline.text().substr(0, whole.end);
  return {whole.begin, std::min(text.find('\n', whole.begin), whole.end)};
}

Symbol SymbolOf(const Outline& outline, Node entry, const Shown& shown) {
  Symbol symbol;
  symbol.whole = outline[entry].whole;
  // The first key, which is what a user looks for.
  const lysc_node* key = lysc_node_child(outline[entry].schema);
  const Node leaf =
      key == nullptr ? Outline::kNone : outline.Leaf(entry, key->name);
  symbol.selection = leaf == Outline::kNone ? FirstLine(outline, symbol.whole)
                                            : outline.ValueSpan(leaf);
  shown.name(outline, entry, &symbol);
  const bool is_blank =
      symbol.name.find_first_not_of(" \t\r\n") == std::string::npos;
  if (is_blank) symbol.name = outline[entry].schema->name;
  return symbol;
}

void AddToGroup(Symbol symbol, const char* name, std::vector<Symbol>* groups) {
  auto group =
      std::find_if(groups->begin(), groups->end(),
                   [&](const Symbol& each) { return each.name == name; });
  if (group == groups->end()) {
    groups->push_back(
        {Symbol::Kind::kGroup, name, "", symbol.whole, symbol.selection, {}});
    group = std::prev(groups->end());
  }
  group->whole.end = std::max(group->whole.end, symbol.whole.end);
  group->children.push_back(std::move(symbol));
}

}  // namespace

std::vector<Symbol> SymbolsOf(const Outline& outline) {
  std::vector<std::pair<const lysc_node*, const Shown*>> lists;
  for (const Shown& shown : kShown) {
    const lysc_node* list = SchemaAt(outline.model(), shown.path);
    if (list != nullptr) lists.emplace_back(list, &shown);
  }
  std::vector<Symbol> groups;
  for (Node node = 1; node < outline.size(); ++node) {
    const Outline::Item& item = outline[node];
    if (item.kind != Kind::kNode || item.schema == nullptr) continue;
    for (const auto& [list, shown] : lists) {
      if (item.schema != list) continue;
      AddToGroup(SymbolOf(outline, node, *shown), shown->group, &groups);
    }
  }
  return groups;
}

}  // namespace ipav::features
