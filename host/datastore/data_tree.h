// One configuration: a validated tree of libyang data nodes, with look-ups by
// hash. Immutable once made. Must not outlive its model.
#ifndef IPAV_HOST_DATASTORE_DATA_TREE_H_
#define IPAV_HOST_DATASTORE_DATA_TREE_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "datastore/input_file.h"
#include "datastore/model.h"

namespace ipav::datastore {

class DataTree {
 public:
  // Reads a file of YANG data, XML (RFC 7950) or JSON (RFC 7951), told apart by
  // their first character. Throws InputError, also for more than `max_size`
  // bytes.
  static DataTree FromFile(const Model& model, const std::string& path,
                           std::size_t max_size = kMaxInputSize);
  static DataTree Empty(const Model& model);

  const Model& model() const { return *model_; }

  // That of the file; LYD_UNKNOWN where there was none.
  LYD_FORMAT format() const { return format_; }

  // First child of a node, or first top node for null; null when there is none.
  const lyd_node* FirstChild(const lyd_node* parent) const;

  // The only instance of a container or leaf under `parent` (null: at the top),
  // or the first entry of a list; null when there is none.
  const lyd_node* Find(const lyd_node* parent, const lysc_node& schema) const;

  // The entry of a list with these keys, as text in the order of the model;
  // null when there is none.
  const lyd_node* FindEntry(const lyd_node* parent, const lysc_node& list,
                            const std::vector<std::string>& keys) const;

  // Entries of a list in document order.
  std::vector<const lyd_node*> Entries(const lyd_node* parent,
                                       const lysc_node& list) const;

 private:
  struct TreeDeleter {
    void operator()(lyd_node* tree) const { lyd_free_all(tree); }
  };

  // The entries of one large list by the text of their keys.
  using ListIndex = std::unordered_map<std::string, const lyd_node*>;

  explicit DataTree(const Model& model) : model_(&model) {}
  const ListIndex& IndexOf(const lyd_node* first_entry) const;

  const Model* model_;
  LYD_FORMAT format_ = LYD_UNKNOWN;
  std::unique_ptr<lyd_node, TreeDeleter> tree_;
  // Made when a list is first looked into by key; by its first entry.
  mutable std::unordered_map<const lyd_node*, ListIndex> indexes_;
};

// The next entry of the list, or null behind the last one.
const lyd_node* NextEntry(const lyd_node* entry);

// Texts of an entry's keys in the order of the model, in the one form that
// FindEntry() compares.
std::vector<std::string> KeysOf(const lyd_node* entry);

// `text` as the value of `leaf` is written canonically; unchanged where it is
// no value of that leaf.
std::string CanonicalText(const lysc_node& leaf, const std::string& text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_DATA_TREE_H_
