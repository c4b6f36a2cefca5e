#include "datastore/data_tree.h"

#include <arpa/inet.h>
#include <iconv.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>
#include <unordered_set>
#include <vector>

#include "datastore/libyang_error.h"

namespace ipav::datastore {

namespace {

// Below this many entries a walk is faster than making an index.
constexpr std::size_t kWalkedEntries = 8;

// As many children are walked before libyang's hash is asked.
constexpr std::size_t kWalkedChildren = 16;

// Stands between keys in an index; YANG text cannot contain it (RFC 7950,
// section 14: yang-string).
constexpr char kKeySeparator = '\0';

constexpr char kBlanks[] = " \t\r\n";

// Newlines in front of a place.
unsigned long LinesBefore(const std::string& text, std::size_t place) {
  return static_cast<unsigned long>(
      std::count(text.data(), text.data() + place, '\n'));
}

// Where the text starts behind a byte order mark and blanks, which libyang
// either refuses or counts twice.
std::size_t StartOf(const std::string& text, const std::string& path) {
  const std::size_t mark = text.rfind("\xef\xbb\xbf", 0) == 0 ? 3 : 0;
  const std::size_t start = text.find_first_not_of(kBlanks, mark);
  if (start == std::string::npos) throw InputError(path, "is empty");
  return start;
}

LYD_FORMAT FormatOf(const std::string& text, std::size_t start,
                    const std::string& path) {
  if (text[start] == '<') return LYD_XML;
  if (text[start] == '{' || text[start] == '[') return LYD_JSON;
  throw InputError(path, LinesBefore(text, start) + 1, "neither XML nor JSON");
}

// Whether these are ASCII without control characters but tab and line ends, as
// nearly all of every text is.
bool ArePlain(const char* begin, const char* end) {
  // In bytes and without a branch, so that the compiler takes many at a time.
  std::uint8_t odd = 0;
  for (; begin != end; ++begin) {
    const auto c = static_cast<std::uint8_t>(*begin);
    const auto no_text = static_cast<std::uint8_t>(
        static_cast<std::uint8_t>(c - ' ') >= 0x80 - ' ');
    const auto no_blank =
        static_cast<std::uint8_t>(c != '\n' && c != '\t' && c != '\r');
    odd |= static_cast<std::uint8_t>(no_text & no_blank);
  }
  return odd == 0;
}

// The first place from `place` on that is not plain; the text's size where
// there is none.
std::size_t NextOddity(const std::string& text, std::size_t place) {
  constexpr std::size_t kBlock = 256;
  const char* data = text.data();
  while (place + kBlock <= text.size() &&
         ArePlain(data + place, data + place + kBlock)) {
    place += kBlock;
  }
  while (place < text.size() && ArePlain(data + place, data + place + 1)) {
    ++place;
  }
  return place;
}

// libyang takes NUL for the end of the text and would drop what follows.
void RefuseNul(const std::string& text, const std::string& path) {
  const std::size_t nul = text.find('\0');
  if (nul == std::string::npos) return;
  throw InputError(path, LinesBefore(text, nul) + 1, "contains a NUL byte");
}

// Control characters but tab and line ends, U+FFFE and U+FFFF are in no XML
// text (XML 1.0, section 2.2).
bool IsNoXmlCharacter(const std::string& text, std::size_t place) {
  const auto c = static_cast<unsigned char>(text[place]);
  if (c < ' ') return c != '\t' && c != '\n' && c != '\r';
  return c == 0xef && (text.compare(place, 3, "\xef\xbf\xbe") == 0 ||
                       text.compare(place, 3, "\xef\xbf\xbf") == 0);
}

// libyang lets them pass inside of CDATA.
void RefuseNoXmlCharacters(const std::string& text, const std::string& path) {
  for (std::size_t place = NextOddity(text, 0); place < text.size();
       place = NextOddity(text, place + 1)) {
    if (!IsNoXmlCharacter(text, place)) continue;
    throw InputError(path, LinesBefore(text, place) + 1,
                     "contains a character that is in no XML text");
  }
}

// Where the text is no UTF-8 (RFC 3629); its size when it is.
std::size_t EndOfUtf8(const std::string& text) {
  const std::size_t start = NextOddity(text, 0);
  if (start == text.size()) return start;
  iconv_t conversion = iconv_open("UTF-32LE", "UTF-8");
  std::vector<char> scratch(65536);
  char* in = const_cast<char*>(text.data()) + start;  // not written to
  std::size_t in_left = text.size() - start;
  bool more = true;
  while (more && in_left > 0) {
    char* out = scratch.data();
    std::size_t out_left = scratch.size();
    const std::size_t result =
        iconv(conversion, &in, &in_left, &out, &out_left);
    more = result != static_cast<std::size_t>(-1) || errno == E2BIG;
  }
  iconv_close(conversion);
  return text.size() - in_left;
}

void RefuseOtherEncodings(const std::string& text, const std::string& path) {
  const std::size_t end = EndOfUtf8(text);
  if (end == text.size()) return;
  throw InputError(path, LinesBefore(text, end) + 1, "is not UTF-8");
}

// Hears where arrays and objects of a JSON text begin.
class JsonNesting {
 public:
  // The next one, inside of `depth` others.
  void Begin(std::size_t depth, bool is_array) {
    arrays_around_.resize(depth);
    const std::size_t around = depth > 0 ? arrays_around_.back() : 0;
    arrays_around_.push_back(is_array ? around + 1 : 0);
    deepest_ = std::max(deepest_, arrays_around_.back());
  }

  // How many arrays stand in each other with no object in between.
  std::size_t deepest_arrays() const { return deepest_; }

 private:
  std::vector<std::size_t> arrays_around_;  // of each that is open, and itself
  std::size_t deepest_ = 0;
};

// YANG data has no more than a leaf-list of empty values: [[null]].
constexpr std::size_t kMaxArraysInArrays = 2;

// libyang takes JSON that ends too early, ignores what follows its end, and
// dies of three arrays in each other.
void RefuseBadJson(const std::string& text, const std::string& path) {
  using nlohmann::json;
  using Event = json::parse_event_t;
  JsonNesting nesting;
  const auto keep_nothing = [&](int depth, Event event, json&) {
    if (event == Event::object_start || event == Event::array_start) {
      nesting.Begin(static_cast<std::size_t>(depth),
                    event == Event::array_start);
    }
    return false;
  };
  try {
    const json nothing = json::parse(text, keep_nothing);
  } catch (const json::parse_error& error) {
    // "[...] parse error at line L, column C: reason"
    const std::string what = error.what();
    const std::size_t place = std::min(error.byte, text.size());
    throw InputError(path, LinesBefore(text, place) + 1,
                     what.substr(what.find(": ") + 2));
  } catch (const json::out_of_range& error) {
    // "[...] number overflow parsing '1e999'", which tells no place
    const std::string what = error.what();
    throw InputError(path, what.substr(what.find("] ") + 2));
  }
  if (nesting.deepest_arrays() > kMaxArraysInArrays) {
    throw InputError(path, "JSON arrays are nested deeper than YANG data are");
  }
}

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
// that libyang holds for plain strings.
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

confd_vtype TypeOf(const lysc_node& leaf) {
  return Model::FactsOf(leaf).value_type;
}

std::string Join(const std::vector<std::string>& keys) {
  std::string joined;
  for (const std::string& key : keys) {
    joined += key;
    joined += kKeySeparator;
  }
  return joined;
}

bool IsSamePrefix(int family, const std::string& a, const std::string& b) {
  const std::size_t slash_a = a.find('/');
  const std::size_t slash_b = b.find('/');
  in6_addr address_a{};
  in6_addr address_b{};
  if (slash_a == std::string::npos || slash_b == std::string::npos ||
      inet_pton(family, a.substr(0, slash_a).c_str(), &address_a) != 1 ||
      inet_pton(family, b.substr(0, slash_b).c_str(), &address_b) != 1) {
    return a == b;
  }
  return std::memcmp(&address_a, &address_b, sizeof(address_a)) == 0 &&
         a.compare(slash_a, a.npos, b, slash_b, b.npos) == 0;
}

// Whether two texts of a type are one value.
bool IsSameValue(confd_vtype type, const char* a, const char* b) {
  switch (type) {
    case C_BINARY:
      return strcasecmp(a, b) == 0;
    case C_IPV4_AND_PLEN:
      return IsSamePrefix(AF_INET, a, b);
    case C_IPV6_AND_PLEN:
      return IsSamePrefix(AF_INET6, a, b);
    default:
      return std::strcmp(a, b) == 0;
  }
}

bool HaveSameKeys(const lyd_node* a, const lyd_node* b) {
  const lyd_node* key = lyd_child(a);
  const lyd_node* other = lyd_child(b);
  for (; key != nullptr && lysc_is_key(key->schema);
       key = key->next, other = other->next) {
    if (!IsSameValue(TypeOf(*key->schema), lyd_get_value(key),
                     lyd_get_value(other))) {
      return false;
    }
  }
  return true;
}

bool IsSmall(const lyd_node* first_entry) {
  const lyd_node* entry = first_entry;
  for (std::size_t i = 0; i < kWalkedEntries; ++i) {
    entry = NextEntry(entry);
    if (entry == nullptr) return true;
  }
  return false;
}

// The entry behind the first one of a list that has the keys of one before it;
// null for none.
const lyd_node* FindDuplicate(const lyd_node* first_entry) {
  if (IsSmall(first_entry)) {
    for (const lyd_node* a = first_entry; a != nullptr; a = NextEntry(a)) {
      for (const lyd_node* b = NextEntry(a); b != nullptr; b = NextEntry(b)) {
        if (HaveSameKeys(a, b)) return b;
      }
    }
    return nullptr;
  }
  std::unordered_set<std::string> keys;
  for (const lyd_node* entry = first_entry; entry != nullptr;
       entry = NextEntry(entry)) {
    if (!keys.insert(Join(KeysOf(entry))).second) return entry;
  }
  return nullptr;
}

bool HasKeyOfManyForms(const lysc_node& list) {
  const lysc_node* key = lysc_node_child(&list);
  while (key != nullptr && lysc_is_key(key) && !HasManyForms(TypeOf(*key))) {
    key = key->next;
  }
  return key != nullptr && lysc_is_key(key);
}

// libyang tells keys apart by their text, also those that are one value.
void RefuseDuplicates(const lyd_node* siblings, const std::string& path) {
  const lysc_node* list = nullptr;
  for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
    if (!Model::FactsOf(*node->schema).has_keys_of_many_forms) continue;
    const bool is_first = node->schema != list;
    list = node->schema;
    if (is_first && list->nodetype == LYS_LIST && HasKeyOfManyForms(*list) &&
        FindDuplicate(node) != nullptr) {
      throw InputError(path, std::string("Duplicate instance of \"") +
                                 list->name + "\", its keys in another form.");
    }
    RefuseDuplicates(lyd_child(node), path);
  }
}

// Calls `take` with the text of each key in its one form, until it is false.
template <typename Take>
void ForEachKey(const lyd_node* entry, const Take& take) {
  bool goes_on = true;
  for (const lyd_node* key = lyd_child(entry);
       goes_on && key != nullptr && lysc_is_key(key->schema); key = key->next) {
    const confd_vtype type = TypeOf(*key->schema);
    goes_on = HasManyForms(type) ? take(ByValueType(type, lyd_get_value(key)))
                                 : take(lyd_get_value(key));
  }
}

bool HasKeys(const lyd_node* entry, const std::string_view* keys,
             std::size_t count) {
  std::size_t equal = 0;
  ForEachKey(entry, [&](std::string_view key) {
    if (equal == count || key != keys[equal]) return false;
    ++equal;
    return true;
  });
  return equal == count && equal == Model::FactsOf(*entry->schema).key_count;
}

std::size_t Mix(std::size_t hash, std::string_view key) {
  constexpr std::size_t kOdd = 31;
  return hash * kOdd + std::hash<std::string_view>()(key);
}

std::size_t HashOf(const std::string_view* keys, std::size_t count) {
  std::size_t hash = 0;
  for (std::size_t i = 0; i < count; ++i) hash = Mix(hash, keys[i]);
  return hash;
}

std::size_t HashOf(const lyd_node* entry) {
  std::size_t hash = 0;
  ForEachKey(entry, [&](std::string_view key) {
    hash = Mix(hash, key);
    return true;
  });
  return hash;
}

}  // namespace

DataTree DataTree::FromFile(const Model& model, const std::string& path,
                            std::size_t max_size, ReadingTimes* times) {
  base::Stopwatch watch;
  ReadingTimes ignored;
  if (times == nullptr) times = &ignored;
  const std::string text = ReadInput(path, max_size);
  const std::size_t start = StartOf(text, path);
  const LYD_FORMAT format = FormatOf(text, start, path);
  RefuseNul(text, path);
  RefuseOtherEncodings(text, path);
  if (format == LYD_XML) RefuseNoXmlCharacters(text, path);
  if (format == LYD_JSON) RefuseBadJson(text, path);
  times->text = watch.Lap();

  DataTree result(model);
  if (!result.Parse(text.c_str() + start, format)) {
    throw result.ErrorOf(text, start, format, path);
  }
  times->parse = watch.Lap();
  if (!result.Validate()) {
    throw result.ErrorOf(text, start, format, path);
  }
  RefuseDuplicates(result.tree_.get(), path);
  times->validation = watch.Lap();
  return result;
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

InputError DataTree::ErrorOf(const std::string& text, std::size_t start,
                             LYD_FORMAT format, const std::string& path) {
  lyd_node* tree = nullptr;
  ClearErrors(model_->context());
  static_cast<void>(lyd_parse_data_mem(model_->context(), text.c_str() + start,
                                       format, LYD_PARSE_STRICT, 0, &tree));
  tree_.reset(tree);
  return FirstError(model_->context(), path, LinesBefore(text, start));
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
  // Most nodes have few children: a walk is faster than libyang's hash.
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
                                    std::size_t count) const {
  // 1. Near the last one: who walks a list asks for one entry after another.
  const lyd_node* entry = last_entry_;
  if (entry != nullptr && entry->schema == &list &&
      lyd_parent(entry) == parent) {
    if (HasKeys(entry, keys, count)) return entry;
    entry = NextEntry(entry);
    if (entry != nullptr && HasKeys(entry, keys, count)) {
      return last_entry_ = entry;
    }
  }

  // 2. Anywhere.
  entry = Find(parent, list);
  if (entry == nullptr) return nullptr;
  if (IsSmall(entry)) {
    while (entry != nullptr && !HasKeys(entry, keys, count)) {
      entry = NextEntry(entry);
    }
  } else {
    entry = FindInIndex(entry, keys, count);
  }
  if (entry != nullptr) last_entry_ = entry;
  return entry;
}

const lyd_node* DataTree::FindInIndex(const lyd_node* first_entry,
                                      const std::string_view* keys,
                                      std::size_t count) const {
  const auto [begin, end] =
      IndexOf(first_entry).equal_range(HashOf(keys, count));
  const auto found = std::find_if(begin, end, [&](const auto& slot) {
    return HasKeys(slot.second, keys, count);
  });
  return found == end ? nullptr : found->second;
}

const DataTree::ListIndex& DataTree::IndexOf(
    const lyd_node* first_entry) const {
  const auto [slot, is_new] = indexes_.try_emplace(first_entry);
  if (is_new) {
    for (const lyd_node* entry = first_entry; entry != nullptr;
         entry = NextEntry(entry)) {
      slot->second.emplace(HashOf(entry), entry);
    }
  }
  return slot->second;
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
  // Entries of one list stand together among their siblings.
  const lyd_node* next = entry->next;
  return next != nullptr && next->schema == entry->schema ? next : nullptr;
}

std::vector<std::string> KeysOf(const lyd_node* entry) {
  std::vector<std::string> keys;
  for (const lyd_node* key = lyd_child(entry);
       key != nullptr && lysc_is_key(key->schema); key = key->next) {
    keys.push_back(ByValueType(TypeOf(*key->schema), lyd_get_value(key)));
  }
  return keys;
}

std::string CanonicalText(const lysc_node& leaf, const std::string& text) {
  const ly_ctx* context = leaf.module->ctx;
  const char* canonical = nullptr;
  if (lyd_value_validate(nullptr, &leaf, text.c_str(), text.size(), nullptr,
                         nullptr, &canonical) != LY_SUCCESS) {
    return text;
  }
  std::string result = ByValueType(TypeOf(leaf), canonical);
  lydict_remove(context, canonical);
  return result;
}

}  // namespace ipav::datastore
