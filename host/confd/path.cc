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

ConfdError BadPath(const std::string& reason) {
  return {CONFD_ERR_BADPATH, "bad path: " + reason};
}

// So many characters of two paths are compared at once.
constexpr std::size_t kBlock = 8;

// Reads a path from left to right.
class PathReader {
 public:
  explicit PathReader(const std::string& path, std::size_t at = 0)
      : path_(path), at_(at) {}

  std::size_t at() const { return at_; }
  bool is_at_end() const { return at_ == path_.size(); }

  // A whole step, or its two parts: the name with the prefix, as written, and
  // the keys, if given.
  PathStep Step() {
    PathStep step;
    const std::string_view name = Name();
    const std::size_t colon = name.find(':');
    if (colon == 0) throw BadPath("empty prefix in " + path_);
    if (colon != std::string_view::npos) step.prefix = name.substr(0, colon);
    step.name = name.substr(colon + 1);  // all of it if there is none
    if (step.name.empty()) throw BadPath("empty step in " + path_);
    step.keys = Keys();
    return step;
  }

  std::string_view Name() {
    if (!Skip('/')) throw BadPath(path_ + " is not absolute");
    return Until("/{");
  }
  std::vector<std::string> Keys() {
    std::vector<std::string> keys;
    if (!Skip('{')) return keys;
    for (;;) {
      while (Skip(' ')) {
      }
      if (Skip('}')) break;
      keys.push_back(Skip('"') ? Quoted() : std::string(Until(" }{")));
      if (at_ >= path_.size() || (path_[at_] != ' ' && path_[at_] != '}')) {
        throw BadPath("malformed keys in " + path_);
      }
    }
    if (keys.empty()) throw BadPath("no key in " + path_);
    return keys;
  }

 private:
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

  // What is before the next of these characters, or the end.
  std::string_view Until(const char* stops) {
    const char* begin = &path_[at_];
    const std::size_t size = std::strcspn(begin, stops);
    at_ += size;
    return {begin, size};
  }

  bool Skip(char c) {
    if (at_ >= path_.size() || path_[at_] != c) return false;
    ++at_;
    return true;
  }

  const std::string& path_;
  std::size_t at_;
};

void RequireKeysOf(const lysc_node& node,
                   const std::vector<std::string>& keys) {
  if (keys.empty()) return;
  if (node.nodetype != LYS_LIST ||
      keys.size() != Model::FactsOf(node).keys.size()) {
    throw BadPath(std::string("wrong number of keys for ") + node.name);
  }
}

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
  RequireKeysOf(*node, step.keys);
  return node;
}

// The entry after that of an earlier step, if that is one of the same list.
const lyd_node* NextAfter(const Target& earlier, const Target& target) {
  const bool is_same_list = earlier.schema == target.schema &&
                            earlier.parent == target.parent &&
                            earlier.has_keys && earlier.node != nullptr;
  return is_same_list ? datastore::NextEntry(earlier.node) : nullptr;
}

// What is named below `before` (null: the root) by a node of the model and the
// texts of its keys. `earlier` is what another path had at this place.
Target Below(const DataTree& tree, const Target* before,
             const lysc_node& schema, const std::vector<std::string>& texts,
             const Target& earlier = {}) {
  Target target;
  target.schema = &schema;
  target.has_keys = !texts.empty();
  if (before != nullptr && before->schema->nodetype == LYS_LIST &&
      !before->has_keys) {
    throw BadPath(std::string(before->schema->name) + " needs its keys");
  }
  // What is below an absent node is absent, too.
  if (before != nullptr && before->node == nullptr) return target;
  if (before != nullptr) target.parent = before->node;
  const std::vector<std::string_view> keys(texts.begin(), texts.end());
  target.node = keys.empty()
                    ? tree.Find(target.parent, schema)
                    : FindEntry(tree, target.parent, schema, keys.data(),
                                keys.size(), NextAfter(earlier, target));
  return target;
}

// How many characters two texts have in common before the first other one.
std::size_t SharedLength(const std::string& a, const std::string& b) {
  const std::size_t end = std::min(a.size(), b.size());
  std::size_t at = 0;
  while (end - at >= kBlock && std::memcmp(&a[at], &b[at], kBlock) == 0) {
    at += kBlock;
  }
  while (at < end && a[at] == b[at]) ++at;
  return at;
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

void FormatPath(const char* format, va_list args, std::string* path) {
  if (format == nullptr) throw BadPath("null format");
  path->clear();
  for (const char* c = format; *c != '\0'; ++c) {
    if (*c != '%') {
      const std::size_t plain = std::strcspn(c, "%");
      path->append(c, plain);
      c += plain - 1;
      continue;
    }
    switch (*++c) {
      case 's': {
        const char* text = va_arg(args, const char*);
        if (text == nullptr) throw BadPath("null text for %s");
        path->append(text);
        break;
      }
      case 'd':
        path->append(std::to_string(va_arg(args, int)));
        break;
      case 'u':
        path->append(std::to_string(va_arg(args, unsigned)));
        break;
      default:
        throw BadPath(std::string("only %s, %d and %u may stand in ") + format);
    }
  }
}

std::string FormatPath(const char* format, va_list args) {
  std::string path;
  FormatPath(format, args, &path);
  return path;
}

const lyd_node* FindEntry(const DataTree& tree, const lyd_node* parent,
                          const lysc_node& list, const std::string_view* keys,
                          std::size_t count, const lyd_node* guess) {
  const lyd_node* entry = tree.FindEntry(parent, list, keys, count, guess);
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
  const auto nodes = ResolveSchema(tree.model(), path);
  Target target = Below(tree, nullptr, *nodes.front(), path.front().keys);
  for (std::size_t i = 1; i < path.size(); ++i) {
    target = Below(tree, &target, *nodes[i], path[i].keys);
  }
  return target;
}

Target PathMemo::Find(const std::string& path) {
  // 1. Keep the remembered steps with which the path begins.
  const std::size_t same = SharedLength(path, path_);
  const auto is_kept = [&](std::size_t size) {
    return size <= same && (size == path.size() || path[size] == '/');
  };
  Target earlier;
  while (!steps_.empty() && !is_kept(steps_.back().end)) {
    earlier = steps_.back().target;
    steps_.pop_back();
  }
  // 2. Read the others.
  try {
    PathReader reader(path, steps_.empty() ? 0 : steps_.back().end);
    while (steps_.empty() || !reader.is_at_end()) {
      const Target* before = steps_.empty() ? nullptr : &steps_.back().target;
      const lysc_node& schema =
          SchemaOf(before == nullptr ? nullptr : before->schema, reader.Name());
      const std::vector<std::string> keys = reader.Keys();
      RequireKeysOf(schema, keys);
      const Target target = Below(tree_, before, schema, keys, earlier);
      steps_.push_back({reader.at(), target});
      earlier = {};
    }
  } catch (const ConfdError&) {
    steps_.clear();
    return Resolve(tree_, ParsePath(path));  // throws the first error
  }
  path_ = path;
  return steps_.back().target;
}

// The same few names stand in most paths.
const lysc_node& PathMemo::SchemaOf(const lysc_node* parent,
                                    std::string_view name) {
  auto& known = names_[parent];
  for (const auto& [text, node] : known) {
    if (text == name) return *node;
  }
  const std::string step = "/" + std::string(name);
  const lysc_node* node =
      confd::SchemaOf(tree_.model(), parent, PathReader(step).Step());
  return *known.emplace_back(name, node).second;
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
