// The small sets of values from which random configurations and calls are made.
#ifndef IPAV_TESTS_MODEL_POOLS_H_
#define IPAV_TESTS_MODEL_POOLS_H_

#include <cstdint>
#include <string>

#include "tests/model/choices.h"
#include "tests/model/configuration.h"

namespace ipav::model {

// An address as text. The first ones are the most frequent ones of interfaces.
std::string AnyAddress(Choices* choices, int family);
Prefix AnyPrefix(Choices* choices, int family);
Leaf<std::string> AnyVrf(Choices* choices);
std::int32_t AnyVlan(Choices* choices);

// Keys of l3 interfaces, mostly valid, and of other interfaces.
std::string AnyL3Key(Choices* choices);
std::string AnyPlainKey(Choices* choices);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_POOLS_H_
