#ifndef IPAV_HOST_DATASTORE_WELL_FORMED_H_
#define IPAV_HOST_DATASTORE_WELL_FORMED_H_

#include "host/datastore/input_text.h"

namespace ipav::datastore {

// Throws InputError for XML text that is not well-formed (XML 1.0, section 2.1)
// although libyang may accept it: control characters in CDATA, ]]> in a value,
// nested comments. Does nothing for other formats.
void RequireWellFormed(const InputText& text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_WELL_FORMED_H_
