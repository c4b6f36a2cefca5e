#include "cli/plan/edit_config.h"

#include <libyang/libyang.h>

#include <cstring>
#include <vector>

#include "cli/print_tree.h"

namespace ipav::cli::plan {

namespace {

using datastore::Change;
using datastore::IsLeaf;

// The options of one node with everything below it. An explicit default value
// stays explicit.
constexpr std::uint32_t kWhole = LYD_PRINT_SHRINK | LYD_PRINT_WD_EXPLICIT;

bool IsDefault(const lyd_node* node) {
  return node != nullptr && (node->flags & LYD_DEFAULT) != 0;
}

std::string KeysOf(const lyd_node* entry) {
  std::string keys;
  for (const lyd_node* key = lyd_child(entry);
       key != nullptr && lysc_is_key(key->schema); key = key->next) {
    keys += Print(key, LYD_XML, kWhole);
  }
  return keys;
}

// An element with this content; `attribute` begins with a blank.
std::string Element(const lysc_node& schema, const std::string& attribute,
                    const std::string& content) {
  const std::string name = schema.name;
  return "<" + name + " xmlns=\"" + schema.module->ns + "\"" + attribute + ">" +
         content + "</" + name + ">";
}

// The node as an element with this operation.
std::string WithOperation(const lyd_node* node, const char* operation) {
  std::string text = Print(node, LYD_XML, kWhole);
  const std::string attribute =
      std::string(" nc:operation=\"") + operation + "\"";
  return text.insert(1 + std::strlen(node->schema->name), attribute);
}

std::string Edits(const std::vector<Change>& changes);

std::string EditOf(const Change& change) {
  const bool is_leaf = IsLeaf(*change.schema);
  if (is_leaf && change.after != nullptr && !IsDefault(change.after)) {
    return WithOperation(change.after, "replace");
  }
  if (is_leaf) {
    return IsDefault(change.before) || change.before == nullptr
               ? ""
               : WithOperation(change.before, "remove");
  }
  if (change.before != nullptr && change.after != nullptr) {
    return Element(*change.schema, "",
                   KeysOf(change.after) + Edits(change.children));
  }
  if (datastore::IsPlainContainer(*change.schema)) {
    const std::string edits = Edits(change.children);
    return edits.empty() ? "" : Element(*change.schema, "", edits);
  }
  if (change.after != nullptr) return WithOperation(change.after, "replace");
  return Element(*change.schema, " nc:operation=\"remove\"",
                 KeysOf(change.before));
}

std::string Edits(const std::vector<Change>& changes) {
  std::string text;
  for (const Change& change : changes) text += EditOf(change);
  return text;
}

}  // namespace

std::string EditConfig(const datastore::Diff& diff) {
  constexpr char kBegin[] =
      "<edit-config xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
      "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\">\n"
      "<target><candidate/></target>\n"
      "<config>";
  return kBegin + Edits(diff.top()) + "</config>\n</edit-config>\n";
}

}  // namespace ipav::cli::plan
