#include "host/datastore/value_type.h"

#include <libyang/plugins_types.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "host/datastore/extension.h"

namespace ipav::datastore {

namespace {

constexpr std::pair<LY_DATA_TYPE, confd_vtype> kTypes[] = {
    {LY_TYPE_INT8, C_INT8},     {LY_TYPE_INT16, C_INT16},
    {LY_TYPE_INT32, C_INT32},   {LY_TYPE_INT64, C_INT64},
    {LY_TYPE_UINT8, C_UINT8},   {LY_TYPE_UINT16, C_UINT16},
    {LY_TYPE_UINT32, C_UINT32}, {LY_TYPE_UINT64, C_UINT64},
    {LY_TYPE_BOOL, C_BOOL},     {LY_TYPE_ENUM, C_ENUM_VALUE}};

confd_vtype TypeOfPlugin(const lysc_type& type) {
  const std::string_view id = type.plugin == nullptr ? "" : type.plugin->id;
  // The daemon has special types for these, which this host does not support.
  for (const char* other : {"ipv4-prefix", "ipv6-prefix", "date-and-time"}) {
    if (id.find(other) != std::string_view::npos) return C_NOEXISTS;
  }
  if (id.find("ipv4-address") != std::string_view::npos &&
      id.find("prefix") == std::string_view::npos) {
    return C_IPV4;
  }
  if (id.find("ipv6-address") != std::string_view::npos &&
      id.find("prefix") == std::string_view::npos) {
    return C_IPV6;
  }
  return C_BUF;
}

// Of an integer, or of the length of a string; null without one.
const lysc_range* RangeOf(const lysc_type& type) {
  if (type.basetype == LY_TYPE_STRING) {
    return reinterpret_cast<const lysc_type_str&>(type).length;
  }
  const bool is_integer =
      type.basetype >= LY_TYPE_INT8 ||
      (type.basetype >= LY_TYPE_UINT8 && type.basetype <= LY_TYPE_UINT64);
  return is_integer ? reinterpret_cast<const lysc_type_num&>(type).range
                    : nullptr;
}

}  // namespace

confd_vtype ValueTypeOf(const lysc_type& type) {
  const lysc_ext_instance* given =
      FindExtension(type.exts, kOwnExtensions, "value-type");
  if (given != nullptr) {
    const std::string_view name = given->argument;
    if (name == "C_IPV4_AND_PLEN") return C_IPV4_AND_PLEN;
    if (name == "C_IPV6_AND_PLEN") return C_IPV6_AND_PLEN;
    if (name == "C_BINARY") return C_BINARY;
    return C_NOEXISTS;
  }
  if (type.basetype == LY_TYPE_STRING) return TypeOfPlugin(type);
  if (type.basetype == LY_TYPE_LEAFREF) {
    return ValueTypeOf(
        *reinterpret_cast<const lysc_type_leafref&>(type).realtype);
  }
  const auto* found = std::find_if(
      std::begin(kTypes), std::end(kTypes),
      [&](const auto& pair) { return pair.first == type.basetype; });
  return found == std::end(kTypes) ? C_NOEXISTS : found->second;
}

bool HasManyForms(confd_vtype type) {
  return type == C_BINARY || type == C_IPV4_AND_PLEN || type == C_IPV6_AND_PLEN;
}

std::string RangeText(const lysc_type& type) {
  const lysc_range* range = RangeOf(type);
  if (range == nullptr) return "";
  const auto number = [&](std::int64_t value) {
    return type.basetype < LY_TYPE_INT8
               ? std::to_string(static_cast<std::uint64_t>(value))
               : std::to_string(value);
  };
  std::string text = type.basetype == LY_TYPE_STRING ? "length" : "range";
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(range->parts, i) {
    const auto& part = range->parts[i];
    text.append(i > 0 ? " | " : " ").append(number(part.min_64));
    if (part.min_64 != part.max_64) text += ".." + number(part.max_64);
  }
  return text;
}

}  // namespace ipav::datastore
