#include "cli/lsp/features/schema_text.h"

#include <fmt/format.h>

#include <array>

#include "host/datastore/value_type.h"

namespace ipav::features {

namespace {

// In the order of LY_DATA_TYPE.
constexpr std::array<const char*, LY_DATA_TYPE_COUNT> kTypeNames = {
    "unknown",     "binary",
    "uint8",       "uint16",
    "uint32",      "uint64",
    "string",      "bits",
    "boolean",     "decimal64",
    "empty",       "enumeration",
    "identityref", "instance-identifier",
    "leafref",     "union",
    "int8",        "int16",
    "int32",       "int64"};

// Calls `body` with each element of one of libyang's arrays.
template <typename T, typename Body>
void ForEach(const T* array, const Body& body) {
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(array, i) { body(array[i]); }
}

const auto& UnionOf(const lysc_type& type) {
  return reinterpret_cast<const lysc_type_union&>(type);
}

std::string TypeText(const lysc_type& type) {
  if (type.basetype != LY_TYPE_UNION) return kTypeNames.at(type.basetype);
  std::string text;
  ForEach(UnionOf(type).types, [&](const lysc_type* member) {
    text += (text.empty() ? "" : " or ") + TypeText(*member);
  });
  return text;
}

std::string KeysText(const lysc_node& list) {
  std::string keys;
  for (const lysc_node* key = lysc_node_child(&list);
       key != nullptr && lysc_is_key(key); key = key->next) {
    keys += (keys.empty() ? ", key " : " ") + std::string(key->name);
  }
  return keys;
}

}  // namespace

const lysc_type& TypeOf(const lysc_node& leaf) {
  return *reinterpret_cast<const lysc_node_leaf&>(leaf).type;
}

std::string KindText(const lysc_node& node) {
  const lysc_node* leaf = &node;
  switch (node.nodetype) {
    case LYS_LIST:
      return "list" + KeysText(node);
    case LYS_LEAF:
      return (lysc_is_key(leaf) ? "key, " : "leaf, ") + TypeText(TypeOf(node)) +
             ((node.flags & LYS_MAND_TRUE) != 0 ? ", mandatory" : "");
    case LYS_LEAFLIST:
      return "leaf-list, " + TypeText(TypeOf(node));
    default:
      return lys_nodetype2str(node.nodetype);
  }
}

std::vector<NamedValue> NamedValues(const lysc_type& type) {
  std::vector<NamedValue> values;
  const auto add = [&](const lysc_type_bitenum_item& item) {
    values.push_back({item.name, item.dsc == nullptr ? "" : item.dsc});
  };
  switch (type.basetype) {
    case LY_TYPE_BOOL:
      return {{"true", ""}, {"false", ""}};
    case LY_TYPE_ENUM:
      ForEach(reinterpret_cast<const lysc_type_enum&>(type).enums, add);
      break;
    case LY_TYPE_BITS:
      ForEach(reinterpret_cast<const lysc_type_bits&>(type).bits, add);
      break;
    case LY_TYPE_UNION:
      ForEach(UnionOf(type).types, [&](const lysc_type* member) {
        for (NamedValue& value : NamedValues(*member)) {
          values.push_back(std::move(value));
        }
      });
      break;
    default:
      break;
  }
  return values;
}

std::vector<std::string> RestrictionTexts(const lysc_type& type) {
  std::vector<std::string> texts;
  const std::string range = datastore::RangeText(type);
  if (!range.empty()) texts.push_back(range);
  if (type.basetype != LY_TYPE_STRING) return texts;
  const auto& string = reinterpret_cast<const lysc_type_str&>(type);
  ForEach(string.patterns, [&](const lysc_pattern* pattern) {
    texts.push_back(pattern->emsg != nullptr
                        ? MarkdownText(pattern->emsg)
                        : fmt::format("pattern `{}`", pattern->expr));
  });
  return texts;
}

std::string DefaultText(const lysc_node& node) {
  if (node.nodetype != LYS_LEAF) return "";
  const lyd_value* value = reinterpret_cast<const lysc_node_leaf&>(node).dflt;
  return value == nullptr ? ""
                          : lyd_value_get_canonical(node.module->ctx, value);
}

std::string MarkdownText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (std::string_view("\\`*<[").find(c) != std::string_view::npos) {
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

}  // namespace ipav::features
