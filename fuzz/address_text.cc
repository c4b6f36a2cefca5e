// Reads texts as addresses and prefixes: with the plug-in's parser, the address
// types, and the data model's typedefs with the host's values for them.
//
// Legal: a value, or the error of the reader for other texts:
// boost::system::system_error of the parser, a refusal by the model.
// inet_pton() and the digits after the slash decide which readers must accept a
// text. A value prints as inet_ntop() prints it. Overlaps of two prefixes are
// compared with a test bit by bit.
//
// Input: lines; each is read as an address and as a prefix of either family,
// and compared with the previous line.

#include "src/lib/internal/address_text.h"

#include <arpa/inet.h>
#include <confd_maapi.h>

#include <algorithm>
#include <boost/system/system_error.hpp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/configurations.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/target.h"
#include "host/confd/session.h"
#include "host/datastore/diff.h"
#include "nettypes/ipv4.h"
#include "nettypes/ipv6.h"

namespace ipav::fuzz {

namespace {

namespace plugin = ip_application::config_valid::internal;

using confd::Session;
using datastore::DataTree;
using datastore::Diff;
using nettypes::IPv4Addr;
using nettypes::IPv4AddrMask;
using nettypes::IPv6Addr;
using nettypes::IPv6AddrMask;

constexpr std::size_t kMaxLines = 8;

// Where the families differ.
struct Ipv4 {
  using Octets = in_addr;
  using Addr = IPv4Addr;
  using Mask = IPv4AddrMask;
  using Prefix = confd_ipv4_prefix;
  static constexpr int kFamily = AF_INET;
  static constexpr int kBits = 32;
  static constexpr char kXml[] =
      "<ipv4><address><secondary><ip>@</ip></secondary></address></ipv4>";
  static constexpr char kList[] =
      "/config/interface/l3{x}/ipv4/address/secondary";
  static constexpr auto kGet = maapi_get_ipv4_and_plen_elem;
  static const Octets& OctetsOf(const Prefix& prefix) { return prefix.ip; }
  static void Set(const Octets& octets, Mask* mask) {
    mask->set_addr(octets.s_addr);
  }
};
struct Ipv6 {
  using Octets = in6_addr;
  using Addr = IPv6Addr;
  using Mask = IPv6AddrMask;
  using Prefix = confd_ipv6_prefix;
  static constexpr int kFamily = AF_INET6;
  static constexpr int kBits = 128;
  static constexpr char kXml[] = "<ipv6><address><ip>@</ip></address></ipv6>";
  static constexpr char kList[] = "/config/interface/l3{x}/ipv6/address";
  static constexpr auto kGet = maapi_get_ipv6_and_plen_elem;
  static const Octets& OctetsOf(const Prefix& prefix) { return prefix.ip6; }
  static void Set(const Octets& octets, Mask* mask) { mask->set_addr(octets); }
};

// An address and a length that may be none of its family.
template <typename Family>
struct Parsed {
  typename Family::Octets octets;
  int length;
  std::string length_text;
};

template <typename Family>
std::optional<Parsed<Family>> Parse(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return std::nullopt;
  Parsed<Family> parsed{};
  parsed.length_text = text.substr(slash + 1);
  if (inet_pton(Family::kFamily, text.substr(0, slash).c_str(),
                &parsed.octets) != 1) {
    return std::nullopt;
  }
  parsed.length =
      static_cast<int>(std::strtol(parsed.length_text.c_str(), nullptr, 10));
  return parsed;
}

template <typename Family>
std::string AddressText(const typename Family::Octets& octets) {
  char text[INET6_ADDRSTRLEN] = "";
  return inet_ntop(Family::kFamily, &octets, text, sizeof(text));
}

template <typename Family>
bool Bit(const typename Family::Octets& octets, int number) {
  unsigned char bytes[sizeof(octets)];
  std::memcpy(bytes, &octets, sizeof(octets));
  return ((bytes[number / 8] >> (7 - number % 8)) & 1) != 0;
}

// ---- The plug-in's parser --------------------------------------------------

void CheckParser(const std::string& text) {
  in_addr expected{};
  const bool is_address = inet_pton(AF_INET, text.c_str(), &expected) == 1;
  try {
    const IPv4Addr address = plugin::ParseIpv4(text);
    Require(is_address, "a text that is no address");
    Require(address.to_uint32() == ntohl(expected.s_addr), "another address");
    Require(address.to_string() == AddressText<Ipv4>(expected),
            "an address printed wrongly");
    Require(plugin::ParseIpv4(address.to_string()) == address,
            "an address does not read back");
  } catch (const boost::system::system_error&) {
    Require(!is_address, "an address that is refused");
  }
}

// ---- The address types -----------------------------------------------------

template <typename Family>
typename Family::Mask MaskOf(const Parsed<Family>& parsed) {
  typename Family::Mask mask;
  Family::Set(parsed.octets, &mask);
  mask.set_prefix_len(parsed.length);
  return mask;
}

template <typename Family>
int LengthIn(const Parsed<Family>& parsed) {
  return std::clamp(parsed.length, 0, Family::kBits);
}

// The bits behind the prefix all have that value.
bool HostBitsAre(bool value, const Parsed<Ipv4>& parsed) {
  for (int bit = LengthIn(parsed); bit < Ipv4::kBits; ++bit) {
    if (Bit<Ipv4>(parsed.octets, bit) != value) return false;
  }
  return true;
}

void CheckHostBits(const Parsed<Ipv4>& parsed, const IPv4AddrMask& mask) {
  Require(mask.IsNetworkAddress() == HostBitsAre(false, parsed),
          "a wrong network address");
  Require(mask.IsBroadcastAddress() == HostBitsAre(true, parsed),
          "a wrong broadcast address");
}
void CheckHostBits(const Parsed<Ipv6>& /*parsed*/,
                   const IPv6AddrMask& /*mask*/) {}

template <typename Family>
void CheckMask(const std::string& text) {
  const auto parsed = Parse<Family>(text);
  if (!parsed) return;
  const auto mask = MaskOf(*parsed);
  const std::string printed = AddressText<Family>(parsed->octets) + "/" +
                              std::to_string(parsed->length);
  Require(mask.to_string() == printed, "a prefix printed wrongly");
  std::ostringstream stream;
  stream << mask;
  Require(stream.str() == printed, "a prefix streamed wrongly");
  const bool is_zero = mask.addr() == typename Family::Addr();
  Require(mask.IsUnspecified() == is_zero, "a wrong unspecified address");
  CheckHostBits(*parsed, mask);
}

template <typename Family>
bool LeadingBitsAgree(const Parsed<Family>& a, const Parsed<Family>& b) {
  const int length = std::min(LengthIn(a), LengthIn(b));
  for (int bit = 0; bit < length; ++bit) {
    if (Bit<Family>(a.octets, bit) != Bit<Family>(b.octets, bit)) return false;
  }
  return true;
}

template <typename Family>
void CheckPair(const std::string& first, const std::string& second) {
  const auto a = Parse<Family>(first);
  const auto b = Parse<Family>(second);
  if (!a || !b) return;
  const auto mask_a = MaskOf(*a);
  const auto mask_b = MaskOf(*b);
  Require(mask_a.Overlap(mask_b) == LeadingBitsAgree(*a, *b),
          "a wrong overlap");
  Require(mask_a.Overlap(mask_b) == mask_b.Overlap(mask_a),
          "an overlap of one side");
  const int orders = (mask_a < mask_b ? 1 : 0) + (mask_b < mask_a ? 1 : 0) +
                     (mask_a == mask_b ? 1 : 0);
  Require(orders == 1, "neither less, nor equal, nor greater");
  const bool is_same =
      a->length == b->length &&
      std::memcmp(&a->octets, &b->octets, sizeof(a->octets)) == 0;
  Require((mask_a == mask_b) == is_same, "a wrong equality");
}

// ---- The model's typedefs --------------------------------------------------

// Texts that mean the same in XML as they stand.
bool IsPlain(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return c > ' ' && c < '\x7f' && c != '<' && c != '&' && c != '>';
  });
}

// A length in the family's range, without a superfluous digit.
template <typename Family>
bool IsLengthText(const Parsed<Family>& parsed) {
  return parsed.length >= 0 && parsed.length <= Family::kBits &&
         parsed.length_text == std::to_string(parsed.length);
}

template <typename Family>
std::optional<DataTree> TreeOf(const std::string& text) {
  std::string xml = Family::kXml;
  xml.replace(xml.find('@'), 1, text);
  return ReadConfiguration(
      "<config xmlns=\"urn:vorplex:config\"><interface>"
      "<l3 xmlns=\"urn:vorplex:ipapp\"><name>x</name>" +
      xml + "</l3></interface></config>");
}

// The value behind a key in this spelling and in the canonical one.
template <typename Family>
void RequireValue(const Parsed<Family>& parsed, const std::string& key) {
  const int sock = Session::maapi_socket();
  const int thandle = Session::Current()->context().thandle;
  const std::string path = std::string(Family::kList) + "{" + key + "}/ip";
  typename Family::Prefix value{};
  Require(Family::kGet(sock, thandle, &value, "%s", path.c_str()) == CONFD_OK,
          "an entry that is not found");
  const auto& octets = Family::OctetsOf(value);
  Require(std::memcmp(&octets, &parsed.octets, sizeof(octets)) == 0,
          "the value of another address");
  Require(value.len == parsed.length, "the value of another length");
}

template <typename Family>
void CheckTypedef(const std::string& text) {
  if (!IsPlain(text)) return;
  const auto parsed = Parse<Family>(text);
  const bool is_value = parsed && IsLengthText(*parsed);
  const std::optional<DataTree> tree = TreeOf<Family>(text);
  Require(tree.has_value() == is_value, "a prefix taken or refused wrongly");
  if (!tree) return;

  const Diff diff(*tree, *tree);
  Session session(*tree, *tree, diff);
  RequireValue(*parsed, text);
  RequireValue(*parsed,
               AddressText<Family>(parsed->octets) + "/" + parsed->length_text);
}

template <typename Family>
void CheckFamily(const std::string& text, const std::string& before) {
  CheckMask<Family>(text);
  CheckPair<Family>(before, text);
  CheckTypedef<Family>(text);
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> lines = ipav::fuzz::LinesOf(data, size);
  lines.resize(std::min(lines.size(), ipav::fuzz::kMaxLines));
  std::string before = lines.back();
  for (const std::string& line : lines) {
    ipav::fuzz::CheckParser(line);
    ipav::fuzz::CheckFamily<ipav::fuzz::Ipv4>(line, before);
    ipav::fuzz::CheckFamily<ipav::fuzz::Ipv6>(line, before);
    before = line;
  }
  return 0;
}
