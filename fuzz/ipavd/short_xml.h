// A short form of XML in which any mutated input is well-formed:
// "lock(target(running))". A name begins an element; brackets contain its
// content. An apostrophe begins the text of the preceding element, or text
// between elements; "@name=" begins the value of an attribute. Both end with a
// blank or a mark, or are in quotes. Missing brackets are added, surplus ones
// are ignored; all other characters separate.
#ifndef IPAV_FUZZ_IPAVD_SHORT_XML_H_
#define IPAV_FUZZ_IPAVD_SHORT_XML_H_

#include <map>
#include <string>

namespace ipav::fuzz {

struct ShortNames {
  // A name of the short form, and the start of its element: 'a xmlns="b"'.
  // Others stand for themselves, in the namespace of what is around them.
  std::map<std::string, std::string> elements;
  // The same for attributes: "nc:operation".
  std::map<std::string, std::string> attributes;
};

std::string FromShortXml(const std::string& text, const ShortNames& names);

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_SHORT_XML_H_
