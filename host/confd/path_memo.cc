#include "host/confd/path_memo.h"

#include <algorithm>

namespace ipav::confd {

namespace {

// Splits the text of a step's keys at its blanks. False for quoted keys and
// invalid lists, which need the full parser.
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

// The child of that name, which may have a prefix; null if there is none, or
// more than one.
const lysc_node* ChildOf(const datastore::Model& model, const lysc_node* parent,
                         std::string_view name) {
  const std::size_t colon = name.find(':');
  if (colon == std::string_view::npos) return model.FindChild(parent, "", name);
  if (colon == 0) return nullptr;
  return model.FindChild(parent, name.substr(0, colon), name.substr(colon + 1));
}

}  // namespace

Target PathMemo::Find(const std::string& path) {
  Forget(path);
  std::size_t read = steps_.empty() ? 0 : steps_.back().end;
  while (read < path.size()) {
    // The full parser handles unusual and wrong paths.
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

// Keeps the remembered steps with which the path begins.
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

// Reads the next step of the path, of the form /name, /prefix:name or with keys
// in braces. False for any other form, or if it names nothing.
bool PathMemo::ReadStep(std::string_view path) {
  const std::size_t begin = steps_.empty() ? 0 : steps_.back().end;
  const Target before = steps_.empty() ? Target{} : steps_.back().target;
  const bool below_list = !steps_.empty() && !before.has_keys &&
                          before.schema->nodetype == LYS_LIST;
  if (path[begin] != '/' || below_list) return false;

  Step step{std::min(path.find_first_of("/{", begin + 1), path.size()), {}};
  const std::string_view name = path.substr(begin + 1, step.end - begin - 1);
  step.target.schema = ChildOf(tree_.model(), before.schema, name);
  if (step.target.schema == nullptr || !ReadKeys(path, &step)) return false;

  // What is below an absent node is absent, too.
  if (steps_.empty() || before.node != nullptr) {
    step.target.parent = before.node;
    FindNode(&step.target);
  }
  steps_.push_back(step);
  ++steps_read_;
  return true;
}

// Reads the keys of a step, if it has any. False if they are not those of a
// list, or need the full parser.
bool PathMemo::ReadKeys(std::string_view path, Step* step) {
  keys_.clear();
  if (step->end == path.size() || path[step->end] != '{') return true;
  const lysc_node& node = *step->target.schema;
  const std::size_t begin = step->end + 1;
  const std::size_t close = path.find('}', begin);
  if (close == std::string_view::npos || node.nodetype != LYS_LIST) {
    return false;
  }
  step->end = close + 1;
  step->target.has_keys = true;
  return SplitKeys(path.substr(begin, close - begin), &keys_) &&
         keys_.size() == datastore::Model::FactsOf(node).key_count &&
         (step->end == path.size() || path[step->end] == '/');
}

void PathMemo::FindNode(Target* target) const {
  target->node = target->has_keys
                     ? FindEntry(tree_, target->parent, *target->schema,
                                 keys_.data(), keys_.size())
                     : tree_.Find(target->parent, *target->schema);
}

}  // namespace ipav::confd
