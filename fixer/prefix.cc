#include "fixer/prefix.h"

#include <arpa/inet.h>

#include <charconv>
#include <climits>

namespace ipav::fixer {

namespace {

constexpr unsigned kIpv4Bits = 32;
constexpr unsigned kIpv6Bits = 128;
constexpr unsigned kOctetBits = 8;
constexpr unsigned kLongestWithBroadcast = 30;

bool BitOf(const Prefix& prefix, unsigned number) {
  const unsigned octet = prefix.octets.at(number / kOctetBits);
  return ((octet >> (kOctetBits - 1 - number % kOctetBits)) & 1U) != 0;
}

}  // namespace

unsigned Prefix::bits() const {
  return family == AF_INET ? kIpv4Bits : kIpv6Bits;
}

std::string Prefix::Address() const {
  char printed[INET6_ADDRSTRLEN] = "";
  static_cast<void>(inet_ntop(family, octets.data(), printed, sizeof(printed)));
  return printed;
}

std::string Prefix::Text() const {
  return Address() + "/" + std::to_string(length);
}

bool Prefix::IsHost() const {
  if (!IsIpv4() || length > kLongestWithBroadcast) return true;
  bool has_zero = false;
  bool has_one = false;
  for (unsigned i = length; i < kIpv4Bits; ++i) {
    (BitOf(*this, i) ? has_one : has_zero) = true;
  }
  return has_zero && has_one;
}

Prefix Prefix::WithLength(unsigned new_length) const {
  Prefix changed = *this;
  changed.length = new_length;
  return changed;
}

Prefix Prefix::Neighbour(bool is_upwards) const {
  Prefix next = *this;
  const unsigned char step = is_upwards ? 1 : UCHAR_MAX;
  const unsigned char carries_at = is_upwards ? 0 : UCHAR_MAX;
  for (std::size_t i = bits() / kOctetBits; i > 0; --i) {
    unsigned char& octet = next.octets.at(i - 1);
    octet = static_cast<unsigned char>(octet + step);
    if (octet != carries_at) break;
  }
  return next;
}

std::optional<Prefix> ParsePrefix(const std::string& text) {
  const std::size_t slash = text.find('/');
  Prefix prefix;
  prefix.family = text.find(':') == std::string::npos ? AF_INET : AF_INET6;
  prefix.length = prefix.bits();
  if (inet_pton(prefix.family, text.substr(0, slash).c_str(),
                prefix.octets.data()) != 1) {
    return std::nullopt;
  }
  if (slash == std::string::npos) return prefix;
  const char* end = text.data() + text.size();
  const auto [rest, error] =
      std::from_chars(text.data() + slash + 1, end, prefix.length);
  if (error != std::errc() || rest != end || prefix.length > prefix.bits()) {
    return std::nullopt;
  }
  return prefix;
}

unsigned CommonBits(const Prefix& a, const Prefix& b) {
  unsigned common = 0;
  while (common < a.bits() && BitOf(a, common) == BitOf(b, common)) ++common;
  return common;
}

bool Contains(const Prefix& a, const Prefix& b) {
  return CommonBits(a, b) >= a.length;
}

std::string OctetsOf(const Prefix& prefix) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < prefix.bits() / kOctetBits; ++i) {
    if (i > 0) text += ':';
    text += kDigits[prefix.octets.at(i) / 16];
    text += kDigits[prefix.octets.at(i) % 16];
  }
  return text;
}

}  // namespace ipav::fixer
