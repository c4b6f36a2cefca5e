// Reads the uses of validation points from the model.
#ifndef IPAV_HOST_DATASTORE_USE_SITE_H_
#define IPAV_HOST_DATASTORE_USE_SITE_H_

#include <libyang/libyang.h>

#include <string>

#include "host/datastore/model.h"

namespace ipav::datastore {

// The use that `extension`, a compiled `tailf:validate` of `node`, describes.
// Throws InputError, with `where` as its file.
UseSite MakeUseSite(const Model& model, const lysc_node& node,
                    const lysc_ext_instance& extension,
                    const std::string& where);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_USE_SITE_H_
