// Finds the difference of two XML texts of YANG data without making trees of
// them. Two configurations of one device differ in a few places, and reading
// both in full would take twice the time and the memory of reading one.
#ifndef IPAV_HOST_DATASTORE_XML_DIFFERENCE_H_
#define IPAV_HOST_DATASTORE_XML_DIFFERENCE_H_

#include <optional>
#include <string>
#include <string_view>

#include "host/datastore/model.h"

namespace ipav::datastore {

// Each text without the elements that the other one also has, byte by byte,
// under the same parent, in any order. The rest is well-formed if the text is.
// List entries and leaves in it are whole; containers have only the rest of
// their content. The first text is well-formed if its rest and the second text
// are.
struct XmlDifference {
  std::string first;
  std::string second;
};

// No result if there is anything but elements, blanks and comments without
// references between elements, or if the texts differ in more than a quarter.
// `second` must be well-formed data of the model. Errors in `first` remain in
// its rest, except an error at an end tag of a container: then there is no
// result.
std::optional<XmlDifference> FindXmlDifference(const Model& model,
                                               std::string_view first,
                                               std::string_view second);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_XML_DIFFERENCE_H_
