#include "host/confd/path.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "host/confd/confd_error.h"

namespace ipav::confd {

namespace {

using datastore::DataTree;
using datastore::Model;

// No less than most paths have.
constexpr std::size_t kUsualLength = 128;

ConfdError BadPath(const std::string& reason) {
  return {CONFD_ERR_BADPATH, "bad path: " + reason};
}

// Reads a path from left to right.
class PathReader {
 public:
  explicit PathReader(const std::string& path, std::size_t at = 0)
      : path_(path), at_(at) {}

  std::size_t at() const { return at_; }
  bool is_at_end() const { return at_ == path_.size(); }

  PathStep Step() {
    if (!Skip('/')) throw BadPath(path_ + " is not absolute");
    PathStep step;
    step.name = Until([](char c) { return c == ':' || c == '/' || c == '{'; });
    if (Skip(':')) {
      step.prefix = std::exchange(
          step.name, Until([](char c) { return c == '/' || c == '{'; }));
      if (step.prefix.empty()) throw BadPath("empty prefix in " + path_);
    }
    if (step.name.empty()) throw BadPath("empty step in " + path_);
    if (Skip('{')) step.keys = Keys();
    return step;
  }

 private:
  // The rest of a list entry's keys, with the closing brace.
  std::vector<std::string> Keys() {
    std::vector<std::string> keys;
    for (;;) {
      while (Skip(' ')) {
      }
      if (Skip('}')) break;
      keys.push_back(Skip('"') ? Quoted() : Until([](char c) {
        return c == ' ' || c == '}' || c == '{';
      }));
      if (at_ >= path_.size() || (path_[at_] != ' ' && path_[at_] != '}')) {
        throw BadPath("malformed keys in " + path_);
      }
    }
    if (keys.empty()) throw BadPath("no key in " + path_);
    return keys;
  }

  // The rest of a quoted key, with the closing quote.
  std::string Quoted() {
    std::string key;
    while (at_ < path_.size() && path_[at_] != '"') {
      if (path_[at_] == '\\') ++at_;
      if (at_ < path_.size()) key += path_[at_++];
    }
    if (!Skip('"')) throw BadPath("open quote in " + path_);
    return key;
  }

  template <typename IsStop>
  std::string Until(const IsStop& is_stop) {
    const std::size_t begin = at_;
    while (at_ < path_.size() && !is_stop(path_[at_])) ++at_;
    return path_.substr(begin, at_ - begin);
  }

  bool Skip(char c) {
    if (at_ >= path_.size() || path_[at_] != c) return false;
    ++at_;
    return true;
  }

  const std::string& path_;
  std::size_t at_;
};

// The node of the model that a step names below `parent` (null: the root).
const lysc_node* SchemaOf(const Model& model, const lysc_node* parent,
                          const PathStep& step) {
  bool ambiguous = false;
  const lysc_node* node =
      model.FindChild(parent, step.prefix, step.name, &ambiguous);
  if (node == nullptr) {
    throw BadPath(step.name + (ambiguous ? " is ambiguous, needs a prefix"
                                         : " is unknown to the model"));
  }
  if (!step.keys.empty() &&
      (node->nodetype != LYS_LIST ||
       step.keys.size() != Model::FactsOf(*node).keys.size())) {
    throw BadPath("wrong number of keys for " + step.name);
  }
  return node;
}

// What a step names below what the step before it names (null: the first one).
Target Below(const DataTree& tree, const Target* before, const PathStep& step) {
  const lysc_node* above = before == nullptr ? nullptr : before->schema;
  Target target;
  target.schema = SchemaOf(tree.model(), above, step);
  target.has_keys = !step.keys.empty();
  if (above != nullptr && above->nodetype == LYS_LIST && !before->has_keys) {
    throw BadPath(std::string(above->name) + " needs its keys");
  }
  // What is below an absent node is absent, too.
  if (before != nullptr && before->node == nullptr) return target;
  if (before != nullptr) target.parent = before->node;
  const std::vector<std::string_view> keys(step.keys.begin(), step.keys.end());
  target.node = keys.empty() ? tree.Find(target.parent, *target.schema)
                             : FindEntry(tree, target.parent, *target.schema,
                                         keys.data(), keys.size());
  return target;
}

std::string PrintKey(const std::string& key) {
  if (!key.empty() && key.find_first_of(" {}\"\\") == std::string::npos) {
    return key;
  }
  std::string quoted = "\"";
  for (const char c : key) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string PrintKeys(const lyd_node* entry) {
  std::string text = "{";
  for (const std::string& key : datastore::KeysOf(entry)) {
    if (text.size() > 1) text += ' ';
    text += PrintKey(key);
  }
  return text + '}';
}

}  // namespace

std::string FormatPath(const char* format, va_list args) {
  if (format == nullptr) throw BadPath("null format");
  std::string path;
  path.reserve(kUsualLength);
  for (const char* c = format;; ++c) {
    const std::size_t plain = std::strcspn(c, "%");
    path.append(c, plain);
    c += plain;
    if (*c == '\0') return path;
    switch (*++c) {
      case 's': {
        const char* text = va_arg(args, const char*);
        if (text == nullptr) throw BadPath("null text for %s");
        path += text;
        break;
      }
      case 'd':
        path += std::to_string(va_arg(args, int));
        break;
      case 'u':
        path += std::to_string(va_arg(args, unsigned));
        break;
      default:
        throw BadPath(std::string("only %s, %d and %u may stand in ") + format);
    }
  }
}

const lyd_node* FindEntry(const DataTree& tree, const lyd_node* parent,
                          const lysc_node& list, const std::string_view* keys,
                          std::size_t count) {
  const lyd_node* entry = tree.FindEntry(parent, list, keys, count);
  if (entry != nullptr) return entry;

  std::vector<std::string> canonical;
  bool as_written = true;
  const lysc_node* leaf = lysc_node_child(&list);
  for (std::size_t i = 0; i < count; ++i, leaf = leaf->next) {
    canonical.push_back(datastore::CanonicalText(*leaf, std::string(keys[i])));
    as_written = as_written && canonical.back() == keys[i];
  }
  return as_written ? nullptr : tree.FindEntry(parent, list, canonical);
}

std::vector<PathStep> ParsePath(const std::string& path) {
  PathReader reader(path);
  std::vector<PathStep> steps;
  do {
    steps.push_back(reader.Step());
  } while (!reader.is_at_end());
  return steps;
}

std::vector<const lysc_node*> ResolveSchema(const Model& model,
                                            const std::vector<PathStep>& path) {
  std::vector<const lysc_node*> nodes;
  for (const PathStep& step : path) {
    const lysc_node* parent = nodes.empty() ? nullptr : nodes.back();
    nodes.push_back(SchemaOf(model, parent, step));
  }
  return nodes;
}

Target Resolve(const DataTree& tree, const std::vector<PathStep>& path) {
  // The errors of the model come before those of an entry without keys.
  static_cast<void>(ResolveSchema(tree.model(), path));
  Target target = Below(tree, nullptr, path.front());
  for (std::size_t i = 1; i < path.size(); ++i) {
    target = Below(tree, &target, path[i]);
  }
  return target;
}

Target PathMemo::Find(const std::string& path) {
  // 1. Keep the remembered steps with which the path begins.
  const auto end = path.begin() + static_cast<std::ptrdiff_t>(
                                      std::min(path.size(), path_.size()));
  const auto same = static_cast<std::size_t>(
      std::mismatch(path.begin(), end, path_.begin()).first - path.begin());
  const auto is_kept = [&](std::size_t size) {
    return size <= same && (size == path.size() || path[size] == '/');
  };
  while (!steps_.empty() && !is_kept(steps_.back().end)) steps_.pop_back();
  // 2. Read the others.
  try {
    PathReader reader(path, steps_.empty() ? 0 : steps_.back().end);
    while (steps_.empty() || !reader.is_at_end()) {
      const PathStep step = reader.Step();
      const Target* before = steps_.empty() ? nullptr : &steps_.back().target;
      const Target target = Below(tree_, before, step);
      steps_.push_back({reader.at(), target});
    }
  } catch (const ConfdError&) {
    steps_.clear();
    return Resolve(tree_, ParsePath(path));  // throws the first error
  }
  path_ = path;
  return steps_.back().target;
}

std::string PrintPath(const lyd_node* node) {
  std::string path;
  for (; node != nullptr; node = lyd_parent(node)) {
    std::string step = std::string("/") + node->schema->name;
    if (node->schema->nodetype == LYS_LIST) step += PrintKeys(node);
    path.insert(0, step);
  }
  return path;
}

std::string PrintPath(const lyd_node* parent, const lysc_node& schema) {
  return PrintPath(parent) + "/" + schema.name;
}

}  // namespace ipav::confd
