#include "host/datastore/data_tree.h"

#include <arpa/inet.h>
#include <libyang/plugins_types.h>

#include <algorithm>
#include <cctype>
#include <new>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/datastore/libyang_error.h"
#include "host/datastore/well_formed.h"
#include "host/source/input_errors.h"
#include "host/source/source_tree.h"

namespace ipav::datastore {

namespace {

// Below this many entries a walk is faster than making an index.
constexpr std::size_t kWalkedEntries = 8;

// This many children are compared before libyang's hash table is used.
constexpr std::size_t kWalkedChildren = 16;

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
    return static_cast<char>(std::tolower(c));
  });
  return text;
}

// Canonical text of "address/length".
std::string CanonicalPrefix(int family, const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return text;
  unsigned char address[sizeof(in6_addr)];
  char printed[INET6_ADDRSTRLEN];
  if (inet_pton(family, text.substr(0, slash).c_str(), address) != 1 ||
      inet_ntop(family, address, printed, sizeof(printed)) == nullptr) {
    return text;
  }
  return printed + text.substr(slash);
}

// `text` in the form that all texts of one value share, for the value types
// that are plain strings for libyang.
std::string ByValueType(confd_vtype type, std::string text) {
  switch (type) {
    case C_BINARY:
      return LowerCase(std::move(text));
    case C_IPV4_AND_PLEN:
      return CanonicalPrefix(AF_INET, text);
    case C_IPV6_AND_PLEN:
      return CanonicalPrefix(AF_INET6, text);
    default:
      return text;
  }
}

bool IsUnsigned(const lysc_type& type) {
  return type.basetype >= LY_TYPE_UINT8 && type.basetype <= LY_TYPE_UINT64;
}

// Whether a text is an unsigned number in its canonical form (RFC 7950, section
// 9.2.2).
bool IsPlainNumber(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos &&
         !text.empty() && (text[0] != '0' || text.size() == 1);
}

bool IsSmall(const lyd_node* first_entry) {
  const lyd_node* entry = first_entry;
  for (std::size_t i = 0; i < kWalkedEntries; ++i) {
    entry = NextEntry(entry);
    if (entry == nullptr) return true;
  }
  return false;
}

bool HasKeys(const lyd_node* entry, const std::string_view* keys,
             std::size_t count) {
  if (count != Model::FactsOf(*entry->schema).keys.size()) return false;
  const lyd_node* leaf = lyd_child(entry);
  return std::all_of(keys, keys + count, [&](std::string_view key) {
    const lysc_node& schema = *leaf->schema;
    const std::string_view text =
        lyd_get_value(std::exchange(leaf, leaf->next));
    if (text == key) return true;  // whether it is canonical or not
    const confd_vtype type = Model::FactsOf(schema).value_type;
    return HasManyForms(type) && ByValueType(type, std::string(text)) == key;
  });
}

// Keys as one text. YANG text cannot contain NUL (RFC 7950, section 14:
// yang-string).
void AppendKey(std::string_view key, std::string* keys) {
  keys->append(key).append(1, '\0');
}

std::string JoinedKeys(const lyd_node* entry) {
  std::string keys;
  for (const lyd_node* key = lyd_child(entry);
       key != nullptr && lysc_is_key(key->schema); key = key->next) {
    const confd_vtype type = Model::FactsOf(*key->schema).value_type;
    AppendKey(ByValueType(type, lyd_get_value(key)), &keys);
  }
  return keys;
}

// The entries below are equal although libyang distinguishes them: it compares
// keys as texts, and one value may have several texts (fe80::1/64, FE80::1/64).

// The first entry of a list with the keys of an entry before it; null if there
// is none.
const lyd_node* FindDuplicateEntry(const lyd_node* first_entry) {
  if (NextEntry(first_entry) == nullptr) return nullptr;
  std::unordered_set<std::string> all_keys;
  for (const lyd_node* entry = first_entry; entry != nullptr;
       entry = NextEntry(entry)) {
    if (!all_keys.insert(JoinedKeys(entry)).second) return entry;
  }
  return nullptr;
}

bool HasKeyOfManyForms(const lysc_node& list) {
  const auto& keys = Model::FactsOf(list).keys;
  return std::any_of(keys.begin(), keys.end(), [](const lysc_node* key) {
    return HasManyForms(Model::FactsOf(*key).value_type);
  });
}

// An entry, among the siblings or below them, with the keys of an entry before
// it. Null if there is none.
const lyd_node* FindDuplicate(const lyd_node* siblings) {
  const lysc_node* list = nullptr;
  for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
    if (!Model::FactsOf(*node->schema).has_keys_of_many_forms) continue;
    const bool is_first = node->schema != list;
    list = node->schema;
    const lyd_node* duplicate = nullptr;
    if (is_first && list->nodetype == LYS_LIST && HasKeyOfManyForms(*list)) {
      duplicate = FindDuplicateEntry(node);
    }
    if (duplicate == nullptr) duplicate = FindDuplicate(lyd_child(node));
    if (duplicate != nullptr) return duplicate;
  }
  return nullptr;
}

}  // namespace

DataTree DataTree::FromFile(const Model& model, const std::string& path,
                            std::size_t max_size) {
  return FromText(model, ReadText(path, max_size));
}

DataTree DataTree::FromText(const Model& model, const InputText& text,
                            ReadingTimes* times) {
  base::Stopwatch watch;
  DataTree result(model);
  result.format_ = text.format;
  const bool is_parsed = result.Parse(text.data().data(), text.format);
  if (is_parsed) RequireWellFormed(text);
  if (!is_parsed && text.format == LYD_XML) {
    RequireWellFormed(text);
    InputText other = text;
    other.bytes = source::WithoutLeadingComments(text.bytes, text.start);
    if (other.bytes != text.bytes) return FromText(model, other, times);
  }
  const base::Duration parse = watch.Lap();
  if (!is_parsed || !result.Complete()) {
    // The search for all errors needs a text that is well-formed.
    RequireWellFormed(text);
    throw source::FindInputErrors(model, text);
  }
  if (times != nullptr) {
    times->parse = parse;
    times->validation = watch.Lap();
  }
  return result;
}

std::optional<DataTree> DataTree::FromPart(const Model& model,
                                           const std::string& text) {
  DataTree result(model);
  if (text.empty()) return result;
  if (!result.Parse(text.c_str(), LYD_XML)) return std::nullopt;
  return result;
}

DataTree DataTree::FromNodes(const Model& model, lyd_node* nodes) {
  DataTree result(model);
  result.tree_.reset(nodes);
  return result;
}

DataTree DataTree::Copy() const {
  lyd_node* copy = nullptr;
  if (tree_ != nullptr &&
      lyd_dup_siblings(tree_.get(), nullptr,
                       LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS,
                       &copy) != LY_SUCCESS) {
    throw std::bad_alloc();
  }
  return FromNodes(*model_, copy);
}

bool DataTree::Complete() {
  return Validate() && FindDuplicate(tree_.get()) == nullptr;
}

bool DataTree::Parse(const char* text, LYD_FORMAT format) {
  lyd_node* tree = nullptr;
  ClearErrors(model_->context());
  const LY_ERR error =
      lyd_parse_data_mem(model_->context(), text, format,
                         LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &tree);
  tree_.reset(tree);
  return error == LY_SUCCESS;
}

bool DataTree::Validate() {
  lyd_node* tree = tree_.release();
  const LY_ERR error = lyd_validate_all(&tree, model_->context(), 0, nullptr);
  tree_.reset(tree);
  return error == LY_SUCCESS;
}

DataTree DataTree::Empty(const Model& model) {
  DataTree result(model);
  lyd_node* tree = nullptr;
  // Plain containers exist in every configuration.
  const LY_ERR error = lyd_validate_all(&tree, model.context(), 0, nullptr);
  result.tree_.reset(tree);
  if (error != LY_SUCCESS) {
    throw FirstError(model.context(), "empty configuration");
  }
  return result;
}

const lyd_node* DataTree::FirstChild(const lyd_node* parent) const {
  return parent == nullptr ? tree_.get() : lyd_child(parent);
}

const lyd_node* DataTree::Find(const lyd_node* parent,
                               const lysc_node& schema) const {
  // Most nodes have few children: a walk is faster than libyang's hash table.
  const lyd_node* node = FirstChild(parent);
  for (std::size_t i = 0; i < kWalkedChildren; ++i) {
    if (node == nullptr || node->schema == &schema) return node;
    node = node->next;
  }
  lyd_node* found = nullptr;
  if (lyd_find_sibling_val(FirstChild(parent), &schema, nullptr, 0, &found) !=
      LY_SUCCESS) {
    return nullptr;
  }
  return found;
}

const lyd_node* DataTree::FindEntry(
    const lyd_node* parent, const lysc_node& list,
    const std::vector<std::string>& keys) const {
  const std::vector<std::string_view> views(keys.begin(), keys.end());
  return FindEntry(parent, list, views.data(), views.size());
}

const lyd_node* DataTree::FindEntry(const lyd_node* parent,
                                    const lysc_node& list,
                                    const std::string_view* keys,
                                    std::size_t count,
                                    const lyd_node* guess) const {
  if (guess != nullptr && HasKeys(guess, keys, count)) return guess;
  const lyd_node* entry = Find(parent, list);
  if (entry == nullptr) return nullptr;
  if (!IsSmall(entry)) return FindInIndex(entry, keys, count);
  while (entry != nullptr && !HasKeys(entry, keys, count)) {
    entry = NextEntry(entry);
  }
  return entry;
}

const lyd_node* DataTree::FindInIndex(const lyd_node* first_entry,
                                      const std::string_view* keys,
                                      std::size_t count) const {
  std::string joined;
  for (std::size_t i = 0; i < count; ++i) AppendKey(keys[i], &joined);
  const ListIndex& index = IndexOf(first_entry);
  const auto found = index.find(joined);
  return found == index.end() ? nullptr : found->second;
}

const DataTree::ListIndex& DataTree::IndexOf(
    const lyd_node* first_entry) const {
  const auto [slot, is_new] = indexes_.try_emplace(first_entry);
  if (is_new) {
    for (const lyd_node* entry = first_entry; entry != nullptr;
         entry = NextEntry(entry)) {
      slot->second.emplace(JoinedKeys(entry), entry);
    }
  }
  return slot->second;
}

void DataTree::IndexLists(const lyd_node* siblings) const {
  const lysc_node* before = nullptr;
  for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
    const bool is_first = node->schema != before;
    before = node->schema;
    if (is_first && before->nodetype == LYS_LIST && !IsSmall(node)) {
      IndexOf(node);
    }
    IndexLists(lyd_child(node));
  }
}

std::vector<const lyd_node*> DataTree::Entries(const lyd_node* parent,
                                               const lysc_node& list) const {
  std::vector<const lyd_node*> entries;
  for (const lyd_node* entry = Find(parent, list); entry != nullptr;
       entry = NextEntry(entry)) {
    entries.push_back(entry);
  }
  return entries;
}

const lyd_node* NextEntry(const lyd_node* entry) {
  // The entries of one list are adjacent among their siblings.
  const lyd_node* next = entry->next;
  return next != nullptr && next->schema == entry->schema ? next : nullptr;
}

std::vector<std::string> KeysOf(const lyd_node* entry) {
  std::vector<std::string> keys;
  for (const lyd_node* key = lyd_child(entry);
       key != nullptr && lysc_is_key(key->schema); key = key->next) {
    keys.push_back(ByValueType(Model::FactsOf(*key->schema).value_type,
                               lyd_get_value(key)));
  }
  return keys;
}

std::string CanonicalText(const lysc_node& leaf, const std::string& text) {
  const confd_vtype value_type = Model::FactsOf(leaf).value_type;
  const lysc_type& type = *reinterpret_cast<const lysc_node_leaf&>(leaf).type;
  // For libyang, a string is its own canonical form (RFC 7950, section 9.4.2).
  if (type.plugin->store == lyplg_type_store_string &&
      ByValueType(value_type, text) == text) {
    return text;
  }
  if (IsUnsigned(type) && IsPlainNumber(text)) return text;
  const ly_ctx* context = leaf.module->ctx;
  const char* canonical = nullptr;
  if (lyd_value_validate(nullptr, &leaf, text.c_str(), text.size(), nullptr,
                         nullptr, &canonical) != LY_SUCCESS) {
    return text;
  }
  std::string result = ByValueType(value_type, canonical);
  lydict_remove(context, canonical);
  return result;
}

}  // namespace ipav::datastore
