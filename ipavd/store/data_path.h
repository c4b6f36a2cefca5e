// Paths of data nodes for error-path, as libyang writes them: with module names
// as prefixes.
#ifndef IPAV_IPAVD_STORE_DATA_PATH_H_
#define IPAV_IPAVD_STORE_DATA_PATH_H_

#include <libyang/libyang.h>

#include <string>
#include <vector>

#include "host/datastore/model.h"

namespace ipav::store {

// The path of a node; empty for null.
std::string PathOf(const lyd_node* node);

// The path of a child that need not exist. `keys` are those of a list entry;
// none means the whole list.
std::string PathOf(const lyd_node* parent, const lysc_node& child,
                   const std::vector<std::string>& keys = {});

// The path for a data path of the commit engine, "/config/interface/l3{users}".
// Empty if the text is not such a path.
std::string PathOf(const datastore::Model& model, const std::string& text);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_DATA_PATH_H_
