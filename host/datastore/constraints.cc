#include "host/datastore/constraints.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "host/base/c_ptr.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"

namespace ipav::datastore {

namespace {

std::string PathOf(const lyd_node* node) {
  const base::CText path(lyd_path(node, LYD_PATH_STD, nullptr, 0));
  return path == nullptr ? "" : path.get();
}

std::string InQuotes(const std::string& text) { return '"' + text + '"'; }

// The first instance of a node among siblings; null if there is none.
const lyd_node* FirstOf(const lyd_node* siblings, const lysc_node* schema) {
  lyd_node* found = nullptr;
  static_cast<void>(lyd_find_sibling_val(siblings, schema, nullptr, 0, &found));
  return found;
}

// The value of a leaf at any depth below an entry; null if it has none.
const char* ValueBelow(const lyd_node* entry, const lysc_node* leaf) {
  std::vector<const lysc_node*> steps;
  for (const lysc_node* step = leaf; step != entry->schema;
       step = lysc_data_parent(step)) {
    steps.push_back(step);
  }
  const lyd_node* node = entry;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    node = FirstOf(lyd_child(node), *step);
    if (node == nullptr) return nullptr;
  }
  return lyd_get_value(node);
}

// The values of several leaves below an entry; none if it does not have all.
std::optional<std::string> ValuesBelow(const lyd_node* entry,
                                       lysc_node_leaf** leaves) {
  std::string values;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(leaves, i) {
    const char* value = ValueBelow(entry, &leaves[i]->node);
    if (value == nullptr) return std::nullopt;
    values.append(value).append(1, '\0');
  }
  return values;
}

std::string NamesOf(lysc_node_leaf** leaves) {
  std::string names;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(leaves, i) {
    names += std::string(i == 0 ? "" : " ") + leaves[i]->name;
  }
  return names;
}

class Checker {
 public:
  Checker(const ly_ctx* context, const std::set<const lysc_node*>& unread)
      : context_(context), unread_(unread) {}

  std::vector<Violation> Check(const lyd_node* tree) {
    std::uint32_t index = 0;
    while (const lys_module* module =
               ly_ctx_get_module_iter(context_, &index)) {
      if (module->implemented == 0 || module->compiled == nullptr) continue;
      CheckInstances(module->compiled->data, nullptr, tree);
    }
    CheckNodes(tree);
    return std::move(violations_);
  }

 private:
  void Add(const lyd_node* node, std::string reason) {
    violations_.push_back({node, std::move(reason)});
  }

  // --- Each node

  void CheckNodes(const lyd_node* siblings) {
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
      if (node->schema == nullptr || !CheckWhens(node)) continue;
      CheckMusts(node);
      CheckReference(node);
      if ((node->schema->nodetype & (LYS_CONTAINER | LYS_LIST)) == 0) continue;
      CheckInstances(lysc_node_child(node->schema), node, lyd_child(node));
      CheckNodes(lyd_child(node));
    }
  }

  bool CheckWhens(const lyd_node* node) {
    const lysc_node* schema = node->schema;
    do {
      const auto* whens = lysc_node_when(schema);
      LY_ARRAY_COUNT_TYPE i = 0;
      LY_ARRAY_FOR(whens, i) {
        const lysc_when& when = *whens[i];
        const lyd_node* at = node;
        while (at != nullptr && at->schema != when.context) at = lyd_parent(at);
        if (at == nullptr || IsTrue(at, when.cond, when.prefixes)) continue;
        Add(node, "When condition " + InQuotes(lyxp_get_expr(when.cond)) +
                      " not satisfied.");
        return false;
      }
      schema = schema->parent;
    } while (schema != nullptr &&
             (schema->nodetype & (LYS_CHOICE | LYS_CASE)) != 0);
    return true;
  }

  void CheckMusts(const lyd_node* node) {
    const lysc_must* musts = lysc_node_musts(node->schema);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(musts, i) {
      const lysc_must& must = musts[i];
      if (IsTrue(node, must.cond, must.prefixes)) continue;
      Add(node, must.emsg != nullptr
                    ? must.emsg
                    : "Must condition " + InQuotes(lyxp_get_expr(must.cond)) +
                          " not satisfied.");
    }
  }

  // Whether the condition holds, or cannot be decided.
  bool IsTrue(const lyd_node* node, const lyxp_expr* condition,
              lysc_prefix* prefixes) const {
    if (NamesUnread(node->schema, condition, prefixes)) return true;
    ly_bool result = 1;
    const LY_ERR error =
        lyd_eval_xpath3(node, node->schema->module, lyxp_get_expr(condition),
                        LY_VALUE_SCHEMA_RESOLVED, prefixes, nullptr, &result);
    return error != LY_SUCCESS || result != 0;
  }

  bool NamesUnread(const lysc_node* schema, const lyxp_expr* expression,
                   const lysc_prefix* prefixes) const {
    if (unread_.empty()) return false;
    ly_set* atoms = nullptr;
    if (lys_find_expr_atoms(schema, schema->module, expression, prefixes, 0,
                            &atoms) != LY_SUCCESS) {
      return true;
    }
    const NodeSet owner(atoms);
    const lysc_node* const* end = atoms->snodes + atoms->count;
    return std::any_of(
        const_cast<const lysc_node* const*>(atoms->snodes), end,
        [&](const lysc_node* atom) { return unread_.count(atom) != 0; });
  }

  // Leafrefs and instance identifiers, also as members of a union.
  void CheckReference(const lyd_node* node) {
    if ((node->schema->nodetype & LYD_NODE_TERM) == 0) return;
    const lysc_type* type =
        reinterpret_cast<const lysc_node_leaf*>(node->schema)->type;
    if (type->basetype == LY_TYPE_LEAFREF) {
      const auto* ref = reinterpret_cast<const lysc_type_leafref*>(type);
      if (NamesUnread(node->schema, ref->path, ref->prefixes)) return;
    } else if (!unread_.empty()) {
      return;
    }
    ClearErrors(context_);
    const char* value = lyd_get_value(node);
    if (lyd_value_validate(context_, node->schema, value,
                           std::char_traits<char>::length(value), node, nullptr,
                           nullptr) == LY_SUCCESS) {
      return;
    }
    Add(node, FirstReason(context_));
  }

  // --- The instances of the nodes of the model among siblings

  // Returns the first instance of any of these nodes.
  const lyd_node* CheckInstances(const lysc_node* schemas,
                                 const lyd_node* parent,
                                 const lyd_node* siblings) {
    const lyd_node* first = nullptr;
    for (const lysc_node* schema = schemas; schema != nullptr;
         schema = schema->next) {
      const lyd_node* found = schema->nodetype == LYS_CHOICE
                                  ? CheckChoice(*schema, parent, siblings)
                                  : CheckInstancesOf(*schema, parent, siblings);
      if (first == nullptr) first = found;
    }
    return first;
  }

  const lyd_node* CheckInstancesOf(const lysc_node& schema,
                                   const lyd_node* parent,
                                   const lyd_node* siblings) {
    const lyd_node* first = FirstOf(siblings, &schema);
    if (schema.nodetype == LYS_LIST) {
      const auto& list = reinterpret_cast<const lysc_node_list&>(schema);
      CheckCount(schema, list.min, list.max, parent, first);
      CheckUniques(list, first);
    } else if (schema.nodetype == LYS_LEAFLIST) {
      const auto& list = reinterpret_cast<const lysc_node_leaflist&>(schema);
      CheckCount(schema, list.min, list.max, parent, first);
    } else if ((schema.nodetype & (LYS_LEAF | LYS_ANYDATA)) != 0 &&
               (schema.flags & LYS_MAND_TRUE) != 0 && first == nullptr) {
      AddMissing("Mandatory node ", schema, " instance does not exist.",
                 parent);
    }
    return first;
  }

  // A missing node matters only if its conditions hold; these cannot be
  // evaluated without the node.
  void AddMissing(const std::string& before, const lysc_node& schema,
                  const std::string& after, const lyd_node* parent) {
    if (lysc_has_when(&schema) != nullptr) return;
    for (const lysc_node* node = &schema; node != nullptr;
         node = node->parent) {
      if (unread_.count(node) != 0) return;
    }
    Add(parent, before + InQuotes(schema.name) + after);
  }

  void CheckCount(const lysc_node& schema, std::uint32_t min, std::uint32_t max,
                  const lyd_node* parent, const lyd_node* first) {
    std::uint32_t count = 0;
    for (const lyd_node* node = first; node != nullptr;
         node = NextEntry(node)) {
      if (++count != max + 1 || max == UINT32_MAX) continue;
      Add(node, "Too many " + InQuotes(schema.name) + " instances.");
    }
    if (count < min) AddMissing("Too few ", schema, " instances.", parent);
  }

  void CheckUniques(const lysc_node_list& list, const lyd_node* first) {
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(list.uniques, i) { CheckUnique(list.uniques[i], first); }
  }

  void CheckUnique(lysc_node_leaf** leaves, const lyd_node* first) {
    std::map<std::string, const lyd_node*> met;
    for (const lyd_node* entry = first; entry != nullptr;
         entry = NextEntry(entry)) {
      const std::optional<std::string> values = ValuesBelow(entry, leaves);
      if (!values.has_value()) continue;
      const auto [other, is_new] = met.emplace(*values, entry);
      if (is_new) continue;
      Add(entry, "Unique data leaf(s) " + InQuotes(NamesOf(leaves)) +
                     " not satisfied in " + InQuotes(PathOf(other->second)) +
                     " and " + InQuotes(PathOf(entry)) + ".");
    }
  }

  const lyd_node* CheckChoice(const lysc_node& choice, const lyd_node* parent,
                              const lyd_node* siblings) {
    const lysc_node* used = nullptr;  // the first case with data
    const lyd_node* first = nullptr;
    for (const lysc_node* each = lysc_node_child(&choice); each != nullptr;
         each = each->next) {
      if (!HasData(*each, siblings)) continue;
      const lyd_node* found =
          CheckInstances(lysc_node_child(each), parent, siblings);
      if (used == nullptr) {
        used = each;
        first = found;
      } else {
        Add(found, "Data for both cases " + InQuotes(used->name) + " and " +
                       InQuotes(each->name) + " exist.");
      }
    }
    if (used == nullptr && (choice.flags & LYS_MAND_TRUE) != 0) {
      AddMissing("Mandatory choice ", choice, " data do not exist.", parent);
    }
    return first;
  }

  static bool HasData(const lysc_node& schema, const lyd_node* siblings) {
    if ((schema.nodetype & (LYS_CHOICE | LYS_CASE)) == 0) {
      const lyd_node* first = FirstOf(siblings, &schema);
      return first != nullptr && (first->flags & LYD_DEFAULT) == 0;
    }
    const lysc_node* child = lysc_node_child(&schema);
    while (child != nullptr && !HasData(*child, siblings)) child = child->next;
    return child != nullptr;
  }

  const ly_ctx* context_;
  const std::set<const lysc_node*>& unread_;
  std::vector<Violation> violations_;
};

}  // namespace

std::vector<Violation> FindViolations(
    const ly_ctx* context, const lyd_node* tree,
    const std::set<const lysc_node*>& unread) {
  return Checker(context, unread).Check(tree);
}

}  // namespace ipav::datastore
