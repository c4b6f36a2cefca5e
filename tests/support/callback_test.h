// Fixture of the tests of callbacks: a plug-in between lib_init() and
// lib_finish(), called as the host calls it; and a small configuration with the
// calls that read it.
#ifndef IPAV_TESTS_SUPPORT_CALLBACK_TEST_H_
#define IPAV_TESTS_SUPPORT_CALLBACK_TEST_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "include/config.h"
#include "include/validate.h"
#include "include/validate_logger.h"
#include "tests/support/builders.h"
#include "tests/support/plugin_test.h"

namespace ipav::testing {

using Texts = std::vector<std::string>;

inline Texts Joined(std::initializer_list<Texts> parts) {
  Texts joined;
  for (const Texts& part : parts) {
    joined.insert(joined.end(), part.begin(), part.end());
  }
  return joined;
}

// The key path of a validation point on a whole list of interfaces.
inline KeyPath InterfaceListPath(const std::string& kind) {
  KeyPath path;
  path.Node("config").Node("interface").Node(kind);
  return path;
}

class CallbackTest : public PluginTest {
 protected:
  using Config = ip_application::config_valid::Config;

  void SetUp() override {
    // The logger asks for the host's log once per process: before the records
    // of any test begin.
    ip_application::config_valid::ValidateLogger::instance();
    PluginTest::SetUp();
    StartSnapshot();
  }

  void TearDown() override {
    EXPECT_EQ(lib_finish(&context_), 0);
    PluginTest::TearDown();
  }

  Config& config() { return *static_cast<Config*>(context_); }

  // Replaces the snapshot by a new one, which has read nothing.
  void StartSnapshot() {
    EXPECT_EQ(lib_finish(&context_), 0);
    ASSERT_EQ(lib_init(&context_), 0);
    fake.set_lib_context(context_);
  }

  // For a callback that is not called through validate().
  void BindSnapshot() {
    config().set_sock(FakePlatform::kSocket);
    config().set_confd_trans(fake.tctx());
  }

  int32_t Validate(const std::string& opaque, KeyPath path) {
    fake.ForgetCalls();
    fake.set_opaque(opaque);
    return validate(fake.tctx(), path.get(), &newval_);
  }

  // The recorded calls after the look-up of socket and context.
  Texts Reads() {
    const Texts calls = fake.CallTexts();
    EXPECT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[0], "hostd_maapi_socket_get()");
    EXPECT_EQ(calls[1], "get_lib_context(ip_app_validation)");
    return {calls.begin() + 2, calls.end()};
  }

  // The last call of all, "" when there is none.
  std::string LastCall() {
    return fake.calls().empty() ? "" : fake.calls().back().text();
  }

  // Those of Reads() whose text contains `piece`.
  Texts ReadsWith(const std::string& piece) {
    Texts found;
    for (const std::string& call : Reads()) {
      if (call.find(piece) != std::string::npos) found.push_back(call);
    }
    return found;
  }

 private:
  void* context_ = nullptr;
  confd_value_t newval_ = Nothing().Borrow();
};

// ---- A small configuration -------------------------------------------------

// One interface of each kind, an IPv4 route whose next hop is none of their
// addresses, and the address of core1 in OSPFv2. Every rule accepts it.
inline void StoreSmallConfiguration(FakePlatform& platform) {
  StoreLines(platform,
             {"l3 core1 10.1.1.1/24 2001:db8::1/64", "mgmt 9 10.2.2.2/24",
              "loopback 1", "route 0 10.1.0.0/24 via 192.168.1.1",
              "process 7 10 global", "ospf 7 l3-core1 10.1.1.1/24"});
}

// The calls of its readers, for each family.

// The calls that read the keys of a list with one entry.
inline Texts KeyReads(const std::string& list, const std::string& plain_list,
                      const std::string& key) {
  return {"maapi_exists(" + list + ")",
          "maapi_init_cursor(" + list + ")",
          "maapi_get_next(" + plain_list + ")",
          "confd_pp_value(" + key + ")",
          "maapi_get_next(" + plain_list + ")",
          "maapi_destroy_cursor(" + plain_list + ")"};
}

inline Texts InterfaceKeyReads(const std::string& kind,
                               const std::string& key) {
  return KeyReads("/config/interface/ipapp:" + kind,
                  "/config/interface/" + kind, key);
}

inline Texts L3Ipv4Reads() {
  const std::string entry = "/config/interface/ipapp:l3{core1}";
  return Joined({InterfaceKeyReads("l3", "core1"),
                 {"maapi_exists(" + entry + "/ipv4/address/ip)",
                  "maapi_get_ipv4_and_plen_elem(" + entry + "/ipv4/address/ip)",
                  "maapi_exists(" + entry + "/ipv4/address/secondary)",
                  "maapi_exists(" + entry + "/lower-layer-if/vlan)",
                  "maapi_exists(" + entry + "/vrf)"}});
}

inline Texts L3Ipv6Reads() {
  const std::string entry = "/config/interface/ipapp:l3{core1}";
  const std::string ip = entry + "/ipv6/address{2001:db8::1/64}/ip";
  return Joined(
      {InterfaceKeyReads("l3", "core1"),
       KeyReads(entry + "/ipv6/address",
                "/config/interface/l3{core1}/ipv6/address", "2001:db8::1/64"),
       {"maapi_exists(" + ip + ")", "maapi_get_ipv6_and_plen_elem(" + ip + ")",
        "maapi_exists(" + entry + "/lower-layer-if/vlan)",
        "maapi_exists(" + entry + "/vrf)"}});
}

inline Texts MgmtIpv4Reads() {
  const std::string entry = "/config/interface/ipapp:mgmt{9}";
  return Joined({InterfaceKeyReads("mgmt", "9"),
                 {"maapi_exists(" + entry + "/ipv4/address/ip)",
                  "maapi_get_ipv4_and_plen_elem(" + entry + "/ipv4/address/ip)",
                  "maapi_exists(" + entry + "/vrf)"}});
}

inline Texts MgmtIpv6Reads() {
  const std::string entry = "/config/interface/ipapp:mgmt{9}";
  return Joined({InterfaceKeyReads("mgmt", "9"),
                 {"maapi_exists(" + entry + "/ipv6/address)",
                  "maapi_exists(" + entry + "/vrf)"}});
}

inline Texts LoopbackReads(const std::string& family) {
  const std::string entry = "/config/interface/ipapp:loopback{1}";
  return Joined({InterfaceKeyReads("loopback", "1"),
                 {"maapi_exists(" + entry + "/" + family + "/address)",
                  "maapi_exists(" + entry + "/vrf)"}});
}

// The whole table is read for either family.
inline Texts RouteReads() {
  const std::string table = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
  const std::string vrf_names =
      "/vorplex-internal:internal/vorplex-internal:vrf-config/indexTOstring";
  const std::string names =
      "/rtmStaticRtEntry-global{ 0 0a:01:00:00 24 c0:a8:01:01 }";
  return {"maapi_init_cursor(" + table + ")",
          "maapi_get_next(" + table + ")",
          "IdVrfFromComponent(0)",
          "maapi_exists(" + vrf_names + "{0}/vname)",
          "maapi_exists(" + names + "/interface-name)",
          "maapi_get_next(" + table + ")",
          "maapi_destroy_cursor(" + table + ")"};
}

inline Texts OspfReads() {
  const std::string table = "/internal/ospf-interface-l3";
  return {"maapi_exists(" + table + ")",
          "maapi_init_cursor(" + table + ")",
          "maapi_get_next(" + table + ")",
          "confd_pp_value(7)",
          "confd_pp_value(0.0.0.1)",
          "confd_pp_value(l3-core1)",
          "confd_pp_value(10.1.1.1)",
          "maapi_get_next(" + table + ")",
          "maapi_destroy_cursor(" + table + ")",
          "maapi_get_u_int8_elem(" + table +
              "{7 0.0.0.1 l3-core1 10.1.1.1}/ospf-pm-ip-netmask)",
          "maapi_get_u_int32_elem(/internal/ospf-index-to-proc-id{7}/proc_id)",
          "maapi_get_str_elem(/internal/ospf-index-to-proc-id{7}/vrf_name)"};
}

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_CALLBACK_TEST_H_
