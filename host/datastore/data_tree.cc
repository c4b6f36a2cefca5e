#include "datastore/data_tree.h"

#include <arpa/inet.h>
#include <iconv.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <unordered_set>
#include <vector>

#include "datastore/libyang_error.h"

namespace ipav::datastore {

namespace {

// Below this many entries a walk is faster than making an index.
constexpr std::size_t kWalkedEntries = 8;

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
  for (std::size_t place = 0; place < text.size(); ++place) {
    if (!IsNoXmlCharacter(text, place)) continue;
    throw InputError(path, LinesBefore(text, place) + 1,
                     "contains a character that is in no XML text");
  }
}

// Where the text is no UTF-8 (RFC 3629); its size when it is.
std::size_t EndOfUtf8(const std::string& text) {
  iconv_t conversion = iconv_open("UTF-32LE", "UTF-8");
  std::vector<char> scratch(65536);
  char* in = const_cast<char*>(text.data());  // not written to
  std::size_t in_left = text.size();
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
std::string ByValueType(const lysc_node& leaf, std::string text) {
  switch (ValueTypeOf(*reinterpret_cast<const lysc_node_leaf&>(leaf).type)) {
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

std::string Join(const std::vector<std::string>& keys) {
  std::string joined;
  for (const std::string& key : keys) {
    joined += key;
    joined += kKeySeparator;
  }
  return joined;
}

// libyang tells keys apart by their text, also those that are one value.
void RefuseDuplicates(const lyd_node* siblings, const std::string& path) {
  const lysc_node* list = nullptr;
  std::unordered_set<std::string> keys;
  for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
    if (node->schema != list) keys.clear();
    list = node->schema;
    if (node->schema->nodetype == LYS_LIST &&
        !keys.insert(Join(KeysOf(node))).second) {
      throw InputError(path, std::string("Duplicate instance of \"") +
                                 list->name + "\", its keys in another form.");
    }
    RefuseDuplicates(lyd_child(node), path);
  }
}

bool IsSmall(const lyd_node* first_entry) {
  const lyd_node* entry = first_entry;
  for (std::size_t i = 0; i < kWalkedEntries; ++i) {
    entry = NextEntry(entry);
    if (entry == nullptr) return true;
  }
  return false;
}

const lyd_node* Walk(const lyd_node* entry,
                     const std::vector<std::string>& keys) {
  while (entry != nullptr && KeysOf(entry) != keys) entry = NextEntry(entry);
  return entry;
}

}  // namespace

DataTree DataTree::FromFile(const Model& model, const std::string& path,
                            std::size_t max_size) {
  const std::string text = ReadInput(path, max_size);
  const std::size_t start = StartOf(text, path);
  const LYD_FORMAT format = FormatOf(text, start, path);
  RefuseNul(text, path);
  RefuseOtherEncodings(text, path);
  if (format == LYD_XML) RefuseNoXmlCharacters(text, path);
  if (format == LYD_JSON) RefuseBadJson(text, path);

  DataTree result(model);
  result.format_ = format;
  lyd_node* tree = nullptr;
  ClearErrors(model.context());
  const LY_ERR error = lyd_parse_data_mem(model.context(), text.c_str() + start,
                                          format, LYD_PARSE_STRICT, 0, &tree);
  result.tree_.reset(tree);
  if (error != LY_SUCCESS) {
    throw FirstError(model.context(), path, LinesBefore(text, start));
  }
  RefuseDuplicates(tree, path);
  return result;
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
  lyd_node* found = nullptr;
  const lyd_node* siblings = FirstChild(parent);
  if (siblings == nullptr || lyd_find_sibling_val(siblings, &schema, nullptr, 0,
                                                  &found) != LY_SUCCESS) {
    return nullptr;
  }
  return found;
}

const lyd_node* DataTree::FindEntry(
    const lyd_node* parent, const lysc_node& list,
    const std::vector<std::string>& keys) const {
  const lyd_node* first = Find(parent, list);
  if (first == nullptr) return nullptr;
  if (IsSmall(first)) return Walk(first, keys);

  const ListIndex& index = IndexOf(first);
  const auto found = index.find(Join(keys));
  return found == index.end() ? nullptr : found->second;
}

const DataTree::ListIndex& DataTree::IndexOf(
    const lyd_node* first_entry) const {
  const auto [slot, is_new] = indexes_.try_emplace(first_entry);
  if (is_new) {
    for (const lyd_node* entry = first_entry; entry != nullptr;
         entry = NextEntry(entry)) {
      slot->second.emplace(Join(KeysOf(entry)), entry);
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
    keys.push_back(ByValueType(*key->schema, lyd_get_value(key)));
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
  std::string result = ByValueType(leaf, canonical);
  lydict_remove(context, canonical);
  return result;
}

}  // namespace ipav::datastore
