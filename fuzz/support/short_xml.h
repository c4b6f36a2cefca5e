// XML in short, so that an input is well formed whatever a mutation does to it:
// "lock(target(running))". A name begins an element, a bracket what is in it;
// what follows an apostrophe is text, what follows "@name=", in quotes or not,
// the value of an attribute of the element before. Brackets that are missing
// are there, those too many are not. All else, such as blanks and line ends,
// separates.
#ifndef IPAV_FUZZ_SUPPORT_SHORT_XML_H_
#define IPAV_FUZZ_SUPPORT_SHORT_XML_H_

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

#endif  // IPAV_FUZZ_SUPPORT_SHORT_XML_H_
