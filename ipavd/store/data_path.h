// Paths of data nodes, as error-path has them: libyang's, with the names of
// modules for prefixes.
#ifndef IPAV_IPAVD_STORE_DATA_PATH_H_
#define IPAV_IPAVD_STORE_DATA_PATH_H_

#include <libyang/libyang.h>

#include <string>
#include <vector>

#include "host/datastore/model.h"

namespace ipav::store {

// Empty for null.
std::string PathOf(const lyd_node* node);

// Of a child that may not be there. `keys` of an entry; none: the whole list.
std::string PathOf(const lyd_node* parent, const lysc_node& child,
                   const std::vector<std::string>& keys = {});

// The path of an operator's text, as the commit engine tells it:
// "/config/interface/l3{users}". Empty where it is none.
std::string PathOf(const datastore::Model& model, const std::string& text);

}  // namespace ipav::store

#endif  // IPAV_IPAVD_STORE_DATA_PATH_H_
