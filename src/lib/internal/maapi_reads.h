// Reads of the transaction by path, for the snapshot's readers and the VRF
// check. They return a default if the element is missing or cannot be read.
#ifndef IPAV_SRC_LIB_INTERNAL_MAAPI_READS_H_
#define IPAV_SRC_LIB_INTERNAL_MAAPI_READS_H_

#include <confd_maapi.h>

#include <cstddef>
#include <list>
#include <string>

#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"
#include "src/lib/internal/maapi_owners.h"

namespace ip_application::config_valid::internal {

// An address-with-prefix-length leaf. Default: 0.0.0.0/0, ::/0.
nettypes::IPv4AddrMask ReadIpv4Mask(int sock, int thandle,
                                    const std::string& path);
nettypes::IPv6AddrMask ReadIpv6Mask(int sock, int thandle,
                                    const std::string& path);

// A key as text of at most `kSize` - 1 bytes.
template <std::size_t kSize>
std::string KeyText(const confd_value_t& key) {
  char text[kSize] = "";  // for a key that cannot be printed
  static_cast<void>(confd_pp_value(text, sizeof(text), &key));
  return text;
}

// Calls `visit` with each entry of a list, in the order of the list.
template <typename Visit>
void ForEachEntry(int sock, int thandle, const std::string& path, Visit visit) {
  if (maapi_exists(sock, thandle, "%s", path.c_str()) != 1) return;

  MaapiCursor cursor(sock, thandle, path);
  for (const maapi_cursor& row : cursor) visit(row);
}

// The first key of each entry of a list, in the order of the list, each as text
// of at most `kSize` - 1 bytes.
template <std::size_t kSize>
std::list<std::string> ReadFirstKeys(int sock, int thandle,
                                     const std::string& path) {
  std::list<std::string> keys;
  ForEachEntry(sock, thandle, path, [&](const maapi_cursor& row) {
    keys.push_back(KeyText<kSize>(row.keys[0]));
  });
  return keys;
}

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_MAAPI_READS_H_
