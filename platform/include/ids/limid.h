// The interface identifier service.
#ifndef IPAV_PLATFORM_IDS_LIMID_H_
#define IPAV_PLATFORM_IDS_LIMID_H_

#include <stdint.h>

// Identifier of an interface; 0 means none.
typedef uint32_t limid_t;

extern "C" {

// The l3 interface on the given VLAN. Returns 0 and sets *out on success.
int limid_l3_vlan_from_components(limid_t* out, int32_t vlan);

// The interface index (ifIndex) of an identifier. Returns 0 on success.
int limid_to_ifindex(limid_t id, uint32_t* ifindex);

}  // extern "C"

#endif  // IPAV_PLATFORM_IDS_LIMID_H_
