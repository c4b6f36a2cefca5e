#include "ipavd/netconf/selection.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

namespace ipav::netconf {

namespace {

// The copy keeps the flag for default values: the client chooses whether they
// are reported.
lyd_node* Duplicate(const lyd_node* node, const ly_ctx* context, bool is_whole,
                    lyd_node* parent) {
  const std::uint32_t options =
      LYD_DUP_WITH_FLAGS | (is_whole ? LYD_DUP_RECURSIVE : 0U);
  lyd_node* copy = nullptr;
  if (lyd_dup_single_to_ctx(node, context,
                            reinterpret_cast<lyd_node_inner*>(parent), options,
                            &copy) != LY_SUCCESS) {
    throw std::runtime_error("data cannot be copied");
  }
  return copy;
}

}  // namespace

void Selection::Add(const lyd_node* node) {
  nodes_[node] = true;
  for (const lyd_node* around = lyd_parent(node); around != nullptr;
       around = lyd_parent(around)) {
    if (!nodes_.emplace(around, false).second) return;
  }
}

store::Nodes Selection::Copy(const lyd_node* tree,
                             const ly_ctx* context) const {
  store::Nodes copy;
  for (const lyd_node* node = tree; node != nullptr; node = node->next) {
    const auto found = nodes_.find(node);
    if (found == nodes_.end()) continue;
    store::Nodes top(Duplicate(node, context, found->second, nullptr));
    if (!found->second) CopyChildren(node, context, top.get());
    copy = Join(std::move(copy), std::move(top));
  }
  return copy;
}

void Selection::CopyChildren(const lyd_node* from, const ly_ctx* context,
                             lyd_node* to) const {
  const lyd_node* child = nullptr;
  LY_LIST_FOR(lyd_child(from), child) {
    const auto found = nodes_.find(child);
    // An entry comes with its keys.
    if (found == nodes_.end() || lysc_is_key(child->schema)) continue;
    lyd_node* copy = Duplicate(child, context, found->second, to);
    if (!found->second) CopyChildren(child, context, copy);
  }
}

store::Nodes CopyTo(const ly_ctx* context, const lyd_node* tree) {
  lyd_node* copy = nullptr;
  if (tree != nullptr &&
      lyd_dup_siblings_to_ctx(tree, context, nullptr,
                              LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS,
                              &copy) != LY_SUCCESS) {
    throw std::runtime_error("data cannot be copied");
  }
  return store::Nodes(copy);
}

store::Nodes Join(store::Nodes nodes, store::Nodes others) {
  if (others == nullptr) return nodes;
  lyd_node* first = nodes.release();
  const LY_ERR result = lyd_insert_sibling(first, others.get(), &first);
  nodes.reset(first);
  if (result != LY_SUCCESS) throw std::runtime_error("data cannot be joined");
  static_cast<void>(others.release());
  return nodes;
}

}  // namespace ipav::netconf
