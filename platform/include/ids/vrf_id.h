// The VRF identifier service.
#ifndef IPAV_PLATFORM_IDS_VRF_ID_H_
#define IPAV_PLATFORM_IDS_VRF_ID_H_

#include <stdint.h>

// Index, which is the key in the configuration's VRF table, of the VRF with
// that identifier.
extern "C" uint32_t IdVrfFromComponent(uint32_t component);

#endif  // IPAV_PLATFORM_IDS_VRF_ID_H_
