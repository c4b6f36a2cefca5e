// Finds list entries that are equal although libyang distinguishes them: it
// compares keys as texts, and one value may have several texts (fe80::1/64,
// FE80::1/64).
#ifndef IPAV_HOST_DATASTORE_DUPLICATES_H_
#define IPAV_HOST_DATASTORE_DUPLICATES_H_

#include <libyang/libyang.h>

#include <string>

namespace ipav::datastore {

// An entry, among the siblings or below them, with the same keys as an earlier
// entry of its list. Null if there is none.
const lyd_node* FindDuplicate(const lyd_node* siblings);

// Throws InputError, for the file `path`, if there is one.
void RefuseDuplicates(const lyd_node* siblings, const std::string& path);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_DUPLICATES_H_
