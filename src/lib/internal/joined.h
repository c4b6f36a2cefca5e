// Concatenates texts.
#ifndef IPAV_SRC_LIB_INTERNAL_JOINED_H_
#define IPAV_SRC_LIB_INTERNAL_JOINED_H_

#include <initializer_list>
#include <string>
#include <string_view>

namespace ip_application::config_valid::internal {

// The parts one after the other. A chain of "+" would compile to several times
// the code on the target.
std::string Joined(std::initializer_list<std::string_view> parts);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_JOINED_H_
