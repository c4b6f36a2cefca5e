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

// Every assertion that can fail in a call. The others cannot: those on the type
// of a prefix length in config.cc and on v[0][0] in MakeListWalk() come after
// the same test, and no call makes the OSPFv3 walk.
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

// Replaces the C library's function. FailAssertion() of the plug-in has no
// local objects, so an exception may leave it. A failed assert() of another
// file is a finding.
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
