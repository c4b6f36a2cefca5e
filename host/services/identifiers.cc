// Interface and VRF identifiers of the embedded host: plain functions of their
// arguments, so that a configuration alone decides every answer.

#include <ids/limid.h>
#include <ids/vrf_id.h>

#include <cstdint>

#include "host/confd/tracer.h"

namespace {

constexpr limid_t kL3VlanKind = 0x01000000;
constexpr limid_t kIndexMask = 0x00ffffff;
constexpr std::uint32_t kFirstIfIndex = 1000;

}  // namespace

using ipav::confd::CallTrace;

int limid_l3_vlan_from_components(limid_t* out, int32_t vlan) {
  CallTrace trace(__func__, vlan);
  *out = vlan == 0 ? 0 : kL3VlanKind + static_cast<limid_t>(vlan);
  if (trace.is_on()) trace.set_answer(std::to_string(*out));
  return trace.End(0);
}

int limid_to_ifindex(limid_t id, uint32_t* ifindex) {
  CallTrace trace(__func__, id);
  *ifindex = (id & kIndexMask) + kFirstIfIndex;
  if (trace.is_on()) trace.set_answer(std::to_string(*ifindex));
  return trace.End(0);
}

uint32_t IdVrfFromComponent(uint32_t component) {
  CallTrace trace(__func__, component);
  if (trace.is_on()) trace.set_answer(std::to_string(component));
  trace.End();
  return component;
}
