#include "planner/named_items.h"

namespace ipav::planner {

namespace {

using messages::Culprit;
using messages::Finding;

// Whether one path is the other one or leads to a node below it.
bool IsAtOrBelow(const std::string& path, const std::string& top) {
  if (path.compare(0, top.size(), top) != 0) return false;
  if (path.size() == top.size()) return true;
  // The next step, or the keys of an entry of the list.
  return path[top.size()] == '/' || path[top.size()] == '{';
}

}  // namespace

std::vector<std::size_t> ItemsAt(const std::vector<Item>& items,
                                 const State& among,
                                 const std::vector<std::string>& paths) {
  std::vector<std::size_t> above;
  std::vector<std::size_t> below;
  for (const std::string& path : paths) {
    if (path.empty()) continue;
    for (const std::size_t item : among) {
      if (IsAtOrBelow(path, items[item].path)) {
        above.push_back(item);
      } else if (IsAtOrBelow(items[item].path, path)) {
        below.push_back(item);
      }
    }
  }
  return above.empty() ? below : above;
}

std::vector<std::string> PathsOf(const Finding& finding) {
  std::vector<std::string> paths;
  for (const Culprit& culprit : finding.culprits) paths.push_back(culprit.path);
  if (paths.empty()) paths.push_back(finding.path);
  return paths;
}

State ItemsNamed(const Verdict& verdict, const std::vector<Item>& items,
                 const State& among) {
  State named;
  for (const Finding& finding : verdict.findings) {
    const auto at = ItemsAt(items, among, PathsOf(finding));
    named.insert(at.begin(), at.end());
  }
  const auto at = ItemsAt(items, among, {verdict.error_path});
  named.insert(at.begin(), at.end());
  return named;
}

State LastNamed(const Verdict& verdict, const std::vector<Item>& items,
                const State& among) {
  State last;
  for (const Finding& finding : verdict.findings) {
    const auto at = ItemsAt(items, among, PathsOf(finding));
    if (!at.empty()) last.insert(at.back());
  }
  const auto at = ItemsAt(items, among, {verdict.error_path});
  last.insert(at.begin(), at.end());
  return last;
}

const lyd_node* NodeToTakeAway(const lyd_node* culprit) {
  const lyd_node* entry = culprit;
  while (entry != nullptr && entry->schema->nodetype != LYS_LIST) {
    entry = lyd_parent(entry);
  }
  if (entry == nullptr) return culprit;
  const lyd_node* parent = lyd_parent(entry);
  const bool is_interface =
      parent != nullptr && parent->schema->name == std::string("interface");
  const bool is_key = lysc_is_key(culprit->schema);
  return is_interface && !is_key ? culprit : entry;
}

}  // namespace ipav::planner
