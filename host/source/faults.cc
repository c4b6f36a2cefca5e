#include "host/source/faults.h"

#include <utility>

namespace ipav::source {

Examined::Examined(const ly_ctx* context, const datastore::InputText& text)
    : context_(context),
      text_(text),
      finder_(&tree_, text.format == LYD_XML),
      fragments_(text.bytes, text.format == LYD_XML, &tree_) {
  if (text.bytes.size() > UINT32_MAX) return;
  (is_xml() ? ReadXml : ReadJson)(text.bytes, text.start, &tree_);
  // Without the ends of all nodes, nothing can be examined.
  for (std::size_t i = 1; i < tree_.size(); ++i) {
    if (tree_.EndOf(static_cast<Node>(i)) != 0) continue;
    tree_ = SourceTree();
    return;
  }
}

void Examined::Add(std::size_t at, std::string reason) {
  faults_.push_back({at, std::move(reason)});
}

void Examined::Remove(Node node, bool member) {
  removed_.insert(member || !fragments_.IsInArray(node)
                      ? tree_.HeadOf(node).begin
                      : tree_.SpanOf(node).begin);
  fragments_.Remove(node, member);
}

bool Examined::IsRemoved(Node node) const {
  return removed_.count(tree_.HeadOf(node).begin) != 0 ||
         removed_.count(tree_.SpanOf(node).begin) != 0;
}

}  // namespace ipav::source
