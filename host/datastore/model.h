// The data model: the YANG modules of a folder, with their annotations on
// validation points, tag numbers and value types. Immutable once loaded; data
// trees point into it and must not outlive it.
#ifndef IPAV_HOST_DATASTORE_MODEL_H_
#define IPAV_HOST_DATASTORE_MODEL_H_

#include <confd_lib.h>
#include <libyang/libyang.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/datastore/value_type.h"

namespace ipav::datastore {

// A location path that a validation point depends on. It leads from the point's
// node `ups` levels up, or from the root, and then down `steps`; the nodes it
// names are those of every list entry on the way down.
struct Dependency {
  std::string text;  // as written, prefixes replaced by module names
  bool absolute = false;
  std::size_t ups = 0;
  std::vector<const lysc_node*> steps;
};

// One use of a validation point in the model.
struct UseSite {
  std::string point;   // name that a plug-in registers for
  std::string opaque;  // which of its checks runs
  bool has_opaque = false;
  const lysc_node* node = nullptr;
  std::string path;        // of the node, without keys
  bool call_once = false;  // one call for a list, however many entries
  int priority = 0;        // lower runs first
  std::vector<Dependency> dependencies;  // none: runs at every commit
};

// Facts about a node that the host often needs, found once.
struct NodeFacts {
  xml_tag tag{};
  confd_vtype value_type = C_NOEXISTS;  // of a leaf
  std::vector<const lysc_node*> keys;   // of a list
  // Whether the node holds, or is, a list with a key that may have several
  // texts for one value; libyang distinguishes these.
  bool has_keys_of_many_forms = false;
  std::map<std::string_view, std::vector<const lysc_node*>> children;
};

class Model {
 public:
  // Loads every module of `yang_dir`; imported modules may also be in its
  // folder stubs. `extension_plugin` is the libyang plug-in that compiles
  // `tailf:validate`. Throws InputError.
  Model(std::string yang_dir, const std::string& extension_plugin);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  ly_ctx* context() const { return context_.get(); }

  // The facts about a node of any model.
  static const NodeFacts& FactsOf(const lysc_node& node) {
    return *static_cast<const NodeFacts*>(node.priv);
  }

  // Whether the validity of a configuration node never depends on another node,
  // except that keys are unique, and that the keys of one entry may restrict
  // each other: no other must, no when, no leafref, no unique, no mandatory
  // nodes, no choices.
  bool judges_nodes_alone() const { return judges_nodes_alone_; }

  // By priority, then in the order of the model.
  const std::vector<UseSite>& use_sites() const { return use_sites_; }

  // Number of a node's name and of its module: that of the model if it gives
  // one, else that of the host.
  xml_tag TagOf(const lysc_node& node) const;

  // Name of a tag number, null for an unknown one.
  const std::string* NameOfTag(std::uint32_t tag) const;

  // The child (of the root: null) of that name. `prefix`, a module's prefix or
  // name, may be empty if only one module has such a child. Null if there is
  // none, or several; `ambiguous` is true if there are several.
  const lysc_node* FindChild(const lysc_node* parent, std::string_view prefix,
                             std::string_view name,
                             bool* ambiguous = nullptr) const;

 private:
  struct ContextDeleter {
    void operator()(ly_ctx* context) const;
  };

  void OpenContext(const std::string& extension_plugin);
  void LoadModules();
  void NumberTags(const std::vector<const lysc_node*>& nodes);
  void FindFacts(const std::vector<const lysc_node*>& nodes);
  void FindUseSites(const std::vector<const lysc_node*>& nodes);

  std::string yang_dir_;
  std::unique_ptr<ly_ctx, ContextDeleter> context_;
  std::vector<const lys_module*> modules_;  // that may hold data
  std::vector<UseSite> use_sites_;
  std::unordered_map<std::string, std::uint32_t> tag_of_name_;
  std::unordered_map<std::uint32_t, std::string> name_of_tag_;
  std::unordered_map<const lys_module*, std::uint32_t> number_of_module_;
  std::deque<NodeFacts> facts_;  // libyang's nodes point to theirs
  bool judges_nodes_alone_ = true;
  NodeFacts root_;  // only its children are used
};

// Path of a schema node from the root, without prefixes and keys.
std::string SchemaPath(const lysc_node& node);

// The node that a dependency of the site names; null for the root.
const lysc_node* TargetOf(const UseSite& site, const Dependency& dependency);

// Its path.
std::string SchemaPath(const UseSite& site, const Dependency& dependency);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_MODEL_H_
