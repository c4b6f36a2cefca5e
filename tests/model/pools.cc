#include "tests/model/pools.h"

namespace ipav::model {

using rc::Gen;
namespace gen = rc::gen;

// A few neighbours of one network, its first and last address, the ends of the
// whole space, and the unspecified address.
Octets Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
  return {a, b, c, d};
}

Gen<Octets> AnyIpv4() {
  return gen::weightedElement<Octets>({{9, Ipv4(10, 0, 0, 1)},
                                       {6, Ipv4(10, 0, 0, 2)},
                                       {3, Ipv4(10, 0, 0, 3)},
                                       {6, Ipv4(10, 0, 1, 1)},
                                       {6, Ipv4(10, 2, 0, 129)},
                                       {6, Ipv4(172, 16, 0, 1)},
                                       {6, Ipv4(192, 168, 1, 1)},
                                       {2, Ipv4(10, 0, 0, 0)},
                                       {2, Ipv4(10, 0, 0, 255)},
                                       {1, Ipv4(128, 0, 0, 0)},
                                       {1, Ipv4(127, 255, 255, 255)},
                                       {1, Ipv4(255, 255, 255, 255)},
                                       {1, Ipv4(0, 0, 0, 1)},
                                       {2, Ipv4(0, 0, 0, 0)}});
}

Octets Ipv6(std::uint8_t first, std::uint8_t seventh, std::uint8_t eighth,
            std::uint8_t last) {
  Octets address(16, 0);
  address[0] = first;
  address[6] = seventh;
  address[7] = eighth;
  address[15] = last;
  return address;
}

Gen<Octets> AnyIpv6() {
  return gen::weightedElement<Octets>({{12, Ipv6(0x20, 0, 1, 1)},
                                       {6, Ipv6(0x20, 0, 1, 2)},
                                       {3, Ipv6(0x20, 0, 1, 3)},
                                       {6, Ipv6(0x20, 0, 2, 1)},
                                       {6, Ipv6(0x20, 1, 0, 1)},
                                       {6, Ipv6(0xfd, 0, 0, 1)},
                                       {2, Ipv6(0x20, 0, 1, 0)},
                                       {2, Ipv6(0x80, 0, 0, 0)},
                                       {1, Octets(16, 0xff)},
                                       {1, Ipv6(0, 0, 0, 1)},
                                       {2, Octets(16, 0)}});
}

namespace {

Gen<std::int32_t> AnyLength(int family) {
  if (family == 4) {
    return gen::weightedElement<std::int32_t>(
        {{8, 32}, {6, 24}, {5, 30}, {5, 31}, {2, 8}, {1, 1}, {1, 0}});
  }
  return gen::weightedElement<std::int32_t>(
      {{8, 128}, {8, 64}, {6, 127}, {1, 1}, {1, 0}});
}

}  // namespace

Gen<Prefix> AnyPrefix(int family) {
  return gen::construct<Prefix>(family == 4 ? AnyIpv4() : AnyIpv6(),
                                AnyLength(family));
}

Gen<Leaf<std::string>> AnyVrf() {
  const auto named = [](const std::string& name) {
    return Leaf<std::string>{true, name};
  };
  return gen::weightedElement<Leaf<std::string>>({{8, {}},
                                                  {6, named("red")},
                                                  {3, named("mgmt")},
                                                  {2, named("global")},
                                                  {1, named("blue")},
                                                  {1, {true, std::nullopt}}});
}

Gen<std::string> AnyL3Key() {
  return gen::weightedElement<std::string>({{30, "1"},
                                            {30, "2"},
                                            {30, "core-1_X"},
                                            {10, std::string(60, 'n')},
                                            {2, std::string(61, 'n')},
                                            {1, std::string(61, '.')},
                                            {1, "50%s%n"},
                                            {1, "a.b"},
                                            {1, "\xc3\xa4"},
                                            {1, "a b"},
                                            {3, ""}});
}

Gen<std::string> AnyPlainKey() {
  return gen::element<std::string>("1", "2", "a");
}

Gen<std::int32_t> AnyVlan() {
  return gen::weightedElement<std::int32_t>({{3, 7}, {1, 0}, {1, 4094}});
}

}  // namespace ipav::model
