// The operations of an edit (RFC 6241, section 7.2).
#ifndef IPAV_IPAVD_STORE_EDIT_OPERATION_H_
#define IPAV_IPAVD_STORE_EDIT_OPERATION_H_

#include <cstdint>

namespace ipav::store {

enum class Operation : std::uint8_t {
  kMerge,
  kReplace,
  kCreate,
  kDelete,
  kRemove,
  kNone
};

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_EDIT_OPERATION_H_
