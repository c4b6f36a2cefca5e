#include "cli/lsp/features/names.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <unordered_map>

#include "host/base/bytes.h"
#include "host/base/utf8.h"
#include "host/datastore/data_tree.h"
#include "messages/l3_name.h"

namespace ipav::features {

namespace {

using Kind = Outline::Kind;
using Node = Outline::Node;

// ---- What refers to what ---------------------------------------------------

enum class Thing : std::uint8_t {
  kInterface,
  kVrf,
  kVrfIndex,
  kProcess,
  kArea
};

// A leaf with the name of a thing.
struct Row {
  const char* path;
  Thing thing;
  bool defines = false;
  const char* prefix = "";       // of the name, which the value leaves out
  const char* description = "";  // leaf beside it that describes the thing
  const char* other_name = "";  // leaf beside it with another name of the thing
  const char* owner = "";  // leaf beside it of the process that the name is in
};

// The VRFs that no table lists.
constexpr std::string_view kFixedVrfs[] = {"global", "mgmt"};

constexpr Row kRows[] = {
    {"/config/interface/l3/name", Thing::kInterface, true,
     messages::kL3NamePrefix, "description"},
    {"/config/interface/loopback/name", Thing::kInterface, true, "loopback-",
     "description"},
    {"/config/interface/mgmt/name", Thing::kInterface, true, "mgmt-",
     "description"},
    {"/internal/ospf-interface-l3/interface", Thing::kInterface},
    {"/internal/ospfv3-interface-l3/interface", Thing::kInterface},
    {"/internal/ospfv3-interface-l3/ospfv3-pm-if-name", Thing::kInterface},
    {"/rtmStaticRtEntry-global/interface-name", Thing::kInterface},

    {"/internal/vrf-config/indexTOstring/vname", Thing::kVrf, true, "", "index",
     "index"},
    {"/config/interface/l3/vrf", Thing::kVrf},
    {"/config/interface/loopback/vrf", Thing::kVrf},
    {"/config/interface/mgmt/vrf", Thing::kVrf},
    {"/internal/ospf-index-to-proc-id/vrf_name", Thing::kVrf},
    {"/internal/ospf-interface-l3/ospf-pm/instance/vrf-name", Thing::kVrf},

    {"/internal/vrf-config/indexTOstring/index", Thing::kVrfIndex, true, "",
     "vname"},
    {"/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry/rtmStaticRtFteIndex",
     Thing::kVrfIndex},
    {"/rtmStaticRtEntry-global/rtmStaticRtFteIndex", Thing::kVrfIndex},

    {"/internal/ospf-index-to-proc-id/compound-id", Thing::kProcess, true, "",
     "vrf_name"},
    {"/internal/ospf-interface-l3/compound-id", Thing::kProcess},

    {"/internal/ospf-interface-l3/area", Thing::kArea, false, "", "", "",
     "compound-id"},
    {"/internal/ospfv3-interface-l3/area", Thing::kArea, false, "", "", "",
     "router"},
};

// A route and its output interface are entries with the same values of these.
constexpr const char* kRoute = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr const char* kOutput = "/rtmStaticRtEntry-global";
constexpr const char* kRouteLeaves[] = {
    "rtmStaticRtFteIndex", "rtmStaticRtDest", "rtmStaticRtDestPfxLen",
    "rtmStaticRtNextHop"};
constexpr const char* kOutputLeaf = "interface-name";

// ---- The names of a text ---------------------------------------------------

struct Mention {
  Node leaf;
  const Row* row;
  std::string name;  // with the row's prefix
  // The process that the name is in; empty: the name is of the whole text.
  std::string owner;
};

bool IsSame(const Mention& a, const Mention& b) {
  return a.row->thing == b.row->thing && a.name == b.name && a.owner == b.owner;
}

class Names {
 public:
  explicit Names(const Outline& outline) : outline_(outline) {
    for (const Row& row : kRows) {
      const lysc_node* schema = SchemaAt(outline.model(), row.path);
      if (IsLeaf(schema)) rows_.emplace(schema, &row);
    }
  }

  const Row* RowOf(const lysc_node* schema) const {
    const auto found = rows_.find(schema);
    return found == rows_.end() ? nullptr : found->second;
  }

  std::optional<Mention> MentionOf(Node leaf) const {
    const Outline::Item& item = outline_[leaf];
    const Row* row = item.kind == Kind::kNode ? RowOf(item.schema) : nullptr;
    if (row == nullptr) return std::nullopt;
    const Span span = outline_.ValueSpan(leaf);
    if (span.begin == span.end) return std::nullopt;
    const Node owner = *row->owner == '\0'
                           ? Outline::kNone
                           : outline_.Leaf(item.parent, row->owner);
    return Mention{leaf, row, row->prefix + Value(leaf),
                   owner == Outline::kNone
                       ? ""
                       : outline_[owner].schema->name + Value(owner)};
  }

  std::optional<Mention> MentionAt(std::size_t offset) const {
    if (outline_.IsComment(offset)) return std::nullopt;
    for (const std::size_t at : {offset, offset + 1}) {
      std::optional<Mention> mention = MentionOf(outline_.At(at));
      if (mention) return mention;
    }
    return std::nullopt;
  }

  // All mentions of things of one kind.
  std::vector<Mention> All(Thing thing) const {
    std::vector<Mention> mentions;
    for (Node node = 1; node < outline_.size(); ++node) {
      const Row* row = RowOf(outline_[node].schema);
      if (row == nullptr || row->thing != thing) continue;
      std::optional<Mention> mention = MentionOf(node);
      if (mention) mentions.push_back(std::move(*mention));
    }
    return mentions;
  }

  // All mentions of the thing that one of them is of.
  std::vector<Mention> Of(const Mention& mention) const {
    std::vector<Mention> mentions = All(mention.row->thing);
    const auto others = std::remove_if(
        mentions.begin(), mentions.end(),
        [&](const Mention& each) { return !IsSame(each, mention); });
    mentions.erase(others, mentions.end());
    return mentions;
  }

  // The same thing by another name, if its definition has one.
  std::optional<Mention> OtherName(const Mention& definition) const {
    const Node entry = outline_[definition.leaf].parent;
    const Node other = outline_.Leaf(entry, definition.row->other_name);
    return other == Outline::kNone ? std::nullopt : MentionOf(other);
  }

 private:
  std::string Value(Node leaf) const {
    return datastore::CanonicalText(*outline_[leaf].schema,
                                    outline_.ValueOf(leaf));
  }

  const Outline& outline_;
  std::unordered_map<const lysc_node*, const Row*> rows_;
};

std::vector<Span> DefinitionsOf(const Outline& outline, const Names& names,
                                const Mention& mention) {
  std::vector<Span> spans;
  for (const Mention& each : names.Of(mention)) {
    if (each.row->defines) spans.push_back(outline.ValueSpan(each.leaf));
  }
  return spans;
}

// ---- Routes and their output interfaces ------------------------------------

std::string RouteOf(const Outline& outline, Node entry) {
  std::string route;
  for (const char* name : kRouteLeaves) {
    const Node leaf = outline.Leaf(entry, name);
    if (leaf == Outline::kNone) return "";
    // Octets may be in upper case.
    for (const char c : outline.ValueOf(leaf)) {
      route += c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    route += '\n';
  }
  return route;
}

// Entries of a list for the same route.
std::vector<Node> EntriesFor(const Outline& outline, const std::string& route,
                             const lysc_node* list) {
  std::vector<Node> entries;
  for (Node node = 1; node < outline.size(); ++node) {
    if (outline[node].schema == list && outline[node].kind == Kind::kNode &&
        RouteOf(outline, node) == route) {
      entries.push_back(node);
    }
  }
  return entries;
}

// The interface that the leaf names, or the leaf.
std::vector<Span> ThingOf(const Outline& outline, const Names& names,
                          Node leaf) {
  const std::optional<Mention> mention = names.MentionOf(leaf);
  std::vector<Span> spans;
  if (mention) spans = DefinitionsOf(outline, names, *mention);
  if (spans.empty()) spans.push_back(outline.ValueSpan(leaf));
  return spans;
}

// From a route to its output interface, or from the entry of the output
// interface to its route.
std::vector<Span> OtherEndAt(const Outline& outline, const Names& names,
                             std::size_t offset) {
  const Node entry = outline.EntryOf(outline.At(offset));
  if (entry == Outline::kNone) return {};
  const lysc_node* list = outline[entry].schema;
  const lysc_node* route = SchemaAt(outline.model(), kRoute);
  const lysc_node* output = SchemaAt(outline.model(), kOutput);
  const std::string key = RouteOf(outline, entry);
  if (key.empty() || (list != route && list != output)) return {};

  const bool is_route = list == route;
  std::vector<Span> spans;
  for (const Node other : EntriesFor(outline, key, is_route ? output : route)) {
    const Node leaf =
        outline.Leaf(other, is_route ? kOutputLeaf : kRouteLeaves[1]);
    if (leaf == Outline::kNone) continue;
    const std::vector<Span> found = ThingOf(outline, names, leaf);
    spans.insert(spans.end(), found.begin(), found.end());
  }
  return spans;
}

// ---- Renaming --------------------------------------------------------------

// Why a thing cannot have that name; empty if it can.
std::string FaultOf(const Outline& outline, const Mention& mention,
                    const std::string& name) {
  const std::string_view prefix = mention.row->prefix;
  if (!base::StartsWith(name, prefix)) {
    return fmt::format("it does not begin with \"{}\"", prefix);
  }
  std::string_view value = name;
  value.remove_prefix(prefix.size());
  const lysc_node* schema = outline[mention.leaf].schema;
  if (value.empty() || lyd_value_validate(schema->module->ctx, schema,
                                          value.data(), value.size(), nullptr,
                                          nullptr, nullptr) != LY_SUCCESS) {
    return "not a value of " + datastore::SchemaPath(*schema);
  }
  if (mention.row->thing == Thing::kArea && !IsDottedQuad(name)) {
    return "an area is written as four numbers with dots, such as 0.0.0.1";
  }
  if (prefix != messages::kL3NamePrefix) return "";
  if (value.size() > messages::kLongestL3Name) {
    return fmt::format("an l3 name has at most {} bytes",
                       messages::kLongestL3Name);
  }
  return value.find_first_not_of(messages::kL3NameCharacters) ==
                 std::string_view::npos
             ? ""
             : "an l3 name has only 0-9, a-z, A-Z, _ and -";
}

bool IsFixed(const Mention& mention) {
  return mention.row->thing == Thing::kVrf &&
         std::count(std::begin(kFixedVrfs), std::end(kFixedVrfs),
                    mention.name) > 0;
}

// What can be renamed there. Throws RenameError.
std::optional<Mention> RenamableAt(const Names& names, std::size_t offset) {
  std::optional<Mention> mention = names.MentionAt(offset);
  if (mention && IsFixed(*mention)) {
    throw RenameError(base::Quoted(mention->name) +
                      " cannot be renamed: the rules fix this name of a VRF");
  }
  return mention;
}

}  // namespace

bool IsDottedQuad(const std::string& text) {
  in_addr address{};
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

std::vector<Span> DefinitionsAt(const Outline& outline, std::size_t offset) {
  const Names names(outline);
  const std::optional<Mention> mention = names.MentionAt(offset);
  if (mention) return DefinitionsOf(outline, names, *mention);
  if (outline.IsComment(offset)) return {};
  return OtherEndAt(outline, names, offset);
}

std::vector<Span> ReferencesAt(const Outline& outline, std::size_t offset,
                               bool with_definitions) {
  const Names names(outline);
  const std::optional<Mention> at = names.MentionAt(offset);
  if (!at) return {};
  std::vector<Span> spans;
  const auto add = [&](const Mention& mention) {
    if (with_definitions || !mention.row->defines) {
      spans.push_back(outline.ValueSpan(mention.leaf));
    }
  };
  for (const Mention& mention : names.Of(*at)) {
    add(mention);
    const std::optional<Mention> other = names.OtherName(mention);
    if (!other) continue;
    for (const Mention& by_other : names.Of(*other)) {
      if (!by_other.row->defines) add(by_other);
    }
  }
  std::sort(spans.begin(), spans.end(),
            [](const Span& a, const Span& b) { return a.begin < b.begin; });
  return spans;
}

std::vector<NamedValue> NamesFor(const Outline& outline,
                                 const lysc_node& schema, Node leaf) {
  const Names names(outline);
  const Row* row = names.RowOf(&schema);
  if (row == nullptr) return {};
  std::map<std::string, std::string> descriptions;  // by name
  std::vector<std::string> taken;
  for (const Mention& mention : names.All(row->thing)) {
    if (mention.leaf == leaf) continue;
    std::string& description = descriptions[mention.name];
    if (!mention.row->defines) continue;
    if (row->defines) taken.push_back(mention.name);
    const Node entry = outline[mention.leaf].parent;
    description = outline.LeafValue(entry, mention.row->description);
  }
  for (const std::string& name : taken) descriptions.erase(name);

  std::vector<NamedValue> values;
  for (const auto& [name, description] : descriptions) {
    if (!base::StartsWith(name, row->prefix)) continue;
    values.push_back(
        {name.substr(std::string_view(row->prefix).size()), description});
  }
  return values;
}

Span RenamedAt(const Outline& outline, std::size_t offset) {
  const std::optional<Mention> at = RenamableAt(Names(outline), offset);
  return at ? outline.ValueSpan(at->leaf) : Span{offset, offset};
}

std::vector<source::Replacement> Rename(const Outline& outline,
                                        std::size_t offset,
                                        std::string_view name) {
  const Names names(outline);
  const std::optional<Mention> at = RenamableAt(names, offset);
  if (!at) throw RenameError("no name to change here");
  const auto refuse = [&](const std::string& why) {
    throw RenameError(base::Quoted(name) + " cannot be the new name: " + why);
  };
  Mention after = *at;
  after.name = at->row->prefix + std::string(name);
  if (after.name == at->name) return {};
  if (IsFixed(after)) refuse("the rules fix what this VRF is");
  if (!names.Of(after).empty()) refuse(after.name + " exists already");

  std::vector<source::Replacement> replacements;
  for (const Mention& mention : names.Of(*at)) {
    const std::string fault = FaultOf(outline, mention, after.name);
    if (!fault.empty()) refuse(fault);
    const std::string_view prefix = mention.row->prefix;
    replacements.push_back({outline.ValueSpan(mention.leaf),
                            outline.Escaped(after.name.substr(prefix.size()))});
  }
  return replacements;
}

}  // namespace ipav::features
