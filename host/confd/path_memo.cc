#include "confd/path_memo.h"

#include <algorithm>

namespace ipav::confd {

namespace {

// Splits the text of a step's keys at its blanks. False for what takes a closer
// look: quotes, and what is no list of keys.
bool SplitKeys(std::string_view text, std::vector<std::string_view>* keys) {
  if (text.find_first_of("\"{\\") != std::string_view::npos) return false;
  keys->clear();
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    if (end > 0) keys->push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return !keys->empty();
}

}  // namespace

Target PathMemo::Find(const std::string& path) {
  Forget(path);
  std::size_t read = steps_.empty() ? 0 : steps_.back().end;
  while (read < path.size()) {
    // Whatever is unusual or wrong is for the one that can tell.
    if (!ReadStep(path)) {
      steps_.clear();
      return Resolve(tree_, ParsePath(path));
    }
    read = steps_.back().end;
  }
  if (steps_.empty()) return Resolve(tree_, ParsePath(path));
  path_ = path;
  return steps_.back().target;
}

// Keeps the steps that the path begins with.
void PathMemo::Forget(std::string_view path) {
  const std::size_t length = std::min(path.size(), path_.size());
  const auto same = static_cast<std::size_t>(
      std::mismatch(path.begin(), path.begin() + length, path_.begin()).first -
      path.begin());
  const auto is_kept = [&](std::size_t end) {
    return end <= same && (end == path.size() || path[end] == '/');
  };
  while (!steps_.empty() && !is_kept(steps_.back().end)) steps_.pop_back();
}

// Reads the next step of the path, of the form /name, /prefix:name or with
// keys in braces. False for any other, and where it names nothing.
bool PathMemo::ReadStep(std::string_view path) {
  const std::size_t begin = steps_.empty() ? 0 : steps_.back().end;
  const Target before = steps_.empty() ? Target{} : steps_.back().target;
  const bool below_list = !steps_.empty() && !before.has_keys &&
                          before.schema->nodetype == LYS_LIST;
  if (path[begin] != '/' || below_list) return false;

  // 1. The name, and the node of the model that has it.
  std::size_t end = std::min(path.find_first_of("/{", begin + 1), path.size());
  std::string_view name = path.substr(begin + 1, end - begin - 1);
  std::string_view prefix;
  const std::size_t colon = name.find(':');
  if (colon == 0) return false;
  if (colon != std::string_view::npos) {
    prefix = name.substr(0, colon);
    name.remove_prefix(colon + 1);
  }
  Target target;
  target.schema = tree_.model().FindChild(before.schema, prefix, name);
  if (target.schema == nullptr) return false;

  // 2. The keys.
  keys_.clear();
  if (end < path.size() && path[end] == '{') {
    const std::size_t close = path.find('}', end);
    if (close == std::string_view::npos ||
        target.schema->nodetype != LYS_LIST ||
        !SplitKeys(path.substr(end + 1, close - end - 1), &keys_) ||
        keys_.size() != datastore::Model::FactsOf(*target.schema).key_count) {
      return false;
    }
    end = close + 1;
    if (end < path.size() && path[end] != '/') return false;
    target.has_keys = true;
  }

  // 3. The instance; what is below an absent node is absent, too.
  if (steps_.empty() || before.node != nullptr) {
    target.parent = before.node;
    target.node = target.has_keys
                      ? FindEntry(tree_, target.parent, *target.schema,
                                  keys_.data(), keys_.size())
                      : tree_.Find(target.parent, *target.schema);
  }
  steps_.push_back({end, target});
  ++steps_read_;
  return true;
}

}  // namespace ipav::confd
