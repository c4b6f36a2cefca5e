// Changes of single nodes of a configuration.
#ifndef IPAV_HOST_ENGINE_EDITS_H_
#define IPAV_HOST_ENGINE_EDITS_H_

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"

namespace ipav::engine {

struct Edit {
  // The data path of the node as confd::PrintPath() writes it:
  // /container/list{key}/leaf.
  std::string path;
  // What a leaf becomes; empty for a new container or list entry. None deletes
  // the node.
  std::optional<std::string> value;
};

// An edit names no node, or the data model refuses what it leads to.
class EditError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The tree after the edits, made in their order. Throws EditError. `leaves`, if
// given, receives the leaves that were set, if nothing else has changed.
datastore::DataTree Edited(datastore::DataTree tree,
                           const std::vector<Edit>& edits,
                           datastore::Leaves* leaves = nullptr);

// The edits as one text, and back. Throws EditError for a text that no
// configuration may hold.
std::string Encode(const std::vector<Edit>& edits);
std::vector<Edit> Decode(const std::string& text);

}  // namespace ipav::engine

#endif  // IPAV_HOST_ENGINE_EDITS_H_
