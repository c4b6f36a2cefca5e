#include "tests/model/pools.h"

namespace ipav::model {

// A few neighbours of one network, its first and last address, the ends of the
// whole space, and the unspecified address.
std::string AnyAddress(Choices* choices, int family) {
  if (family == 4) {
    return choices->Pick<std::string>({{9, "10.0.0.1"},
                                       {6, "10.0.0.2"},
                                       {3, "10.0.0.3"},
                                       {6, "10.0.1.1"},
                                       {6, "10.2.0.129"},
                                       {6, "172.16.0.1"},
                                       {6, "192.168.1.1"},
                                       {2, "10.0.0.0"},
                                       {2, "10.0.0.255"},
                                       {1, "128.0.0.0"},
                                       {1, "127.255.255.255"},
                                       {1, "255.255.255.255"},
                                       {1, "0.0.0.1"},
                                       {2, "0.0.0.0"}});
  }
  return choices->Pick<std::string>(
      {{12, "2000:0:0:1::1"},
       {6, "2000:0:0:1::2"},
       {3, "2000:0:0:1::3"},
       {6, "2000:0:0:2::1"},
       {6, "2000:0:0:100::1"},
       {6, "fd00::1"},
       {2, "2000:0:0:1::"},
       {2, "8000::"},
       {1, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
       {1, "::1"},
       {2, "::"}});
}

Prefix AnyPrefix(Choices* choices, int family) {
  const Octets address = AddressOf(AnyAddress(choices, family));
  if (family == 4) {
    return {address,
            choices->Pick<std::int32_t>(
                {{8, 32}, {6, 24}, {5, 30}, {5, 31}, {2, 8}, {1, 1}, {1, 0}})};
  }
  return {address, choices->Pick<std::int32_t>(
                       {{8, 128}, {8, 64}, {6, 127}, {1, 1}, {1, 0}})};
}

Leaf<std::string> AnyVrf(Choices* choices) {
  return choices->Pick<Leaf<std::string>>({{8, {}},
                                           {6, {true, "red"}},
                                           {3, {true, "mgmt"}},
                                           {2, {true, "global"}},
                                           {1, {true, "blue"}},
                                           {1, {true, std::nullopt}}});
}

std::string AnyL3Key(Choices* choices) {
  return choices->Pick<std::string>({{30, "1"},
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

std::string AnyPlainKey(Choices* choices) {
  return choices->OneOf<std::string>({"1", "2", "a"});
}

std::int32_t AnyVlan(Choices* choices) {
  return choices->Pick<std::int32_t>({{3, 7}, {1, 0}, {1, 4094}});
}

}  // namespace ipav::model
