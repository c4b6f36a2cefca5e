// One configuration: a validated tree of libyang data nodes, with look-ups by
// hash. Immutable once made. Must not outlive its model.
#ifndef IPAV_HOST_DATASTORE_DATA_TREE_H_
#define IPAV_HOST_DATASTORE_DATA_TREE_H_

#include <libyang/libyang.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/base/stopwatch.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"
#include "host/datastore/input_text.h"
#include "host/datastore/libyang_ptr.h"
#include "host/datastore/model.h"

namespace ipav::datastore {

// The times of the steps of reading a file.
struct ReadingTimes {
  base::Duration text{};        // reading, and checks without model
  base::Duration parse{};       // text to nodes
  base::Duration validation{};  // with the data model
};

class DataTree {
 public:
  // Reads a text. Throws InputError if the model refuses it. `times`, if given,
  // receives the time that it took.
  static DataTree FromText(const Model& model, const InputText& text,
                           ReadingTimes* times = nullptr);
  // The same for a file, also for more than `max_size` bytes.
  static DataTree FromFile(const Model& model, const std::string& path,
                           std::size_t max_size = kMaxInputSize);

  // Reads only the nodes in a piece of XML; nothing if it is not XML or not
  // data of the model. Complete() adds defaults and plain containers, and
  // returns false if the model refuses the nodes.
  static std::optional<DataTree> FromPart(const Model& model,
                                          const std::string& text);
  bool Complete();

  // Gives up its nodes, for changes; the tree is not used any more.
  Nodes Release() { return std::move(tree_); }

  // Takes over these nodes, given by the first of all siblings; null: no nodes.
  // Call Complete() before use.
  static DataTree FromNodes(const Model& model, lyd_node* nodes);

  // Nodes of its own, which may be changed before they are shared.
  DataTree Copy() const;

  static DataTree Empty(const Model& model);

  const Model& model() const { return *model_; }

  // The format of the file; LYD_UNKNOWN if there was none.
  LYD_FORMAT format() const { return format_; }

  // First child of a node, or first top node for null; null if there is none.
  const lyd_node* FirstChild(const lyd_node* parent) const;

  // The only instance of a container or leaf under `parent` (null: at the top),
  // or the first entry of a list; null if there is none.
  const lyd_node* Find(const lyd_node* parent, const lysc_node& schema) const;

  // The entry of a list with these keys, as canonical texts in the order of the
  // model; null if there is none. `guess`, an entry of the list, is compared
  // first.
  const lyd_node* FindEntry(const lyd_node* parent, const lysc_node& list,
                            const std::vector<std::string>& keys) const;
  const lyd_node* FindEntry(const lyd_node* parent, const lysc_node& list,
                            const std::string_view* keys, std::size_t count,
                            const lyd_node* guess = nullptr) const;

  // Makes the indexes of all lists now, so that the copies of this process that
  // are forked have them.
  void IndexLists() const { IndexLists(tree_.get()); }

  // Entries of a list in document order.
  std::vector<const lyd_node*> Entries(const lyd_node* parent,
                                       const lysc_node& list) const;

 private:
  // The entries of one large list by their keys.
  using ListIndex = std::unordered_map<std::string, const lyd_node*>;

  explicit DataTree(const Model& model) : model_(&model) {}

  // The two steps of reading; false if the text or the data are invalid.
  bool Parse(const char* text, LYD_FORMAT format);
  bool Validate();

  const lyd_node* FindInIndex(const lyd_node* first_entry,
                              const std::string_view* keys,
                              std::size_t count) const;
  const ListIndex& IndexOf(const lyd_node* first_entry) const;
  void IndexLists(const lyd_node* siblings) const;

  const Model* model_;
  LYD_FORMAT format_ = LYD_UNKNOWN;
  Nodes tree_;
  // By the first entry of a list; made at the first look-up by key.
  mutable std::unordered_map<const lyd_node*, ListIndex> indexes_;
};

// The next entry of the list, or null after the last one.
const lyd_node* NextEntry(const lyd_node* entry);

// Canonical texts of an entry's keys in the order of the model, as FindEntry()
// compares them.
std::vector<std::string> KeysOf(const lyd_node* entry);

// The canonical form of `text` as a value of `leaf`; unchanged if it is not a
// value of that leaf.
std::string CanonicalText(const lysc_node& leaf, const std::string& text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_DATA_TREE_H_
