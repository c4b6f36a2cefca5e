#include "ipavd/netconf/call.h"

#include <map>
#include <set>
#include <sstream>
#include <string_view>

namespace ipav::netconf {

namespace {

using store::Datastore;
using store::ErrorTag;

}  // namespace

const lyd_node* Find(const lyd_node& parent, const char* name) {
  const lyd_node* child = nullptr;
  LY_LIST_FOR(lyd_child(&parent), child) {
    if (child->schema != nullptr &&
        std::string_view(child->schema->name) == name) {
      return child;
    }
  }
  return nullptr;
}

std::optional<std::string> Text(const Call& call, const char* leaf) {
  const lyd_node* node = Find(call.rpc, leaf);
  if (node == nullptr) return std::nullopt;
  return lyd_get_value(node);
}

Refusal MissingElement(const std::string& name) {
  return Refusal(ErrorTag::kMissingElement,
                 "The operation needs an element " + name + ".",
                 {{"bad-element", name}});
}

void CheckAnnotation(const lyd_node& rpc) {
  const lyd_meta* meta =
      lyd_find_meta(rpc.meta, nullptr, "ipav-netconf:refuse");
  if (meta == nullptr) return;
  std::istringstream words(lyd_get_meta_value(meta));
  std::string tag;
  std::string attribute;
  std::string element;
  std::string text;
  words >> tag >> attribute >> element >> std::ws;
  std::getline(words, text);
  const std::map<std::string, ErrorTag> tags{
      {"missing-attribute", ErrorTag::kMissingAttribute},
      {"unknown-attribute", ErrorTag::kUnknownAttribute},
      {"unknown-namespace", ErrorTag::kUnknownNamespace}};
  const auto found = tags.find(tag);
  const bool is_namespace = tag == "unknown-namespace";
  throw Refusal(store::MakeError(
      found == tags.end() ? ErrorTag::kBadAttribute : found->second, text,
      element == "rpc" ? store::ErrorType::kRpc : store::ErrorType::kProtocol,
      {{is_namespace ? "bad-namespace" : "bad-attribute",
        is_namespace ? "" : attribute},
       {"bad-element", element}}));
}

void CheckParts(const lyd_node& rpc) {
  std::set<const lysc_node*> met;  // nodes, and the choices above them
  const lyd_node* child = nullptr;
  LY_LIST_FOR(lyd_child(&rpc), child) {
    if (child->schema == nullptr) continue;
    bool is_new = met.insert(child->schema).second;
    for (const lysc_node* node = child->schema->parent;
         node != nullptr && (node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
         node = node->parent) {
      if (node->nodetype == LYS_CHOICE && !met.insert(node).second) {
        is_new = false;
      }
    }
    if (!is_new) {
      throw Refusal(ErrorTag::kBadElement, "One of this kind is there already.",
                    {{"bad-element", child->schema->name}});
    }
    CheckParts(*child);
  }
}

Datastore DatastoreIn(const Call& call, const char* container) {
  const lyd_node* choice = Find(call.rpc, container);
  if (choice == nullptr) throw MissingElement(container);
  if (Find(*choice, "candidate") != nullptr) return Datastore::kCandidate;
  if (Find(*choice, "startup") != nullptr) return Datastore::kStartup;
  if (Find(*choice, "running") == nullptr) throw MissingElement("running");
  return Datastore::kRunning;
}

std::string ConfigIn(const lyd_node& config) {
  // The attribute "operation" belongs to the elements in config.
  if (config.meta != nullptr) {
    const std::string name = config.meta->name;
    throw Refusal(ErrorTag::kUnknownAttribute,
                  "An element config has no attribute " + name + ".",
                  {{"bad-attribute", name}, {"bad-element", "config"}});
  }
  const auto& any = reinterpret_cast<const lyd_node_any&>(config);
  if (any.value_type == LYD_ANYDATA_DATATREE) {
    // An empty container may have the attribute "operation".
    return store::TextOf(any.value.tree, LYD_PRINT_WD_ALL |
                                             LYD_PRINT_KEEPEMPTYCONT |
                                             LYD_PRINT_SHRINK);
  }
  return any.value.str == nullptr ? "" : any.value.str;
}

store::Source SourceOf(const Call& call) {
  const lyd_node* source = Find(call.rpc, "source");
  const lyd_node* config =
      source == nullptr ? nullptr : Find(*source, "config");
  if (config != nullptr) return store::InlineConfig{ConfigIn(*config)};
  const Datastore datastore = DatastoreIn(call, "source");
  const NC_WD_MODE defaults = DefaultsOf(call);
  if (defaults != NC_WD_ALL && defaults != NC_WD_TRIM) return datastore;
  return store::InlineConfig{
      store::TextOf(
          call.environment.datastores.Tree(datastore),
          defaults == NC_WD_ALL ? LYD_PRINT_WD_ALL : LYD_PRINT_WD_TRIM),
      datastore};
}

NC_WD_MODE DefaultsOf(const Call& call) {
  const std::string mode = Text(call, "with-defaults").value_or("explicit");
  if (mode == "report-all") return NC_WD_ALL;
  if (mode == "trim") return NC_WD_TRIM;
  if (mode == "explicit") return NC_WD_EXPLICIT;
  // report-all-tagged is not supported: the library's tags are not in the
  // namespace of RFC 6243.
  throw Refusal(ErrorTag::kInvalidValue,
                "with-defaults " + mode + " is not supported.");
}

}  // namespace ipav::netconf
