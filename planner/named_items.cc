#include "planner/named_items.h"

#include "messages/data_view.h"

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
                 const State& among, bool only_last) {
  const auto at = ItemsAt(items, among, {verdict.error_path});
  State named(at.begin(), at.end());
  for (const Finding& finding : verdict.findings) {
    const auto of_one = ItemsAt(items, among, PathsOf(finding));
    const bool skips = only_last && !of_one.empty();
    named.insert(skips ? of_one.end() - 1 : of_one.begin(), of_one.end());
  }
  return named;
}

const lyd_node* NodeToTakeAway(const lyd_node* culprit) {
  const lyd_node* entry = messages::EntryOf(culprit);
  if (entry == nullptr) return culprit;
  const lyd_node* parent = lyd_parent(entry);
  const bool is_interface =
      parent != nullptr && parent->schema->name == std::string("interface");
  const bool is_key = lysc_is_key(culprit->schema);
  return is_interface && !is_key ? culprit : entry;
}

}  // namespace ipav::planner
