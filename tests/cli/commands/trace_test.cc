// ipav check --trace: each platform call, in order, with its answer.

#include <regex>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

// Without the times, which differ in each run.
std::string WithoutTimes(const std::string& trace) {
  return std::regex_replace(trace, std::regex("<[0-9]+\\.[0-9] us>"), "<T>");
}

class TraceTest : public FolderTest {
 protected:
  void SetUp() override {
    running_ = Write("running.json", OutputOf({"new", "--format", "json"}));
  }

  // A changed copy of the running configuration.
  std::string Edited(const std::string& from, const std::string& to) const {
    std::string text = ReadFile(running_);
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
    return Write("candidate.json", text);
  }

  // Candidates with one or two validation calls.
  std::string NewVlan() const { return Edited("\"vlan\": 20", "\"vlan\": 21"); }
  std::string NewTimer() const {
    return Edited("\"max-interval\": 600", "\"max-interval\": 601");
  }

  std::string TraceOf(const std::string& candidate) const {
    return WithoutTimes(
        Ipav({"check", "--trace", "--running", running_, candidate}).err);
  }

  // The command with the plug-in of these tests, which does something wrong at
  // the first validation call.
  std::string Doing(const std::string& deed,
                    const std::string& candidate) const {
    return "DEED=" + deed +
           " " IPAV_PROGRAM " check --trace --plugin " IPAV_CALLING_PLUGIN
           " --running " +
           running_ + " " + candidate;
  }

  // The trace of such a command.
  std::string FailureOf(const std::string& deed, int status = 3) const {
    const ProcessResult result = Shell(Doing(deed, NewVlan()));
    EXPECT_EQ(result.status, status);
    return WithoutTimes(result.err);
  }

  // The verdict of such a command, and what another one makes of its trace.
  static std::string Piped(const std::string& command,
                           const std::string& reader) {
    return Shell("{ " + command + " 2>&1 >&3 | " + reader + "; } 3>&1").out;
  }

  std::string running_;
};

TEST_F(TraceTest, ShowsTheCallsOfEachValidationCallInTheirOrder) {
  const std::string candidate = NewVlan();
  const std::string begin =
      "trace of " + candidate +
      "\n"
      "  lib_init = 0 <T>\n"
      "  static_route_l3_intf_validation /config/interface/l3\n"
      "    hostd_maapi_socket_get() = 1000000 <T>\n"
      "    get_lib_context(\"ip_app_validation\") = a pointer <T>\n"
      "    maapi_exists(/config/interface/ipapp:l3) = 1 <T>\n"
      "    maapi_init_cursor(/config/interface/ipapp:l3) = 0 <T>\n"
      "    maapi_get_next() = {\"users\"} <T>\n"
      "    confd_pp_value() = \"users\" <T>\n"
      "    maapi_get_next() = {\"uplink\"} <T>\n";
  const std::string end =
      "    = 0 <T>\n"
      "  lower_layer_prot_cross_validation "
      "/config/interface/l3{uplink}/lower-layer-if\n"
      "    hostd_maapi_socket_get() = 1000000 <T>\n"
      "    get_lib_context(\"ip_app_validation\") = a pointer <T>\n"
      "    maapi_exists(/internal/ospfv3-interface-l3) = 1 <T>\n"
      "    maapi_num_instances(/internal/ospfv3-interface-l3) = 1 <T>\n"
      "    hostd_instance_get() = a pointer <T>\n"
      "    HostdCdbSessionBase(1) = 1000001 <T>\n"
      "    cdb_get_int32(/config/interface/l3{uplink}/lower-layer-if/vlan) = "
      "20 <T>\n"
      "    ~HostdCdbSessionBase(1000001) <T>\n"
      "    maapi_get_int32_elem(/config/interface/l3{uplink}/lower-layer-if/"
      "vlan) = 21 <T>\n"
      "    maapi_init_cursor(/internal/ospfv3-interface-l3) = 0 <T>\n"
      "    maapi_get_next() = {1 0.0.0.0 \"l3-uplink\"} <T>\n"
      "    limid_l3_vlan_from_components(20) = 16777236 <T>\n"
      "    limid_to_ifindex(16777236) = 1020 <T>\n"
      "    maapi_get_u_int32_elem(/internal/ospfv3-interface-l3"
      "{ 1 0.0.0.0 l3-uplink }/ospfv3-pm-if-index) = 1020 <T>\n"
      "    confd_trans_seterr(\"vlan 20 cannot be changed, it is assigned to "
      "router ospfv3 1 area 0 (0.0.0.0)\") <T>\n"
      "    maapi_destroy_cursor() <T>\n"
      "    = -1 <T>\n"
      "  lib_finish = 0 <T>\n";
  const std::string trace = TraceOf(candidate);
  EXPECT_THAT(trace, StartsWith(begin));
  EXPECT_THAT(trace, EndsWith(end));
}

TEST_F(TraceTest, ShowsWhyACallFailed) {
  const std::string candidate = Edited("\"max-interval\": 600,", "");
  EXPECT_EQ(
      TraceOf(candidate),
      "trace of " + candidate +
          "\n"
          "  lib_init = 0 <T>\n"
          "  validate_ipv6_nd_ra_interval "
          "/config/interface/l3{users}/ipv6/nd/ra\n"
          "    hostd_maapi_socket_get() = 1000000 <T>\n"
          "    get_lib_context(\"ip_app_validation\") = a pointer <T>\n"
          "    maapi_exists(/config/interface/l3{users}/ipv6/nd/ra/"
          "max-interval) = 0 <T>\n"
          "    maapi_exists(/config/interface/l3{users}/ipv6/nd/ra/"
          "min-interval) = 1 <T>\n"
          "    maapi_get_u_int16_elem(/config/interface/l3{users}/ipv6/nd/ra/"
          "max-interval) = error 1, no such element <T>\n"
          "    confd_trans_seterr(\"fail to get maximum router advertisement "
          "interval value\") <T>\n"
          "    = -1 <T>\n"
          "  lib_finish = 0 <T>\n");
}

TEST_F(TraceTest, ShowsCallsWithinAWalkOverChangesInsideOfIt) {
  const std::string candidate =
      Edited("\"name\": \"uplink\"", R"("name": "uplink", "vrf": "global")");
  EXPECT_THAT(
      TraceOf(candidate),
      HasSubstr(
          "    maapi_keypath_diff_iterate(/config/interface/l3)\n"
          "      modified: /config/interface/l3{uplink}\n"
          "      set: /config/interface/l3{uplink}/vrf = \"global\"\n"
          "      maapi_xpath_eval_expr(\"ospfv3-interface-l3[ospfv3-pm-if-name="
          "'l3-uplink']/ospfv3-pm-if-name\", /internal) = \"l3-uplink\" <T>\n"
          "      = 0 <T>\n"
          "    confd_trans_seterr(\"l3 uplink is configured in OSPFv3 and "
          "cannot "
          "be associated with a VRF\") <T>\n"
          "    = -1 <T>\n"));
}

TEST_F(TraceTest, LeavesTheReportAsItIs) {
  for (const char* name : {"floor-4-vlan-changed.xml", "ra-timers-tuned.xml"}) {
    const std::string candidate = kBranch + name;
    const Words check = {"check", "--all", "--running", kRunning, candidate};
    ProcessResult traced = Ipav(Joined(check, {"--trace"}));
    EXPECT_NE(traced.err, "");
    traced.err = "";
    EXPECT_EQ(traced, Ipav(check));
  }
}

TEST_F(TraceTest, HasAsManyCallsAsTheReportCounts) {
  const std::string candidate = kBranch + "floor-7-added.xml";
  const ProcessResult result =
      Ipav({"check", "--trace", "-v", "--running", kRunning, candidate});
  const std::regex count("  platform call: (\\w+) (\\d+)\n");
  unsigned names = 0;
  for (auto it =
           std::sregex_iterator(result.out.begin(), result.out.end(), count);
       it != std::sregex_iterator(); ++it) {
    const std::string call = " " + (*it)[1].str() + "(";
    EXPECT_EQ(std::to_string(CountOf(call, result.err)), (*it)[2].str())
        << call;
    ++names;
  }
  EXPECT_GE(names, 8U);
}

TEST_F(TraceTest, NamesTheFileOfEachTrace) {
  const ProcessResult result =
      Ipav({"check", "--trace", "--running", running_, running_, running_});
  EXPECT_EQ(WithoutTimes(result.err),
            "trace of " + running_ +
                "\n  lib_init = 0 <T>\n  lib_finish = 0 <T>\n" + "trace of " +
                running_ + "\n  lib_init = 0 <T>\n  lib_finish = 0 <T>\n");
}

TEST_F(TraceTest, OfACrashEndsWithTheLastCall) {
  EXPECT_EQ(FailureOf("abort"),
            "trace of " + (folder_ / "candidate.json").string() +
                "\n  lib_init = 0 <T>\n"
                "  static_route_l3_intf_validation /config/interface/l3\n"
                "    hostd_maapi_socket_get() = 1000000 <T>\n"
                "    maapi_exists(/config/interface/l3) = 1 <T>\n");
}

TEST_F(TraceTest, OfACrashInsideOfACallEndsWithThatCall) {
#ifdef IPAV_SANITIZED
  GTEST_SKIP() << "the sanitizer has its own report";
#endif
  EXPECT_THAT(
      FailureOf("crash-in-call"),
      EndsWith("    maapi_exists(/config/interface/l3) = 1 <T>\n"
               "    maapi_get_elem(/config/interface/l3{users}/lower-layer-if/"
               "vlan)\n"));
}

TEST_F(TraceTest, ShowsWhatThePluginThrew) {
  EXPECT_THAT(FailureOf("throw"), HasSubstr("\n    = threw: no more <T>\n"));
}

TEST_F(TraceTest, KeepsACallOnOneLineWhateverItsTexts) {
  EXPECT_THAT(
      FailureOf("odd-texts", 1),
      HasSubstr(R"(    maapi_exists("/config/interface/l3{\"a\n\x01\"}") = 0 <T>
    maapi_exists(%x) = error 8, bad path: only %s, %d and %u may stand in %x <T>
    confd_trans_seterr("\"two\\\nlines\"") <T>
    = -1 <T>
)"));
}

TEST_F(TraceTest, HasNoBound) {
  // 2 times 40 calls of 1 MiB, more than the host keeps of a plug-in's output.
  const std::string candidate = NewTimer();
  std::string out =
      Piped(Doing("long-texts", candidate) + " --timeout 0", "wc -c");
  const std::string verdict =
      candidate + ": accepted (2 of 2 validation calls made)\n";
  const std::size_t at = out.find(verdict);
  ASSERT_NE(at, std::string::npos) << out;
  EXPECT_GT(std::stoull(out.erase(at, verdict.size())), 80ULL << 20);
}

TEST_F(TraceTest, ThatNobodyReadsLeavesTheVerdict) {
  const std::string candidate = NewTimer();
  EXPECT_EQ(Piped(Doing("long-text", candidate), "head -c 1000 >/dev/null"),
            candidate + ": accepted (2 of 2 validation calls made)\n");
}

TEST_F(TraceTest, FailsWithoutAStandardError) {
  EXPECT_EQ(Shell(IPAV_PROGRAM " check --trace " + running_ + " 2>&-").status,
            2);
}

}  // namespace

}  // namespace ipav::testing
