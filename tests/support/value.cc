#include "tests/support/value.h"

#include <arpa/inet.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>

namespace ipav::testing {

namespace {

confd_value_t OfType(confd_vtype type) {
  confd_value_t value{};
  value.type = type;
  return value;
}

template <typename Address>
Address ParseAddress(int family, const std::string& text) {
  Address address{};
  if (inet_pton(family, text.c_str(), &address) != 1) {
    throw std::invalid_argument("no address: " + text);
  }
  return address;
}

template <typename Address>
std::string BytesOf(const Address& address) {
  return {reinterpret_cast<const char*>(&address), sizeof(address)};
}

struct AddressAndLength {
  std::string address;
  std::uint8_t length;
};

AddressAndLength SplitAtSlash(const std::string& text) {
  const auto slash = text.find('/');
  if (slash == std::string::npos) {
    throw std::invalid_argument("no prefix length: " + text);
  }
  const auto length = std::stoul(text.substr(slash + 1));
  return {text.substr(0, slash), static_cast<std::uint8_t>(length)};
}

std::string AddressText(int family, const void* address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(family, address, text.data(), text.size());
}

std::string HexText(const confd_buf_t& octets, const char* separator) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (unsigned i = 0; i < octets.size; ++i) {
    if (i > 0) text += separator;
    text += kDigits[octets.ptr[i] >> 4U];
    text += kDigits[octets.ptr[i] & 0xFU];
  }
  return text;
}

std::map<std::uint32_t, std::string>& TagNames() {
  static std::map<std::uint32_t, std::string> names = {
      {0x1412343f, "mgmt"},
      {0x213f1a7a, "l3"},
      {0x1472cced, "loopback"},
      {0x4c5f3e78, "vrf"},
      {0x6af0fc0e, "ospf-interface-l3"},
  };
  return names;
}

}  // namespace

Value::Value(confd_vtype type, std::string octets)
    : fixed_(OfType(type)), octets_(std::move(octets)) {}

confd_value_t Value::Borrow() const {
  confd_value_t value = fixed_;
  if (has_octets()) {
    value.val.buf.size = static_cast<unsigned>(octets_.size());
    // The C type has no const; nobody writes to a borrowed value.
    value.val.buf.ptr =
        reinterpret_cast<unsigned char*>(const_cast<char*>(octets_.data()));
  }
  return value;
}

confd_value_t Value::Allocate() const {
  confd_value_t value = Borrow();
  if (has_octets()) {
    value.val.buf.ptr =
        static_cast<unsigned char*>(std::malloc(octets_.size() + 1));
    std::memcpy(value.val.buf.ptr, octets_.c_str(), octets_.size() + 1);
  }
  return value;
}

std::string Value::KeyText() const {
  const confd_value_t value = Borrow();
  if (type() == C_BINARY) return HexText(value.val.buf, ":");
  return PrettyText(value);
}

Value Text(const std::string& text) { return Value(C_BUF, text); }

Value Binary(const std::string& octets) { return Value(C_BINARY, octets); }

Value Octets(const std::string& hex_list) {
  std::string octets;
  for (std::size_t at = 0; at < hex_list.size(); at += 3) {
    const auto octet = std::stoul(hex_list.substr(at, 2), nullptr, 16);
    octets += static_cast<char>(static_cast<unsigned char>(octet));
  }
  return Binary(octets);
}

Value Tag(std::uint32_t number) {
  confd_value_t value = OfType(C_XMLTAG);
  value.val.xmltag.tag = number;
  return Value(value);
}

Value Nothing() { return Value(OfType(C_NOEXISTS)); }

Value Ipv4(const std::string& address) {
  return Fixed(C_IPV4, &Members::ip, ParseAddress<in_addr>(AF_INET, address));
}

Value Ipv6(const std::string& address) {
  return Fixed(C_IPV6, &Members::ip6,
               ParseAddress<in6_addr>(AF_INET6, address));
}

Value Ipv4Plen(const std::string& address_slash_length) {
  const auto [address, length] = SplitAtSlash(address_slash_length);
  confd_ipv4_prefix prefix{};
  prefix.ip = ParseAddress<in_addr>(AF_INET, address);
  prefix.len = length;
  return Fixed(C_IPV4_AND_PLEN, &Members::ipv4prefix, prefix);
}

Value Ipv6Plen(const std::string& address_slash_length) {
  const auto [address, length] = SplitAtSlash(address_slash_length);
  confd_ipv6_prefix prefix{};
  prefix.ip6 = ParseAddress<in6_addr>(AF_INET6, address);
  prefix.len = length;
  return Fixed(C_IPV6_AND_PLEN, &Members::ipv6prefix, prefix);
}

Value OctetsOf(const std::string& address) {
  if (address.find(':') == std::string::npos) {
    return Binary(BytesOf(ParseAddress<in_addr>(AF_INET, address)));
  }
  return Binary(BytesOf(ParseAddress<in6_addr>(AF_INET6, address)));
}

std::uint32_t TagOf(const std::string& name) {
  for (const auto& [number, known] : TagNames()) {
    if (known == name) return number;
  }
  // FNV-1a, in the range of the numbers that a daemon assigns.
  std::uint32_t number = 2166136261U;
  for (const char c : name) {
    number = (number ^ static_cast<unsigned char>(c)) * 16777619U;
  }
  number &= 0x7FFFFFFFU;
  TagNames().emplace(number, name);
  return number;
}

std::string NameOfTag(std::uint32_t number) {
  const auto found = TagNames().find(number);
  if (found != TagNames().end()) return found->second;
  return "tag<" + std::to_string(number) + ">";
}

std::string PrettyText(const confd_value_t& value) {
  const auto& val = value.val;
  switch (value.type) {
    case C_XMLTAG:
      return NameOfTag(val.xmltag.tag);
    case C_BUF:
      return {reinterpret_cast<const char*>(val.buf.ptr), val.buf.size};
    case C_INT32:
      return std::to_string(val.i32);
    case C_UINT8:
      return std::to_string(val.u8);
    case C_UINT16:
      return std::to_string(val.u16);
    case C_UINT32:
      return std::to_string(val.u32);
    case C_IPV4:
      return AddressText(AF_INET, &val.ip);
    case C_IPV6:
      return AddressText(AF_INET6, &val.ip6);
    case C_BOOL:
      return val.boolean != 0 ? "true" : "false";
    case C_ENUM_VALUE:
      return "enum<" + std::to_string(val.enumvalue) + ">";
    case C_BINARY:
      return HexText(val.buf, "");
    case C_IPV4_AND_PLEN:
      return AddressText(AF_INET, &val.ipv4prefix.ip) + '/' +
             std::to_string(val.ipv4prefix.len);
    case C_IPV6_AND_PLEN:
      return AddressText(AF_INET6, &val.ipv6prefix.ip6) + '/' +
             std::to_string(val.ipv6prefix.len);
    default:
      return "";
  }
}

}  // namespace ipav::testing
