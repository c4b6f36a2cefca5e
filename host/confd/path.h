// Path texts of the daemon's interface: their printf-like format, their steps,
// and the nodes that they name.
#ifndef IPAV_HOST_CONFD_PATH_H_
#define IPAV_HOST_CONFD_PATH_H_

#include <libyang/libyang.h>

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/datastore/data_tree.h"

namespace ipav::confd {

// One step of a path.
struct PathStep {
  std::string prefix;  // empty: not given
  std::string name;
  std::vector<std::string> keys;  // empty: not given
};

// A node of the model, and its instance in one configuration.
struct Target {
  const lysc_node* schema = nullptr;
  const lyd_node* parent = nullptr;  // null: the root, or absent as well
  const lyd_node* node = nullptr;    // null: absent; list: first entry
  bool has_keys = false;             // whether the last step has keys
};

// Expands %s, %d and %u; any other conversion, a flag or a width is refused
// (ConfdError, CONFD_ERR_BADPATH), as is a null text.
std::string FormatPath(const char* format, va_list args);
// The same into a text whose memory is used again.
void FormatPath(const char* format, va_list args, std::string* path);

// Splits "/a/pfx:b{k1 "k 2"}/c". Throws ConfdError (CONFD_ERR_BADPATH).
std::vector<PathStep> ParsePath(const std::string& path);

// Finds what a path names. A path unknown to the model, an ambiguous first
// step or a wrong number of keys is CONFD_ERR_BADPATH; an absent node is not an
// error.
Target Resolve(const datastore::DataTree& tree,
               const std::vector<PathStep>& path);

// The entry of a list with these keys in any of their forms, such as 007 for 7.
// Null if there is none. `guess`, an entry of the list, is compared first.
const lyd_node* FindEntry(const datastore::DataTree& tree,
                          const lyd_node* parent, const lysc_node& list,
                          const std::string_view* keys, std::size_t count,
                          const lyd_node* guess = nullptr);

// The nodes of the model that the steps name. Throws as Resolve() does.
std::vector<const lysc_node*> ResolveSchema(const datastore::Model& model,
                                            const std::vector<PathStep>& path);

// Resolves paths of one tree, one after another. It is fast for a path that
// begins like the previous one: shared steps are neither parsed nor looked up
// again. Most paths of a plug-in share steps, such as the leaves of one entry;
// where they end, the next entry follows.
class PathMemo {
 public:
  // Borrows the tree.
  explicit PathMemo(const datastore::DataTree& tree) : tree_(tree) {}

  // Equals Resolve(tree, ParsePath(path)), including what it throws.
  Target Find(const std::string& path);

 private:
  struct Step {
    std::size_t end;  // of its text
    Target target;
  };

  const lysc_node& SchemaOf(const lysc_node* parent, std::string_view name);

  const datastore::DataTree& tree_;
  // The nodes of the model below one of them, by their names in paths.
  std::unordered_map<const lysc_node*,
                     std::vector<std::pair<std::string, const lysc_node*>>>
      names_;
  std::string path_;         // of the steps
  std::vector<Step> steps_;  // remembered, from the root
};

// Path of a data node as an operator writes it: keys in braces, quoted if
// necessary, no prefixes. ParsePath() reads it back.
std::string PrintPath(const lyd_node* node);

// The same for a node that has no instance below that parent (null: the root).
std::string PrintPath(const lyd_node* parent, const lysc_node& schema);

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_PATH_H_
