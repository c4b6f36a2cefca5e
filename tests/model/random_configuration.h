// Random configurations in which few addresses, names and VRFs meet often.
#ifndef IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_
#define IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_

#include <vector>

#include "tests/model/choices.h"
#include "tests/model/configuration.h"

namespace ipav::model {

Configuration AnyConfiguration(Choices* choices);

// random_ospf.cc: puts OSPF on the interfaces, sets the VLANs that run, and
// makes changes. Most of what OSPF knows is right.
void AddOspf(Choices* choices, Configuration* configuration);

// A row that cannot be read: one of its keys is not what it should be.
Ospfv2Row AnyBadRow(Choices* choices);

// Adds a row, mostly between others.
void InsertAnywhere(Choices* choices, const Ospfv2Row& row,
                    std::vector<Ospfv2Row>* rows);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_
