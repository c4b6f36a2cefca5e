// What two XML texts of YANG data do not share, found without making trees of
// them: two configurations of one device differ in a few places, and reading
// both in full would take twice the time and the memory of reading one.
#ifndef IPAV_HOST_DATASTORE_XML_DIFFERENCE_H_
#define IPAV_HOST_DATASTORE_XML_DIFFERENCE_H_

#include <optional>
#include <string>
#include <string_view>

#include "host/datastore/model.h"

namespace ipav::datastore {

// Each text without the elements that stand byte by byte in the other one as
// well, at the same place but for their order. What is left is well-formed
// where the text is; list entries and leaves are in there whole, containers
// with what is left of them.
struct XmlDifference {
  std::string first;
  std::string second;
};

// Nothing where the texts hold more than elements, blanks and comments between
// them, or differ in more than a quarter. `second` is well-formed and data of
// the model; of `first` what is wrong may be in what is left, or at an end tag
// of a container, for which there is nothing either.
std::optional<XmlDifference> FindXmlDifference(const Model& model,
                                               std::string_view first,
                                               std::string_view second);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_XML_DIFFERENCE_H_
