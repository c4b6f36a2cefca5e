// What routing and the running configuration add to random interfaces.
#ifndef IPAV_TESTS_MODEL_RANDOM_OSPF_H_
#define IPAV_TESTS_MODEL_RANDOM_OSPF_H_

#include <rapidcheck.h>

#include "tests/model/configuration.h"

namespace ipav::model {

// The configuration with OSPF on its interfaces, the VLANs that run, and
// changes. Most of what OSPF knows is right.
rc::Gen<Configuration> WithOspf(const Configuration& configuration);

// A row that cannot be read: one of its keys is not what it should be.
rc::Gen<Ospfv2Row> AnyBadRow();

// One row more, in front of the one with that number.
std::vector<Ospfv2Row> WithRowAt(std::vector<Ospfv2Row> rows, std::size_t at,
                                 const Ospfv2Row& row);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_RANDOM_OSPF_H_
