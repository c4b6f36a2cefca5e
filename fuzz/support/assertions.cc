// Must not include a header that declares the C library's assertion failure: it
// is declared noexcept, and this one throws.

#include "fuzz/support/assertions.h"

#include <string>

#include "fuzz/support/finding.h"

namespace ipav::fuzz {

namespace {

struct KnownAssertion {
  const char* file;
  const char* expression;
};

// Every assertion that a call can fail. Those on the type of a prefix length in
// config.cc, on v[0][0] in validate_intf_vrf.cc's choice of a walk and in the
// OSPFv3 walk cannot: another one is in front, or nothing makes that walk.
constexpr KnownAssertion kKnown[] = {
    {"src/lib/config.cc", "(&keypath->v[0][0])->type == C_XMLTAG"},
    {"src/lib/config.cc", "(&confd_if_index)->type == C_INT32"},
    {"src/lib/config.cc", "(&l3_vrf_name)->type == C_BUF"},
    {"src/lib/config.cc", "(&vrf)->type == C_BUF"},
    {"src/lib/static_route_config",
     "(&cursor.keys[kNetworkAddrType])->type == C_ENUM_VALUE"},
    {"src/lib/static_route_config",
     "(&cursor.keys[kNetworkPrefixLen])->type == C_INT32"},
    {"src/lib/static_route_config",
     "(&cursor.keys[kFteIndex])->type == C_UINT32"},
    {"src/lib/static_route_config", "(&l3_intf_name)->type == C_BUF"},
    {"src/lib/validate_intf_vrf.cc", "(&keypath->v[4][0])->type == C_XMLTAG"},
    {"src/lib/validate_intf_vrf.cc", "(&kp->v[0][0])->type == C_XMLTAG"},
    {"src/lib/validate_intf_vrf.cc", "(&kp->v[1][0])->type == C_BUF"},
    {"src/lib/validate_ip_addr_cross_ospf.cc",
     "(&keypath->v[1][0])->type == C_BUF"},
    {"src/lib/validate_ip_addr_cross_ospf.cc",
     "(&mc_intf.keys[0])->type == C_UINT32"},
    {"src/lib/validate_ip_addr_cross_ospf.cc",
     "(&mc_intf.keys[1])->type == C_IPV4"},
    {"src/lib/validate_ip_addr_cross_ospf.cc",
     "(&mc_intf.keys[2])->type == C_BUF"},
    {"src/lib/validate_nd_ra.cc", "(&keypath->v[3][0])->type == C_BUF"},
    {"src/lib/validate_nd_ra.cc", "(&keypath->v[4][0])->type == C_XMLTAG"},
};

}  // namespace

}  // namespace ipav::fuzz

// Takes the place of the C library's. The plug-in fails its assertions in one
// function that holds nothing, which an exception can leave; a macro's own
// failure is an assertion under another file name, and a finding.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" [[noreturn]] void __assert_fail(const char* expression,
                                           const char* file, unsigned line,
                                           const char* function);

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
void __assert_fail(const char* expression, const char* file, unsigned line,
                   const char* function) {
  for (const auto& known : ipav::fuzz::kKnown) {
    if (known.file == std::string(file) &&
        known.expression == std::string(expression)) {
      throw ipav::fuzz::AssertionFailed{expression};
    }
  }
  ipav::fuzz::Finding(std::string(file) + ":" + std::to_string(line) + ": " +
                      function + ": assertion " + expression);
}
