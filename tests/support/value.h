// A confd_value_t that owns its octets, and one builder per type.
#ifndef IPAV_TESTS_SUPPORT_VALUE_H_
#define IPAV_TESTS_SUPPORT_VALUE_H_

#include <confd_lib.h>

#include <cstdint>
#include <string>

namespace ipav::testing {

class Value {
 public:
  explicit Value(const confd_value_t& fixed) : fixed_(fixed) {}
  Value(confd_vtype type, std::string octets);

  confd_vtype type() const { return fixed_.type; }
  bool has_octets() const { return type() == C_BUF || type() == C_BINARY; }

  // Points into this object, which must not be moved or destroyed meanwhile.
  confd_value_t Borrow() const;

  // A copy with its own octets from malloc(3), NUL-terminated.
  confd_value_t Allocate() const;

  // As written between the braces of a path.
  std::string KeyText() const;

 private:
  confd_value_t fixed_;
  std::string octets_;
};

Value Text(const std::string& text);        // C_BUF
Value Binary(const std::string& octets);    // C_BINARY
Value Octets(const std::string& hex_list);  // C_BINARY of "0a:01"
Value Tag(std::uint32_t number);            // C_XMLTAG
Value Nothing();                            // C_NOEXISTS
// These throw on a text that is not an address.
Value Ipv4(const std::string& address);
Value Ipv6(const std::string& address);
Value Ipv4Plen(const std::string& address_slash_length);
Value Ipv6Plen(const std::string& address_slash_length);
Value OctetsOf(const std::string& address);  // C_BINARY, either family

using Members = decltype(confd_value_t::val);

template <typename T>
Value Fixed(confd_vtype type, T Members::*member, T content) {
  confd_value_t value{};
  value.type = type;
  value.val.*member = content;
  return Value(value);
}

inline Value Int32(std::int32_t number) {
  return Fixed(C_INT32, &Members::i32, number);
}
inline Value Uint8(std::uint8_t number) {
  return Fixed(C_UINT8, &Members::u8, number);
}
inline Value Uint16(std::uint16_t number) {
  return Fixed(C_UINT16, &Members::u16, number);
}
inline Value Uint32(std::uint32_t number) {
  return Fixed(C_UINT32, &Members::u32, number);
}
inline Value Bool(bool truth) {
  return Fixed(C_BOOL, &Members::boolean, truth ? 1 : 0);
}
inline Value Enum(std::int32_t number) {
  return Fixed(C_ENUM_VALUE, &Members::enumvalue, number);
}

// Number of a node's name: that of the data model if it has one, else a hash of
// the name. NameOfTag() then knows the name.
std::uint32_t TagOf(const std::string& name);
std::string NameOfTag(std::uint32_t number);  // tag<N> for an unknown one

// What confd_pp_value() prints.
std::string PrettyText(const confd_value_t& value);

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_VALUE_H_
