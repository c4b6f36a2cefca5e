#include "host/source/source_tree.h"

namespace ipav::source {

std::uint32_t SourceTree::NumberOf(std::string_view name) {
  const auto next = static_cast<std::uint32_t>(numbers_.size());
  const auto [entry, is_new] = numbers_.emplace(name, next);
  if (is_new) texts_.push_back(&entry->first);
  return entry->second;
}

std::uint32_t SourceTree::FindNumber(const std::string& name) const {
  const auto found = numbers_.find(name);
  return found == numbers_.end() ? kNone : found->second;
}

SourceTree::Node SourceTree::Add(Node parent, std::uint32_t module,
                                 std::uint32_t name, Span span) {
  const auto node = static_cast<Node>(items_.size());
  Item& item = items_.emplace_back();
  item.module = module;
  item.name = name;
  item.span = span;
  const Node last = items_[parent].last_child;
  (last == kNone ? items_[parent].first_child : items_[last].next) = node;
  items_[parent].last_child = node;
  return node;
}

void SourceTree::SetValue(Node node, std::string_view value) {
  items_[node].value_begin = static_cast<std::uint32_t>(values_.size());
  items_[node].value_size = static_cast<std::uint32_t>(value.size());
  values_ += value;
}

std::string_view SourceTree::ValueOf(Node node) const {
  return std::string_view{values_}.substr(items_[node].value_begin,
                                          items_[node].value_size);
}

}  // namespace ipav::source
