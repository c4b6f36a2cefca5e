// A configuration of the model on the fake platform.
#ifndef IPAV_TESTS_MODEL_FAKE_CONFIGURATION_H_
#define IPAV_TESTS_MODEL_FAKE_CONFIGURATION_H_

#include "tests/model/configuration.h"
#include "tests/support/builders.h"
#include "tests/support/value.h"

namespace ipav::model {

testing::Value ValueOf(const Prefix& prefix);
testing::KeyPath KeyPathOf(const Place& place);

// The fake must be empty.
void ShowOnFake(const Configuration& configuration);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_FAKE_CONFIGURATION_H_
