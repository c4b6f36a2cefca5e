#ifndef IPAV_MESSAGES_L3_NAME_H_
#define IPAV_MESSAGES_L3_NAME_H_

#include <cstddef>

// What the rules say of the name of an l3 interface, which is written without
// the prefix in the list of interfaces and with it elsewhere.
namespace ipav::messages {

constexpr char kL3NamePrefix[] = "l3-";
constexpr std::size_t kLongestL3Name = 60;  // bytes, without the prefix
constexpr char kL3NameCharacters[] =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_-";

}  // namespace ipav::messages

#endif  // IPAV_MESSAGES_L3_NAME_H_
