// The VRF identifier service.
#ifndef IPAV_PLATFORM_IDS_VRF_ID_H_
#define IPAV_PLATFORM_IDS_VRF_ID_H_

#include <stdint.h>

// Index of the VRF of that identifier, as the configuration's VRF table keys
// it.
extern "C" uint32_t IdVrfFromComponent(uint32_t component);

#endif  // IPAV_PLATFORM_IDS_VRF_ID_H_
