#include "host/datastore/value_type.h"

#include <libyang/plugins_types.h>

#include <string_view>

#include "host/datastore/extension.h"

namespace ipav::datastore {

namespace {

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
  switch (type.basetype) {
    case LY_TYPE_STRING:
      return TypeOfPlugin(type);
    case LY_TYPE_INT8:
      return C_INT8;
    case LY_TYPE_INT16:
      return C_INT16;
    case LY_TYPE_INT32:
      return C_INT32;
    case LY_TYPE_INT64:
      return C_INT64;
    case LY_TYPE_UINT8:
      return C_UINT8;
    case LY_TYPE_UINT16:
      return C_UINT16;
    case LY_TYPE_UINT32:
      return C_UINT32;
    case LY_TYPE_UINT64:
      return C_UINT64;
    case LY_TYPE_BOOL:
      return C_BOOL;
    case LY_TYPE_ENUM:
      return C_ENUM_VALUE;
    case LY_TYPE_LEAFREF:
      return ValueTypeOf(
          *reinterpret_cast<const lysc_type_leafref&>(type).realtype);
    default:
      return C_NOEXISTS;
  }
}

bool HasManyForms(confd_vtype type) {
  return type == C_BINARY || type == C_IPV4_AND_PLEN || type == C_IPV6_AND_PLEN;
}

}  // namespace ipav::datastore
