// The size of the start tags of a message, before an XML library reads it. The
// libraries need quadratic time for the attributes of one element, and the
// server escapes those of the root in its reply.
#ifndef IPAV_IPAVD_TRANSPORT_START_TAGS_H_
#define IPAV_IPAVD_TRANSPORT_START_TAGS_H_

#include <cstddef>
#include <string_view>

namespace ipav::transport {

// Declarations of namespaces are among them.
inline constexpr std::size_t kMaxAttributes = 128;
inline constexpr std::size_t kMaxRootTag = std::size_t{64} << 10;  // bytes

// Whether an element has more attributes than that, or the root's tag is
// larger. Takes linear time. The message need not be well-formed.
bool HasLargeTag(std::string_view message);

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_START_TAGS_H_
