// Texts from parts.
#ifndef IPAV_SRC_LIB_INTERNAL_JOINED_H_
#define IPAV_SRC_LIB_INTERNAL_JOINED_H_

#include <initializer_list>
#include <string>
#include <string_view>

namespace ip_application::config_valid::internal {

// The parts one after the other. One function for all texts: a chain of "+"
// takes several times the space on the target.
std::string Joined(std::initializer_list<std::string_view> parts);

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_JOINED_H_
