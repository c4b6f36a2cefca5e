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
#include <vector>

#include "host/base/stopwatch.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_file.h"
#include "host/datastore/input_text.h"
#include "host/datastore/libyang_ptr.h"
#include "host/datastore/model.h"

namespace ipav::datastore {

// Where the time of reading a file went.
struct ReadingTimes {
  base::Duration text{};        // the file itself, and what is no data at all
  base::Duration parse{};       // text to nodes
  base::Duration validation{};  // by the data model
};

class DataTree {
 public:
  // A text that the model accepts. Throws InputError. `times`, if given, gets
  // the time that it took.
  static DataTree FromText(const Model& model, const InputText& text,
                           ReadingTimes* times = nullptr);
  // The same for a file, also for more than `max_size` bytes.
  static DataTree FromFile(const Model& model, const std::string& path,
                           std::size_t max_size = kMaxInputSize);

  // Just what stands in a piece of XML; nothing where it is none, or no data of
  // the model. Complete() adds defaults and plain containers, and is false
  // where the model refuses what is there.
  static std::optional<DataTree> FromPart(const Model& model,
                                          const std::string& text);
  bool Complete();

  // Just these nodes, of which the first is the first of all; the tree owns
  // them. Null: none. Complete() does the rest.
  static DataTree FromNodes(const Model& model, lyd_node* nodes);

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
  // null when there is none. Quickest for the entry that was found last, and
  // for the next one.
  const lyd_node* FindEntry(const lyd_node* parent, const lysc_node& list,
                            const std::vector<std::string>& keys) const;
  const lyd_node* FindEntry(const lyd_node* parent, const lysc_node& list,
                            const std::string_view* keys,
                            std::size_t count) const;

  // Entries of a list in document order.
  std::vector<const lyd_node*> Entries(const lyd_node* parent,
                                       const lysc_node& list) const;

 private:
  // The entries of one large list by the hash of their keys.
  using ListIndex = std::unordered_multimap<std::size_t, const lyd_node*>;

  explicit DataTree(const Model& model) : model_(&model) {}

  // The two steps of reading; false where the text or the data are no good.
  bool Parse(const char* text, LYD_FORMAT format);
  bool Validate();

  // Why one of them failed. libyang knows the line of what the model refuses
  // only where it does both at once.
  InputError ErrorOf(const InputText& text);

  const lyd_node* FindInIndex(const lyd_node* first_entry,
                              const std::string_view* keys,
                              std::size_t count) const;
  const ListIndex& IndexOf(const lyd_node* first_entry) const;

  const Model* model_;
  LYD_FORMAT format_ = LYD_UNKNOWN;
  Nodes tree_;
  mutable const lyd_node* last_entry_ = nullptr;  // that was found by its keys
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
