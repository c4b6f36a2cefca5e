// How a transaction changed a node.
#ifndef IPAV_HOST_DATASTORE_NOVELTY_H_
#define IPAV_HOST_DATASTORE_NOVELTY_H_

#include <cstdint>

namespace ipav::datastore {

enum class Novelty : std::uint8_t { kUnchanged, kAdded, kChanged, kRemoved };

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_NOVELTY_H_
