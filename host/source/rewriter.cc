#include "host/source/rewriter.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "host/datastore/diff.h"
#include "host/source/node_finder.h"
#include "host/source/text_editor.h"

namespace ipav::source {

namespace {

using datastore::Change;
using datastore::IsLeaf;
using Node = SourceTree::Node;

// Whether two entries differ only in their keys.
bool IsRenamed(const lyd_node* before, const lyd_node* after) {
  if (before->schema != after->schema ||
      !lysc_is_key(lysc_node_child(before->schema))) {
    return false;
  }
  const lyd_node* a = lyd_child_no_keys(before);
  const lyd_node* b = lyd_child_no_keys(after);
  while (a != nullptr && b != nullptr &&
         lyd_compare_single(a, b, LYD_COMPARE_FULL_RECURSION) == LY_SUCCESS) {
    a = a->next;
    b = b->next;
  }
  return a == nullptr && b == nullptr;
}

class Rewriter {
 public:
  explicit Rewriter(const datastore::InputText& text)
      : finder_(&tree_, text.format == LYD_XML) {
    const bool is_xml = text.format == LYD_XML;
    (is_xml ? ReadXml : ReadJson)(text.bytes, text.start, &tree_);
    editor_ = is_xml ? EditXml(text.bytes, &tree_)
                     : EditJson(text.bytes, text.start, &tree_);
  }

  std::vector<Replacement> Run(const datastore::Diff& diff) {
    MakeChanges(SourceTree::kRoot, diff.top());
    return editor_->Take();
  }

 private:
  // What is to be done below one node of the text.
  struct Pending {
    TextEditor::Nodes removed;
    std::vector<const lyd_node*> removed_entries;
    std::vector<const lyd_node*> added;
  };

  // Makes the changes among the children of a node of the text.
  void MakeChanges(Node parent, const std::vector<Change>& changes) {
    Pending pending;
    for (const Change& change : changes) {
      if (!change.IsImplicit()) Make(change, &pending);
    }
    Rename(&pending);
    if (!pending.removed.empty()) editor_->Remove(parent, pending.removed);
    while (!pending.added.empty()) InsertFirst(parent, &pending);
  }

  void Make(const Change& change, Pending* pending) {
    const Node node = change.before == nullptr ? SourceTree::kNone
                                               : finder_.Find(change.before);
    const bool is_in_text = node != SourceTree::kNone;
    if (change.after == nullptr) {
      if (!is_in_text) return;
      pending->removed.insert(node);
      if (change.schema->nodetype == LYS_LIST) {
        pending->removed_entries.push_back(change.before);
      }
    } else if (!is_in_text) {
      const bool is_implicit = (change.after->flags & LYD_DEFAULT) != 0;
      if (!is_implicit) pending->added.push_back(change.after);
    } else if (IsLeaf(*change.schema)) {
      editor_->SetValue(node, *change.after);
    } else {
      MakeChanges(node, change.children);
    }
  }

  // An entry with other keys stays where it is.
  void Rename(Pending* pending) {
    std::vector<const lyd_node*>& added = pending->added;
    for (const lyd_node* before : pending->removed_entries) {
      const auto after = std::find_if(
          added.begin(), added.end(),
          [&](const lyd_node* node) { return IsRenamed(before, node); });
      if (after == added.end()) continue;
      pending->removed.erase(finder_.Find(before));
      const lyd_node* key = lyd_child(*after);
      for (const lyd_node* old = lyd_child(before);
           old != nullptr && lysc_is_key(old->schema); old = old->next) {
        if (lyd_compare_single(old, key, 0) != LY_SUCCESS) {
          editor_->SetValue(finder_.Find(old), *key);
        }
        key = key->next;
      }
      added.erase(after);
    }
  }

  // Inserts all instances of the node of the model that comes first.
  void InsertFirst(Node parent, Pending* pending) {
    std::vector<const lyd_node*>& added = pending->added;
    const lysc_node* schema = added.front()->schema;
    const auto rest = std::stable_partition(
        added.begin(), added.end(),
        [&](const lyd_node* node) { return node->schema == schema; });
    editor_->Insert(parent, {added.begin(), rest}, pending->removed);
    added.erase(added.begin(), rest);
  }

  SourceTree tree_;
  NodeFinder finder_;
  std::unique_ptr<TextEditor> editor_;
};

// Where the texts of the replacements are in the new text.
std::vector<Span> PlacesOf(const std::vector<Replacement>& replacements) {
  std::vector<Span> places;
  std::size_t at = 0;      // in the text before
  std::size_t new_at = 0;  // in the new one
  for (const Replacement& each : replacements) {
    const std::size_t begin = new_at + (each.span.begin - at);
    places.push_back({begin, begin + each.text.size()});
    at = each.span.end;
    new_at = places.back().end;
  }
  return places;
}

// In order; spans that touch become one.
std::vector<Span> Merged(std::vector<Span> spans) {
  std::sort(spans.begin(), spans.end(),
            [](const Span& a, const Span& b) { return a.begin < b.begin; });
  std::vector<Span> merged;
  for (const Span& span : spans) {
    if (merged.empty() || merged.back().end < span.begin) {
      merged.push_back(span);
    } else {
      merged.back().end = std::max(merged.back().end, span.end);
    }
  }
  return merged;
}

}  // namespace

std::vector<Replacement> FindReplacements(const datastore::InputText& text,
                                          const datastore::DataTree& before,
                                          const datastore::DataTree& after) {
  return Rewriter(text).Run(datastore::Diff(before, after));
}

std::string Replace(std::string_view bytes,
                    const std::vector<Replacement>& replacements) {
  std::string replaced;
  std::size_t at = 0;
  for (const Replacement& replacement : replacements) {
    replaced += bytes.substr(at, replacement.span.begin - at);
    replaced += replacement.text;
    at = replacement.span.end;
  }
  return replaced.append(bytes.substr(at));
}

std::vector<Replacement> Compose(const std::vector<Replacement>& first,
                                 std::string_view between,
                                 const std::vector<Replacement>& second) {
  // 1. The parts of the text between that differ from one of the others.
  const std::vector<Span> places = PlacesOf(first);
  std::vector<Span> changed = places;
  for (const Replacement& each : second) changed.push_back(each.span);
  const std::vector<Span> parts = Merged(std::move(changed));
  // 2. Each becomes one replacement.
  std::vector<Replacement> composed;
  std::size_t one = 0;
  std::size_t two = 0;
  std::size_t begin = 0;  // in the first text, after the last part
  std::size_t at = 0;     // the same in the text between
  for (const Span& part : parts) {
    begin += part.begin - at;
    std::size_t end = begin;
    at = part.begin;
    for (; one < first.size() && places[one].end <= part.end; ++one) {
      end = first[one].span.end;
      at = places[one].end;
    }
    end += part.end - at;
    at = part.end;
    std::vector<Replacement> here;
    for (; two < second.size() && second[two].span.end <= part.end; ++two) {
      const Replacement& each = second[two];
      here.push_back(
          {{each.span.begin - part.begin, each.span.end - part.begin},
           each.text});
    }
    const std::string_view text =
        between.substr(part.begin, part.end - part.begin);
    composed.push_back({{begin, end}, Replace(text, here)});
    begin = end;
  }
  return composed;
}

}  // namespace ipav::source
