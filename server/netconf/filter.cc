#include "netconf/filter.h"

#include <cstdint>
#include <memory>
#include <string_view>

#include "netconf/reply.h"
#include "netconf/selection.h"
#include "netconf/subtree_filter.h"

namespace ipav::netconf {

namespace {

using store::ErrorTag;
using store::ErrorType;

struct SetDeleter {
  void operator()(ly_set* set) const { ly_set_free(set, nullptr); }
};
using NodeSet = std::unique_ptr<ly_set, SetDeleter>;

const lyd_node* FindFilter(const lyd_node& rpc) {
  const lyd_node* child = nullptr;
  LY_LIST_FOR(lyd_child(&rpc), child) {
    if (child->schema != nullptr &&
        std::string_view(child->schema->name) == "filter") {
      return child;
    }
  }
  return nullptr;
}

std::optional<std::string> Attribute(const lyd_node& node, const char* name) {
  const lyd_meta* meta = lyd_find_meta(node.meta, nullptr, name);
  if (meta == nullptr) return std::nullopt;
  return lyd_get_meta_value(meta);
}

const lyd_node* ElementsOf(const lyd_node& any) {
  const auto& node = reinterpret_cast<const lyd_node_any&>(any);
  return node.value_type == LYD_ANYDATA_DATATREE ? node.value.tree : nullptr;
}

}  // namespace

Filter::Filter(const lyd_node& rpc) : context_(LYD_CTX(&rpc)) {
  const lyd_node* filter = FindFilter(rpc);
  if (filter == nullptr) return;
  is_there_ = true;
  is_xpath_ = Attribute(*filter, "ietf-netconf:type") == "xpath";
  xpath_ = Attribute(*filter, "ietf-netconf:select");
  subtree_ = ElementsOf(*filter);
  if (is_xpath_) CheckXPath();
}

void Filter::CheckXPath() const {
  if (!xpath_.has_value()) {
    throw Refusal({ErrorType::kProtocol,
                   ErrorTag::kMissingAttribute,
                   "",
                   "",
                   "A filter of type xpath needs the attribute select.",
                   {{"bad-attribute", "select"}, {"bad-element", "filter"}}});
  }
  ly_set* found = nullptr;
  const LY_ERR result =
      lys_find_xpath(context_, nullptr, xpath_->c_str(), 0, &found);
  const NodeSet owner(found);
  if (result == LY_SUCCESS) return;
  throw Refusal(
      {ErrorType::kProtocol,
       ErrorTag::kInvalidValue,
       "",
       "",
       "The attribute select is no path into the data model: " + *xpath_,
       {}});
}

store::Nodes Filter::Apply(const lyd_node* tree) const {
  Selection selection;
  if (!is_there_) {
    for (const lyd_node* node = tree; node != nullptr; node = node->next) {
      selection.Add(node);
    }
  } else if (is_xpath_) {
    // A tree of other modules has none of the nodes.
    ly_set* found = nullptr;
    const LY_ERR result =
        tree == nullptr
            ? LY_ENOTFOUND
            : lyd_find_xpath3(nullptr, tree, xpath_->c_str(), nullptr, &found);
    const NodeSet nodes(found);
    for (std::uint32_t i = 0; result == LY_SUCCESS && i < nodes->count; ++i) {
      selection.Add(nodes->dnodes[i]);
    }
  } else {
    SelectSubtrees(tree, subtree_, &selection);
  }
  return selection.Copy(tree, context_);
}

}  // namespace ipav::netconf
