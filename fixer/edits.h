// Edits of a configuration, by the data paths of its nodes.
#ifndef IPAV_FIXER_EDITS_H_
#define IPAV_FIXER_EDITS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/datastore/data_tree.h"

namespace ipav::fixer {

struct Edit {
  enum class Kind : std::uint8_t {
    kSet,      // gives the leaf the value; that of a key renames its entry
    kAdd,      // adds a leaf with the value, or an entry with this one key
    kRemove,   // the node; a key: its entry
    kRestore,  // makes the node what it is in the running configuration
  };
  Kind kind;
  std::string path;   // of the node; kAdd: of the parent
  std::string value;  // of kSet and kAdd
  std::string name;   // of the node to add
};

// The candidate with the edits; none if one of them cannot be made, or if the
// data model refuses the result.
std::optional<datastore::DataTree> Apply(const std::vector<Edit>& edits,
                                         const datastore::DataTree& running,
                                         const datastore::DataTree& candidate);

}  // namespace ipav::fixer

#endif  // IPAV_FIXER_EDITS_H_
