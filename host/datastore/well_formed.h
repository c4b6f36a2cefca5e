#ifndef IPAV_HOST_DATASTORE_WELL_FORMED_H_
#define IPAV_HOST_DATASTORE_WELL_FORMED_H_

#include <string_view>

#include "host/datastore/input_text.h"

namespace ipav::datastore {

// True if `text`, which must be UTF-8, is XML content (any number of elements)
// that consists only of elements with at most one attribute, of comments and of
// characters without references, and every element is closed. False means
// undecided: an XML parser has to decide.
bool IsPlainXml(std::string_view text);

// Throws InputError for XML text that is not well-formed (XML 1.0, section 2.1)
// although libyang may accept it: control characters in CDATA, ]]> in a value,
// nested comments. Does nothing for other formats.
void RequireWellFormed(const InputText& text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_WELL_FORMED_H_
