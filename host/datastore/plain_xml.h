// A fast check for well-formed XML that is sufficient for nearly all
// configurations.
#ifndef IPAV_HOST_DATASTORE_PLAIN_XML_H_
#define IPAV_HOST_DATASTORE_PLAIN_XML_H_

#include <string_view>

namespace ipav::datastore {

// True if `text`, which must be UTF-8, is XML content (any number of elements)
// that consists only of elements with at most one attribute, of comments and of
// characters without references, and every element is closed. False means
// undecided: an XML parser has to decide.
bool IsPlainXml(std::string_view text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_PLAIN_XML_H_
