// XML in short, so that an input is well formed whatever a mutation does to it:
// "lock(target(running))". A name begins an element; what stands in brackets is
// in it. What follows an apostrophe is the text of the element before, or text
// between elements; what follows "@name=" is the value of an attribute. Both
// end with a blank or a mark, or are in quotes. Brackets that are missing are
// there, those too many are not; all else separates.
#ifndef IPAV_FUZZ_IPAVD_SHORT_XML_H_
#define IPAV_FUZZ_IPAVD_SHORT_XML_H_

#include <map>
#include <string>

namespace ipav::fuzz {

struct ShortNames {
  // A name of the short form, and how it begins as an element: 'a xmlns="b"'.
  // Others stand for themselves, in the namespace of what is around them.
  std::map<std::string, std::string> elements;
  // The same of attributes: "nc:operation".
  std::map<std::string, std::string> attributes;
};

std::string FromShortXml(const std::string& text, const ShortNames& names);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_SHORT_XML_H_
