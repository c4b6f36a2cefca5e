// Whether there is an element in a message at all.
#ifndef IPAV_SERVER_TRANSPORT_ELEMENT_H_
#define IPAV_SERVER_TRANSPORT_ELEMENT_H_

#include <string_view>

namespace ipav::transport {

// False where an XML parser would come to the end of the text with neither an
// element nor an error: blanks, comments and processing instructions alone. A
// text with a null character has none: a parser of C strings may see nothing
// before it. True says nothing about what is there.
bool MayHaveElement(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_SERVER_TRANSPORT_ELEMENT_H_
