#include "host/confd/value.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "host/confd/confd_error.h"

namespace ipav::confd {

namespace {

// The value with its real type; for a union, that of its member.
const lyd_value& RealValue(const lyd_node& leaf) {
  const lyd_value* value = &reinterpret_cast<const lyd_node_term&>(leaf).value;
  while (value->realtype->basetype == LY_TYPE_UNION) {
    value = &value->subvalue->value;
  }
  return *value;
}

confd_buf_t HeapBuffer(std::string_view bytes) {
  auto* copy = static_cast<unsigned char*>(std::malloc(bytes.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, bytes.data(), bytes.size());
  copy[bytes.size()] = '\0';
  return {static_cast<unsigned>(bytes.size()), copy};
}

// Octets of "0a:01"; none for "".
std::string Octets(std::string_view text) {
  std::string octets;
  while (text.size() >= 2) {
    const std::string digits(text.substr(0, 2));
    octets += static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16));
    text.remove_prefix(text.size() > 2 ? 3 : 2);
  }
  return octets;
}

void ParseAddress(int family, std::string_view text, void* address) {
  char copy[INET6_ADDRSTRLEN] = "";
  text.copy(copy, sizeof(copy) - 1);
  if (text.size() >= sizeof(copy) || inet_pton(family, copy, address) != 1) {
    throw ConfdError(CONFD_ERR_BADTYPE, "no address: " + std::string(text));
  }
}

// Address and length of "address/length".
void ParsePrefix(int family, std::string_view text, void* address,
                 std::uint8_t* length) {
  const std::size_t slash = text.find('/');
  ParseAddress(family, text.substr(0, slash), address);
  const std::string_view digits = text.substr(slash + 1);
  std::from_chars(digits.data(), digits.data() + digits.size(), *length);
}

// The type of the value: that of the leaf, except for a union or leafref.
confd_vtype TypeOf(const lyd_node& leaf, const lyd_value& value) {
  const auto& own = reinterpret_cast<const lyd_node_term&>(leaf).value;
  return &own == &value && own.realtype->basetype != LY_TYPE_LEAFREF
             ? datastore::Model::FactsOf(*leaf.schema).value_type
             : datastore::ValueTypeOf(*value.realtype);
}

// Whether a value is made from its text.
bool HasText(confd_vtype type) {
  return type == C_BUF || type == C_BINARY || type == C_IPV4 ||
         type == C_IPV6 || type == C_IPV4_AND_PLEN || type == C_IPV6_AND_PLEN;
}

void SetNumber(const lyd_value& from, confd_value_t* value) {
  switch (value->type) {
    case C_BOOL:
      value->val.boolean = from.boolean != 0 ? 1 : 0;
      break;
    case C_ENUM_VALUE:
      value->val.enumvalue = from.enum_item->value;
      break;
    case C_INT8:
      value->val.i8 = from.int8;
      break;
    case C_INT16:
      value->val.i16 = from.int16;
      break;
    case C_INT32:
      value->val.i32 = from.int32;
      break;
    case C_INT64:
      value->val.i64 = from.int64;
      break;
    case C_UINT8:
      value->val.u8 = from.uint8;
      break;
    case C_UINT16:
      value->val.u16 = from.uint16;
      break;
    case C_UINT32:
      value->val.u32 = from.uint32;
      break;
    case C_UINT64:
      value->val.u64 = from.uint64;
      break;
    default:
      throw ConfdError(CONFD_ERR_NOT_IMPLEMENTED,
                       "this host does not carry values of that YANG type");
  }
}

// Appends a row to a key path, towards the root.
confd_value_t* NextRow(confd_hkeypath_t* keypath) {
  if (keypath->len + 1 >= MAXDEPTH) {
    throw ConfdError(CONFD_ERR_BADPATH, "path too deep");
  }
  confd_value_t* row = keypath->v[keypath->len++];
  row[0] = NoValue();
  return row;
}

void AppendTag(const datastore::Model& model, const lysc_node& node,
               confd_hkeypath_t* keypath) {
  confd_value_t* row = NextRow(keypath);
  row[0] = TagValue(model, node);
  row[1] = NoValue();
}

void AppendKeys(const lyd_node* entry, confd_hkeypath_t* keypath) {
  confd_value_t* row = NextRow(keypath);
  int count = 0;
  for (const lyd_node* key = lyd_child(entry);
       key != nullptr && lysc_is_key(key->schema); key = key->next) {
    if (count + 1 >= MAXKEYLEN) {
      throw ConfdError(CONFD_ERR_BADPATH, "too many keys");
    }
    row[count] = ValueOf(*key).Release();
    row[++count] = NoValue();
  }
}

void AppendNodes(const datastore::Model& model, const lyd_node* node,
                 confd_hkeypath_t* keypath) {
  for (; node != nullptr; node = lyd_parent(node)) {
    if (node->schema->nodetype == LYS_LIST) AppendKeys(node, keypath);
    AppendTag(model, *node->schema, keypath);
  }
}

Keypath EmptyKeypath() {
  Keypath keypath(new confd_hkeypath_t);
  keypath->len = 0;
  return keypath;
}

}  // namespace

confd_value_t NoValue() {
  confd_value_t value;
  std::memset(&value, 0, sizeof(value));
  value.type = C_NOEXISTS;
  return value;
}

confd_value_t OwnedValue::Release() {
  const confd_value_t value = value_;
  value_ = NoValue();
  return value;
}

OwnedValue ValueOf(const lyd_node& leaf) {
  const lyd_value& from = RealValue(leaf);
  confd_value_t value = NoValue();
  value.type = TypeOf(leaf, from);
  if (!HasText(value.type)) {
    SetNumber(from, &value);
    return OwnedValue(value);
  }
  const char* const canonical = lyd_value_get_canonical(LYD_CTX(&leaf), &from);
  if (value.type == C_BUF) {
    value.val.buf = HeapBuffer(canonical);
    return OwnedValue(value);
  }
  const std::string_view text = canonical;
  switch (value.type) {
    case C_BINARY:
      value.val.buf = HeapBuffer(Octets(text));
      break;
    case C_IPV4:
      ParseAddress(AF_INET, text, &value.val.ip);
      break;
    case C_IPV6:
      ParseAddress(AF_INET6, text, &value.val.ip6);
      break;
    case C_IPV4_AND_PLEN:
      ParsePrefix(AF_INET, text, &value.val.ipv4prefix.ip,
                  &value.val.ipv4prefix.len);
      break;
    case C_IPV6_AND_PLEN:
      ParsePrefix(AF_INET6, text, &value.val.ipv6prefix.ip6,
                  &value.val.ipv6prefix.len);
      break;
    default:
      break;
  }
  return OwnedValue(value);
}

confd_value_t TagValue(const datastore::Model& model, const lysc_node& node) {
  confd_value_t value = NoValue();
  value.type = C_XMLTAG;
  value.val.xmltag = model.TagOf(node);
  return value;
}

Keypath KeypathOf(const datastore::Model& model, const lyd_node* node) {
  Keypath keypath = EmptyKeypath();
  AppendNodes(model, node, keypath.get());
  return keypath;
}

Keypath KeypathOf(const datastore::Model& model, const lyd_node* parent,
                  const lysc_node& schema) {
  Keypath keypath = EmptyKeypath();
  AppendTag(model, schema, keypath.get());
  AppendNodes(model, parent, keypath.get());
  return keypath;
}

void FreeKeypath(confd_hkeypath_t* keypath) {
  for (int i = 0; i < keypath->len; ++i) {
    for (confd_value_t* key = keypath->v[i]; key->type != C_NOEXISTS; ++key) {
      confd_free_value(key);
    }
  }
  delete keypath;
}

}  // namespace ipav::confd
