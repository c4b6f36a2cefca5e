#ifndef IPAV_HOST_DATASTORE_WELL_FORMED_H_
#define IPAV_HOST_DATASTORE_WELL_FORMED_H_

#include "host/datastore/input_text.h"

namespace ipav::datastore {

// Throws InputError for a text that libyang may take for XML, and other parsers
// do not (XML 1.0, section 2.1): control characters in CDATA, ]]> in a value,
// comments in comments. Says nothing of other formats.
void RequireWellFormed(const InputText& text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_WELL_FORMED_H_
