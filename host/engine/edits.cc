#include "host/engine/edits.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/datastore/constraints.h"
#include "host/datastore/diff.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"
#include "host/datastore/model.h"

namespace ipav::engine {

namespace {

using datastore::DataTree;
using datastore::Model;
using datastore::Nodes;

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
  throw EditError(path + ": " + reason);
}

// A predicate of libyang for a key. A value has no escapes there.
std::string KeyPredicate(const lysc_node& key, const std::string& value) {
  const char quote = value.find('\'') == std::string::npos ? '\'' : '"';
  if (value.find(quote) != std::string::npos) {
    Refuse(value, "a key with both kinds of quotes");
  }
  return std::string("[") + key.name + "=" + quote + value + quote + "]";
}

// "l3{name}"
std::string EntryForm(const lysc_node& list) {
  std::string keys;
  for (const lysc_node* key = lysc_node_child(&list);
       key != nullptr && lysc_is_key(key); key = key->next) {
    keys += (keys.empty() ? "" : " ") + std::string(key->name);
  }
  return std::string(list.name) + '{' + keys + '}';
}

// Refuses LIST[KEY=VALUE], and LIST{KEY=VALUE}, which would be the entry of
// that name. A value that looks like this is written in quotes.
void RequireNoPredicate(const Model& model, const std::string& path) {
  const std::size_t equals = path.find('=');
  if (equals == std::string::npos) return;
  const std::size_t begin = path.find_last_of("{[\" ", equals);
  if (begin == std::string::npos || path[begin] == '"' || path[begin] == ' ') {
    return;
  }
  const lysc_node& list =
      *confd::ResolveSchema(model, confd::ParsePath(path.substr(0, begin)))
           .back();
  if (list.nodetype != LYS_LIST) return;
  Refuse(path, "an entry is written with the values of its keys only: " +
                   EntryForm(list));
}

// The path in the form of libyang: /module:container/module:list[key='a'].
std::string PathInLibyang(const std::string& path,
                          const std::vector<confd::PathStep>& steps,
                          const std::vector<const lysc_node*>& nodes) {
  std::string result;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    result += std::string("/") + nodes[i]->module->name + ":" + nodes[i]->name;
    if (nodes[i]->nodetype != LYS_LIST) continue;
    if (steps[i].keys.empty()) Refuse(path, steps[i].name + " needs its keys");
    const lysc_node* key = lysc_node_child(nodes[i]);
    for (const std::string& value : steps[i].keys) {
      result += KeyPredicate(*key, value);
      key = key->next;
    }
  }
  return result;
}

bool HasKeyOfManyForms(const std::vector<const lysc_node*>& nodes) {
  return std::any_of(nodes.begin(), nodes.end(), [](const lysc_node* node) {
    const auto& keys = Model::FactsOf(*node).keys;
    return std::any_of(keys.begin(), keys.end(), [](const lysc_node* key) {
      return datastore::HasManyForms(Model::FactsOf(*key).value_type);
    });
  });
}

// The text of the key that the path ends with, in the step of its entry.
const std::string& KeyOf(const std::vector<confd::PathStep>& steps,
                         const std::vector<const lysc_node*>& nodes) {
  const auto& keys = Model::FactsOf(**(nodes.end() - 2)).keys;
  const auto at = std::find(keys.begin(), keys.end(), nodes.back());
  return (steps.end() - 2)->keys[static_cast<std::size_t>(at - keys.begin())];
}

class Editor {
 public:
  explicit Editor(DataTree tree)
      : model_(tree.model()),
        tree_(std::move(tree)),
        is_complete_(model_.judges_nodes_alone()) {}

  void Make(const Edit& edit) {
    datastore::ClearErrors(model_.context());
    try {
      RequireNoPredicate(model_, edit.path);
      auto steps = confd::ParsePath(edit.path);
      const auto nodes = confd::ResolveSchema(model_, steps);
      if (ChangeLeaf(edit, steps, nodes)) return;
      Open();
      std::string in_libyang = PathInLibyang(edit.path, steps, nodes);
      lyd_node* node = Find(in_libyang);
      if (node == nullptr && HasKeyOfManyForms(nodes)) {
        UseTextsOfEntries(nodes, &steps);
        in_libyang = PathInLibyang(edit.path, steps, nodes);
        node = Find(in_libyang);
      }
      std::optional<std::string> value = edit.value;
      if (lysc_is_key(nodes.back())) {
        value = UnchangedKey(edit, *nodes.back(), KeyOf(steps, nodes));
      }
      if (!value.has_value()) {
        Delete(edit.path, node);
      } else if (!value->empty() && !datastore::IsLeaf(*nodes.back())) {
        Refuse(edit.path, "only a leaf has a value");
      } else {
        Set(edit.path, in_libyang, *value);
      }
    } catch (const confd::ConfdError& error) {
      Refuse(edit.path, error.what());
    }
  }

  DataTree Finish(datastore::Leaves* leaves) {
    if (leaves != nullptr && is_complete_) *leaves = std::move(leaves_);
    if (!is_open_ && is_complete_) return std::move(tree_);
    Open();
    DataTree tree = DataTree::FromNodes(model_, nodes_.release());
    if (is_complete_ || tree.Complete()) return tree;
    const std::string reason = datastore::FirstReason(model_.context());
    for (const datastore::Violation& violation : datastore::FindViolations(
             model_.context(), tree.FirstChild(nullptr), {})) {
      if (violation.node == nullptr) continue;
      Refuse(confd::PrintPath(violation.node), violation.reason);
    }
    throw EditError(reason);
  }

 private:
  // Gives a leaf that is there a new value, which leaves the tree's indexes
  // valid. False if this is another edit.
  bool ChangeLeaf(const Edit& edit, const std::vector<confd::PathStep>& steps,
                  const std::vector<const lysc_node*>& nodes) {
    if (is_open_ || !is_complete_ || !edit.value.has_value() ||
        nodes.back()->nodetype != LYS_LEAF || lysc_is_key(nodes.back())) {
      return false;
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i]->nodetype == LYS_LIST && steps[i].keys.empty()) return false;
    }
    const lyd_node* leaf = confd::Resolve(tree_, steps).node;
    if (leaf == nullptr) return false;
    const LY_ERR error =
        lyd_change_term(const_cast<lyd_node*>(leaf), edit.value->c_str());
    if (error == LY_SUCCESS) {
      leaves_.push_back(leaf);
    } else if (error != LY_EEXIST && error != LY_ENOT) {  // as it was before
      Refuse(edit.path, datastore::FirstReason(model_.context()));
    }
    return true;
  }

  // For edits of its nodes, the tree is taken apart.
  void Open() {
    if (!is_open_) nodes_ = tree_.Release();
    is_open_ = true;
  }

  lyd_node* Find(const std::string& in_libyang) const {
    lyd_node* node = nullptr;
    if (nodes_ == nullptr || lyd_find_path(nodes_.get(), in_libyang.c_str(), 0,
                                           &node) != LY_SUCCESS) {
      return nullptr;
    }
    return node;
  }

  // Gives keys the texts that their entries have, or will have: libyang
  // compares texts, and one key may have several (fe80::1/64, FE80::1/64).
  void UseTextsOfEntries(const std::vector<const lysc_node*>& nodes,
                         std::vector<confd::PathStep>* steps) {
    DataTree tree = DataTree::FromNodes(model_, nodes_.release());
    std::vector<confd::PathStep> above;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      std::vector<std::string>& keys = (*steps)[i].keys;
      above.push_back((*steps)[i]);
      if (keys.empty()) continue;
      const lyd_node* entry = confd::Resolve(tree, above).node;
      const lyd_node* leaf = lyd_child(entry);
      const lysc_node* key = lysc_node_child(nodes[i]);
      for (std::string& text : keys) {
        text = entry == nullptr ? datastore::CanonicalText(*key, text)
                                : lyd_get_value(leaf);
        key = key->next;
        if (entry != nullptr) leaf = leaf->next;
      }
    }
    nodes_ = tree.Release();
  }

  // Each gets the path as it was given, for errors, too.

  // The text of a key that stays. With another one, its entry would be another.
  static std::string UnchangedKey(const Edit& edit, const lysc_node& key,
                                  const std::string& text) {
    if (!edit.value.has_value() || datastore::CanonicalText(key, *edit.value) !=
                                       datastore::CanonicalText(key, text)) {
      Refuse(edit.path, "it is the key of an entry");
    }
    return text;
  }

  void Set(const std::string& path, const std::string& in_libyang,
           const std::string& value) {
    lyd_node* made = nullptr;
    if (lyd_new_path(nodes_.get(), model_.context(), in_libyang.c_str(),
                     value.c_str(), LYD_NEW_PATH_UPDATE, &made) != LY_SUCCESS) {
      Refuse(path, datastore::FirstReason(model_.context()));
    }
    if (made == nullptr) return;  // it was so before
    if (made->schema->nodetype != LYS_LEAF) is_complete_ = false;
    leaves_.push_back(made);
    KeepFirst(nodes_ == nullptr ? made : nodes_.release());
  }

  void Delete(const std::string& path, lyd_node* node) {
    if (node == nullptr) Refuse(path, "there is no such node");
    // A default value may take its place.
    is_complete_ = false;
    lyd_node* first = nodes_.release();
    datastore::RemoveNode(node, &first);
    KeepFirst(first);
  }

  void KeepFirst(lyd_node* node) {
    nodes_.reset(node == nullptr ? nullptr : lyd_first_sibling(node));
  }

  const Model& model_;
  DataTree tree_;
  bool is_open_ = false;
  Nodes nodes_;                          // of the tree, if it is open
  std::vector<const lyd_node*> leaves_;  // that were set
  // Whether the nodes are valid, with their default values.
  bool is_complete_;
};

}  // namespace

DataTree Edited(DataTree tree, const std::vector<Edit>& edits,
                datastore::Leaves* leaves) {
  Editor editor(std::move(tree));
  for (const Edit& edit : edits) editor.Make(edit);
  return editor.Finish(leaves);
}

// Each edit is its path, and a sign with the value; each ends with a NUL, which
// YANG text cannot contain (RFC 7950, section 14: yang-string).

std::string Encode(const std::vector<Edit>& edits) {
  std::string text;
  for (const Edit& edit : edits) {
    const std::string value = edit.value.has_value() ? '=' + *edit.value : "-";
    for (const std::string& part : {edit.path, value}) {
      if (part.find('\0') != std::string::npos) {
        throw EditError("an edit with a NUL character");
      }
      text.append(part).append(1, '\0');
    }
  }
  return text;
}

std::vector<Edit> Decode(const std::string& text) {
  std::vector<Edit> edits;
  std::size_t at = 0;
  const auto take = [&] {
    const std::size_t end = text.find('\0', at);
    std::string part = text.substr(at, end - at);
    at = end + 1;
    return part;
  };
  while (at < text.size()) {
    edits.push_back({take(), std::nullopt});
    const std::string value = take();
    if (value[0] == '=') edits.back().value = value.substr(1);
  }
  return edits;
}

}  // namespace ipav::engine
