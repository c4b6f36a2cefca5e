#include "host/datastore/duplicates.h"

#include <arpa/inet.h>
#include <strings.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/model.h"

namespace ipav::datastore {

namespace {

// Shorter lists are compared pair by pair, without a hash table.
constexpr std::size_t kShortList = 8;

// The keys as one text. YANG text cannot contain NUL (RFC 7950, section 14:
// yang-string).
std::string Join(const std::vector<std::string>& keys) {
  std::string joined;
  for (const std::string& key : keys) {
    joined += key;
    joined += '\0';
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
         a.substr(slash_a) == b.substr(slash_b);
}

// Whether two texts of a type are the same value.
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
    if (!IsSameValue(Model::FactsOf(*key->schema).value_type,
                     lyd_get_value(key), lyd_get_value(other))) {
      return false;
    }
  }
  return true;
}

bool IsShort(const lyd_node* first_entry) {
  const lyd_node* entry = first_entry;
  for (std::size_t i = 0; i < kShortList; ++i) {
    entry = NextEntry(entry);
    if (entry == nullptr) return true;
  }
  return false;
}

// The first entry of a list with the keys of an entry before it; null if there
// is none.
const lyd_node* FindDuplicateEntry(const lyd_node* first_entry) {
  if (IsShort(first_entry)) {
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
  while (key != nullptr && lysc_is_key(key) &&
         !HasManyForms(Model::FactsOf(*key).value_type)) {
    key = key->next;
  }
  return key != nullptr && lysc_is_key(key);
}

}  // namespace

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

void RefuseDuplicates(const lyd_node* siblings, const std::string& path) {
  const lyd_node* duplicate = FindDuplicate(siblings);
  if (duplicate == nullptr) return;
  throw InputError(path, std::string("Duplicate instance of \"") +
                             duplicate->schema->name +
                             "\", its keys in another form.");
}

}  // namespace ipav::datastore
