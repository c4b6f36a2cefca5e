#include "host/datastore/model.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <utility>

#include "host/datastore/extension.h"
#include "host/datastore/libyang_error.h"
#include "host/datastore/libyang_ptr.h"
#include "host/datastore/use_site.h"

namespace ipav::datastore {

namespace {

namespace fs = std::filesystem;

// libyang keeps an added plug-in as long as any context lives; a plug-in that
// is added twice runs twice.
int g_contexts = 0;
std::string g_extension_plugin;

// Names of the modules in the folder, sorted, so that the order of the use
// sites does not depend on the file system.
std::vector<std::string> ModuleNames(const std::string& yang_dir) {
  std::error_code error;
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(yang_dir, error)) {
    if (entry.path().extension() == ".yang") {
      // A file name may end in the revision: name@2024-01-01.yang.
      const std::string stem = entry.path().stem().string();
      names.push_back(stem.substr(0, stem.find('@')));
    }
  }
  if (error) throw InputError(yang_dir, error.message());
  if (names.empty()) throw InputError(yang_dir, "no YANG module in here");
  std::sort(names.begin(), names.end());
  return names;
}

// The module that could not be parsed while `name` was loaded: it or one that
// it imports. libyang records this after the error itself.
std::string FailedModule(const ly_ctx* context, const std::string& name) {
  const std::string before = "Parsing module \"";
  for (const ly_err_item* error = ly_err_first(context); error != nullptr;
       error = error->next) {
    const std::string text = error->msg;
    if (text.rfind(before, 0) != 0) continue;
    const std::size_t end = text.find('"', before.size());
    return text.substr(before.size(), end - before.size());
  }
  return name;
}

std::string FileOf(const std::string& yang_dir, const std::string& module) {
  std::string file = yang_dir + "/" + module + ".yang";
  const std::string stub = yang_dir + "/stubs/" + module + ".yang";
  return !fs::exists(file) && fs::exists(stub) ? stub : file;
}

LY_ERR Append(lysc_node* node, void* nodes, ly_bool* /*skip_children*/) {
  static_cast<std::vector<const lysc_node*>*>(nodes)->push_back(node);
  return LY_SUCCESS;
}

// The modules with nodes that may hold data, in the order of loading.
std::vector<const lys_module*> ImplementedModules(const ly_ctx* context) {
  std::vector<const lys_module*> modules;
  std::uint32_t index = 0;
  while (const lys_module* module = ly_ctx_get_module_iter(context, &index)) {
    if (module->implemented != 0 && module->compiled != nullptr) {
      modules.push_back(module);
    }
  }
  return modules;
}

// Every node of the model in the model's order, parents first.
std::vector<const lysc_node*> NodesOf(
    const std::vector<const lys_module*>& modules) {
  std::vector<const lysc_node*> nodes;
  for (const lys_module* module : modules) {
    lysc_module_dfs_full(module, Append, &nodes);
  }
  return nodes;
}

// The number of a text like 0x1412343f; 0 for any other text.
std::uint32_t TagNumber(std::string_view text) {
  if (text.substr(0, 2) != "0x") return 0;
  std::uint32_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + 2, end, number, 16);
  return error == std::errc() && stop == end ? number : 0;
}

// Adds the children of a node, or the top nodes of a module.
void CollectChildren(const lysc_node* parent, const lysc_module* top,
                     NodeFacts* facts) {
  const lysc_node* node = nullptr;
  while ((node = lys_getnext(node, parent, top, 0)) != nullptr) {
    facts->children[node->name].push_back(node);
  }
}

bool DependsOnOthers(const lysc_type& type) {
  if (type.basetype == LY_TYPE_LEAFREF || type.basetype == LY_TYPE_INST) {
    return true;
  }
  if (type.basetype != LY_TYPE_UNION) return false;
  const auto& members = reinterpret_cast<const lysc_type_union&>(type).types;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(members, i) {
    if (DependsOnOthers(*members[i])) return true;
  }
  return false;
}

// Whether the restriction of a key looks only at keys of the same entry.
bool LooksAtKeysOnly(const lysc_must& must, const lysc_node& key) {
  // An axis such as preceding-sibling.
  if (std::strstr(lyxp_get_expr(must.cond), "::") != nullptr) return false;
  ly_set* nodes = nullptr;
  const LY_ERR error = lys_find_expr_atoms(
      &key, key.module, must.cond, must.prefixes, LYS_FIND_XP_SCHEMA, &nodes);
  const NodeSet owned(nodes);
  if (error != LY_SUCCESS) return false;
  const auto is_in_entry = [&](const lysc_node* node) {
    return node == key.parent ||
           (lysc_is_key(node) && node->parent == key.parent);
  };
  return std::all_of(nodes->snodes, nodes->snodes + nodes->count, is_in_entry);
}

bool IsJudgedWithKeys(const lysc_node& key) {
  const lysc_must* musts = lysc_node_musts(&key);
  // At the top, no node on the way from one entry to another shows that the
  // expression leaves the entry.
  if (musts != nullptr && key.parent->parent == nullptr) return false;
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(musts, i) {
    if (!LooksAtKeysOnly(musts[i], key)) return false;
  }
  return true;
}

// Whether the node can be validated without looking at other nodes, except that
// the keys of an entry are validated together.
bool IsJudgedAlone(const lysc_node* node) {
  constexpr std::uint16_t kPlain =
      LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST;
  if ((node->flags & LYS_CONFIG_R) != 0) return true;
  if (lysc_is_key(node)) return IsJudgedWithKeys(*node);
  if ((node->nodetype & kPlain) == 0 || (node->flags & LYS_MAND_TRUE) != 0 ||
      lysc_node_musts(node) != nullptr || lysc_node_when(node) != nullptr) {
    return false;
  }
  if (node->nodetype == LYS_LIST) {
    const auto& list = *reinterpret_cast<const lysc_node_list*>(node);
    return list.uniques == nullptr && list.min == 0 && list.max == UINT32_MAX &&
           (list.flags & LYS_KEYLESS) == 0;
  }
  if (node->nodetype == LYS_LEAFLIST) {
    const auto& list = *reinterpret_cast<const lysc_node_leaflist*>(node);
    if (list.min != 0 || list.max != UINT32_MAX) return false;
  }
  return node->nodetype == LYS_CONTAINER ||
         !DependsOnOthers(*reinterpret_cast<const lysc_node_leaf*>(node)->type);
}

NodeFacts* MutableFacts(const lysc_node& node) {
  return static_cast<NodeFacts*>(node.priv);
}

// Records in the parent what is known of the node: whether it is a key, and
// keys with several texts at or below it. The children of the node must be
// done.
void MarkKeys(const lysc_node* node) {
  if (node->parent == nullptr) return;
  NodeFacts* parent = MutableFacts(*node->parent);
  if (parent == nullptr) return;  // of an operation: no data
  const NodeFacts* facts = MutableFacts(*node);
  parent->has_keys_of_many_forms |= facts->has_keys_of_many_forms;
  if (!lysc_is_key(node)) return;
  parent->keys.insert(parent->keys.begin(), node);
  parent->has_keys_of_many_forms |= HasManyForms(facts->value_type);
}

}  // namespace

void Model::ContextDeleter::operator()(ly_ctx* context) const {
  ly_ctx_destroy(context);
  --g_contexts;
}

Model::Model(std::string yang_dir, const std::string& extension_plugin)
    : yang_dir_(std::move(yang_dir)) {
  ly_log_options(LY_LOSTORE);  // nothing on standard error
  OpenContext(extension_plugin);
  LoadModules();

  const std::vector<const lysc_node*> nodes = NodesOf(modules_);
  NumberTags(nodes);
  FindFacts(nodes);
  FindUseSites(nodes);
}

void Model::OpenContext(const std::string& extension_plugin) {
  ly_ctx* context = nullptr;
  if (ly_ctx_new(nullptr, LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD,
                 &context) != LY_SUCCESS) {
    throw InputError(yang_dir_, "the YANG library does not start");
  }
  ++g_contexts;
  context_.reset(context);
  // Not by ly_ctx_new(), which would split the path at its colons.
  if (ly_ctx_set_searchdir(context, yang_dir_.c_str()) != LY_SUCCESS) {
    throw InputError(yang_dir_, "cannot be searched for YANG modules");
  }

  if (g_contexts == 1 || extension_plugin != g_extension_plugin) {
    if (lyplg_add(extension_plugin.c_str()) != LY_SUCCESS) {
      throw InputError(extension_plugin, "not a plug-in of the YANG library");
    }
    g_extension_plugin = extension_plugin;
  }
  // Optional: a model may import nothing but standard modules.
  static_cast<void>(
      ly_ctx_set_searchdir(context, (yang_dir_ + "/stubs").c_str()));
}

void Model::LoadModules() {
  for (const std::string& name : ModuleNames(yang_dir_)) {
    ClearErrors(context());
    if (ly_ctx_load_module(context(), name.c_str(), nullptr, nullptr) ==
        nullptr) {
      throw FirstError(context(),
                       FileOf(yang_dir_, FailedModule(context(), name)));
    }
  }
  modules_ = ImplementedModules(context());
}

void Model::NumberTags(const std::vector<const lysc_node*>& nodes) {
  // 1. Use the numbers that the model gives.
  for (const lysc_node* node : nodes) {
    const lysc_ext_instance* given =
        FindExtension(node->exts, kOwnExtensions, "tag-number");
    if (given == nullptr) continue;

    const std::uint32_t number = TagNumber(given->argument);
    const auto [tag, new_name] = tag_of_name_.emplace(node->name, number);
    const auto [name, new_tag] = name_of_tag_.emplace(number, node->name);
    if (number == 0 || tag->second != number || name->second != node->name) {
      throw InputError(yang_dir_,
                       std::string("tag-number ") + given->argument + " of " +
                           SchemaPath(*node) +
                           " is no number, zero or stands for two names");
    }
  }

  // 2. Give all others a number of the host.
  std::uint32_t next = 1;
  for (const lysc_node* node : nodes) {
    if (tag_of_name_.count(node->name) != 0) continue;
    while (name_of_tag_.count(next) != 0) ++next;
    tag_of_name_.emplace(node->name, next);
    name_of_tag_.emplace(next, node->name);
  }
  for (const lysc_node* node : nodes) {
    number_of_module_.emplace(
        node->module, static_cast<std::uint32_t>(number_of_module_.size() + 1));
  }
}

void Model::FindFacts(const std::vector<const lysc_node*>& nodes) {
  for (const lys_module* module : modules_) {
    CollectChildren(nullptr, module->compiled, &root_);
  }
  for (const lysc_node* node : nodes) {
    judges_nodes_alone_ = judges_nodes_alone_ && IsJudgedAlone(node);
    NodeFacts& facts = facts_.emplace_back();
    // This member is for the user of libyang.
    const_cast<lysc_node*>(node)->priv = &facts;
    facts.tag = {tag_of_name_.at(node->name),
                 number_of_module_.at(node->module)};
    if ((node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0) {
      // The members that are read have the same offset in both structures.
      facts.value_type =
          ValueTypeOf(*reinterpret_cast<const lysc_node_leaf&>(*node).type);
    } else {
      CollectChildren(node, nullptr, &facts);
    }
  }
  // Children come after their parents in `nodes`: go from the last to the
  // first.
  for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) {
    MarkKeys(*node);
  }
}

void Model::FindUseSites(const std::vector<const lysc_node*>& nodes) {
  for (const lysc_node* node : nodes) {
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(node->exts, i) {
      if (IsExtension(node->exts[i], kPlatformExtensions, "validate")) {
        use_sites_.push_back(
            MakeUseSite(*this, *node, node->exts[i], yang_dir_));
      }
    }
  }
  std::stable_sort(use_sites_.begin(), use_sites_.end(),
                   [](const UseSite& a, const UseSite& b) {
                     return a.priority < b.priority;
                   });
}

xml_tag Model::TagOf(const lysc_node& node) const { return FactsOf(node).tag; }

const std::string* Model::NameOfTag(std::uint32_t tag) const {
  const auto found = name_of_tag_.find(tag);
  return found == name_of_tag_.end() ? nullptr : &found->second;
}

const lysc_node* Model::FindChild(const lysc_node* parent,
                                  std::string_view prefix,
                                  std::string_view name,
                                  bool* ambiguous) const {
  const NodeFacts& facts = parent == nullptr ? root_ : FactsOf(*parent);
  const lysc_node* found = nullptr;
  std::size_t count = 0;
  const auto children = facts.children.find(name);
  if (children != facts.children.end()) {
    for (const lysc_node* child : children->second) {
      const lys_module& module = *child->module;
      if (prefix.empty() || prefix == module.prefix || prefix == module.name) {
        found = child;
        ++count;
      }
    }
  }
  if (ambiguous != nullptr) *ambiguous = count > 1;
  return count == 1 ? found : nullptr;
}

std::string SchemaPath(const lysc_node& node) {
  std::string path;
  for (const lysc_node* step = &node; step != nullptr;
       step = lysc_data_parent(step)) {
    path.insert(0, std::string("/") + step->name);
  }
  return path;
}

const lysc_node* TargetOf(const UseSite& site, const Dependency& dependency) {
  if (!dependency.steps.empty()) return dependency.steps.back();
  if (dependency.absolute) return nullptr;
  const lysc_node* node = site.node;
  for (std::size_t i = 0; i < dependency.ups && node != nullptr; ++i) {
    node = lysc_data_parent(node);
  }
  return node;
}

std::string SchemaPath(const UseSite& site, const Dependency& dependency) {
  const lysc_node* node = TargetOf(site, dependency);
  return node == nullptr ? "/" : SchemaPath(*node);
}

}  // namespace ipav::datastore
