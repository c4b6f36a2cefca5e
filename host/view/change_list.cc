#include "host/view/change_list.h"

#include <libyang/libyang.h>

#include <utility>

#include "host/confd/path.h"

namespace ipav::view {

namespace {

using datastore::Change;
using datastore::IsLeaf;
using datastore::IsPlainContainer;

bool IsImplicit(const lyd_node* node) {
  return node != nullptr && (node->flags & LYD_DEFAULT) != 0;
}

// The leaves below `node`, with paths relative to `root`, which has a path of
// that size.
void ListLeaves(const lyd_node& node, std::size_t root,
                std::vector<std::string>* lines) {
  const lyd_node* child = lyd_child(&node);
  for (; child != nullptr; child = child->next) {
    if (lysc_is_key(child->schema) || IsImplicit(child)) continue;
    const std::size_t size = lines->size();
    if (!IsLeaf(*child->schema)) ListLeaves(*child, root, lines);
    // An entry with only keys is shown, a plain container is not.
    const bool says_more = lines->size() > size;
    if (says_more || IsPlainContainer(*child->schema)) continue;
    std::string line = confd::PrintPath(child).substr(root + 1);
    if (IsLeaf(*child->schema)) line += std::string(" ") + lyd_get_value(child);
    lines->push_back(std::move(line));
  }
}

std::vector<std::string> ContentOf(const lyd_node* node) {
  if (node == nullptr) return {};
  if (IsLeaf(*node->schema)) return {lyd_get_value(node)};
  std::vector<std::string> lines;
  ListLeaves(*node, confd::PrintPath(node).size(), &lines);
  return lines;
}

void Append(const std::vector<Change>& changes,
            std::vector<ChangeLine>* lines) {
  for (const Change& change : changes) {
    const bool in_both = change.before != nullptr && change.after != nullptr;
    if (!IsLeaf(*change.schema) &&
        (in_both || IsPlainContainer(*change.schema))) {
      Append(change.children, lines);
      continue;
    }
    if (!in_both && IsImplicit(change.Node())) continue;
    lines->push_back({change.How(), confd::PrintPath(change.Node()),
                      ContentOf(change.before), ContentOf(change.after)});
  }
}

}  // namespace

std::vector<ChangeLine> ListChanges(const datastore::Diff& diff) {
  std::vector<ChangeLine> lines;
  Append(diff.top(), &lines);
  return lines;
}

}  // namespace ipav::view
