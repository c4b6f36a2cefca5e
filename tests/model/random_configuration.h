// Random configurations in which few addresses, names and VRFs meet often.
#ifndef IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_
#define IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_

#include <rapidcheck.h>

#include "tests/model/configuration.h"

namespace ipav::model {

rc::Gen<Configuration> AnyConfiguration();

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_
