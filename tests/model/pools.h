// The few values that random configurations and calls are made of.
#ifndef IPAV_TESTS_MODEL_POOLS_H_
#define IPAV_TESTS_MODEL_POOLS_H_

#include <cstdint>
#include <string>

#include "tests/model/choices.h"
#include "tests/model/configuration.h"

namespace ipav::model {

// An address as a text. The first ones are those that interfaces have most
// often.
std::string AnyAddress(Choices* choices, int family);
Prefix AnyPrefix(Choices* choices, int family);
Leaf<std::string> AnyVrf(Choices* choices);
std::int32_t AnyVlan(Choices* choices);

// Of an l3 interface, most are valid; of another one.
std::string AnyL3Key(Choices* choices);
std::string AnyPlainKey(Choices* choices);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_POOLS_H_
