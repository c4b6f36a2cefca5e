// Random configurations with few different addresses, names and VRFs, so that
// these often coincide.
#ifndef IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_
#define IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_

#include <vector>

#include "tests/model/choices.h"
#include "tests/model/configuration.h"

namespace ipav::model {

Configuration AnyConfiguration(Choices* choices);

// random_ospf.cc: adds the OSPF tables, the running VLANs and the changes. Most
// rows of OSPF match the interfaces.
void AddOspf(Choices* choices, Configuration* configuration);

// A row that cannot be read, because one of its keys is invalid.
Ospfv2Row AnyBadRow(Choices* choices);

// Inserts a row at a random position.
void InsertAnywhere(Choices* choices, const Ospfv2Row& row,
                    std::vector<Ospfv2Row>* rows);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_RANDOM_CONFIGURATION_H_
