// A quick proof that a text is well-formed XML, for the kind of text that
// nearly all configurations are.
#ifndef IPAV_HOST_DATASTORE_PLAIN_XML_H_
#define IPAV_HOST_DATASTORE_PLAIN_XML_H_

#include <string_view>

namespace ipav::datastore {

// True if `text`, which must be UTF-8, is XML content (any number of elements)
// that consists only of elements with at most one attribute, of comments and of
// characters without references, and every element is closed. False says
// nothing: an XML parser has to decide.
bool IsPlainXml(std::string_view text);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_PLAIN_XML_H_
