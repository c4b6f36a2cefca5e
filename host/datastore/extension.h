// Extensions of the data model in a compiled schema.
#ifndef IPAV_HOST_DATASTORE_EXTENSION_H_
#define IPAV_HOST_DATASTORE_EXTENSION_H_

#include <libyang/libyang.h>

#include <string_view>

namespace ipav::datastore {

inline constexpr char kOwnExtensions[] = "ipav-extensions";
inline constexpr char kPlatformExtensions[] = "tailf-common";

inline bool IsExtension(const lysc_ext_instance& extension,
                        std::string_view module, std::string_view name) {
  const lysc_ext& definition = *extension.def;
  return name == definition.name && module == definition.module->name;
}

// The first extension of that name; null if there is none.
inline const lysc_ext_instance* FindExtension(
    const lysc_ext_instance* extensions, std::string_view module,
    std::string_view name) {
  LY_ARRAY_COUNT_TYPE i = 0;
  LY_ARRAY_FOR(extensions, i) {
    if (IsExtension(extensions[i], module, name)) return &extensions[i];
  }
  return nullptr;
}

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_EXTENSION_H_
