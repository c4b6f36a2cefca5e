// The few values that random configurations and calls are made of.
#ifndef IPAV_TESTS_MODEL_POOLS_H_
#define IPAV_TESTS_MODEL_POOLS_H_

#include <rapidcheck.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/configuration.h"

namespace ipav::model {

Octets Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d);
Octets Ipv6(std::uint8_t first, std::uint8_t seventh, std::uint8_t eighth,
            std::uint8_t last);

rc::Gen<Octets> AnyIpv4();
rc::Gen<Octets> AnyIpv6();
rc::Gen<Prefix> AnyPrefix(int family);
rc::Gen<Leaf<std::string>> AnyVrf();
rc::Gen<std::int32_t> AnyVlan();

// Of an l3 interface; most are right.
rc::Gen<std::string> AnyL3Key();
rc::Gen<std::string> AnyPlainKey();

template <typename T>
rc::Gen<std::vector<T>> UpTo(int count, const rc::Gen<T>& element) {
  return rc::gen::resize(count, rc::gen::container<std::vector<T>>(element));
}

template <typename T>
rc::Gen<std::optional<T>> Often(const rc::Gen<T>& value) {
  return rc::gen::map(
      rc::gen::pair(rc::gen::weightedElement<bool>({{4, true}, {1, false}}),
                    value),
      [](std::pair<bool, T> some) {
        return some.first ? std::optional<T>(some.second) : std::nullopt;
      });
}

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_POOLS_H_
