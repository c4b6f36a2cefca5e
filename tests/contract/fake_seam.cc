// The contract suite's data on the fake platform: what running.xml and
// candidate.xml hold, as far as the suite asks for it.

#include <sstream>
#include <string>
#include <vector>

#include "tests/contract/seam_under_test.h"
#include "tests/support/builders.h"
#include "tests/support/fake_platform.h"

namespace ipav::testing {

namespace {

constexpr char kL3[] = "/config/interface/l3";
constexpr char kInternal[] = "/internal";

void DeclareModel(FakePlatform& fake) {
  for (const std::string kind : {"l3", "loopback", "mgmt"}) {
    const std::string list = "/config/interface/" + kind;
    fake.DeclareModel(
        {list + "/name", list + "/vrf", list + "/enabled",
         list + "/lower-layer-if/vlan", list + "/ipv4/address/ip",
         list + "/ipv4/address/secondary/ip", list + "/ipv6/address/ip",
         list + "/ipv6/nd/ra/max-interval", list + "/ipv6/nd/ra/min-interval",
         list + "/ipv6/nd/ra/lifetime"});
  }
  fake.DeclareModel({
      "/internal/vrf-config/indexTOstring/vname",
      "/internal/ospf-interface-l3/ospf-pm-ip-netmask",
      "/internal/ospf-index-to-proc-id/proc_id",
      "/internal/ospf-index-to-proc-id/vrf_name",
      "/internal/ospfv3-interface-l3/area",
      "/internal/ospfv3-interface-l3/ospfv3-pm-if-index",
      "/internal/ospfv3-interface-l3/ospfv3-pm-if-name",
      "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry",
      "/rtmStaticRtEntry-global/rtmStaticRtDest",
      "/rtmStaticRtEntry-global/interface-name",
  });
}

void AddInterfaces(FakePlatform& fake) {
  StoreLines(fake,
             {"l3 core1 vrf red vlan 20 10.1.1.1/24 10.1.2.1/24 10.1.3.1/25 "
              "2001:db8:0:1::1/64 2001:db8:0:2::1/48",
              "l3 edge1 vrf blue vlan 30", "mgmt eth0 vrf mgmt"});
  const std::string l3 = kL3;
  fake.SetValue(l3 + "{core1}/name", Text("core1"));
  fake.SetValue(l3 + "{core1}/enabled", Bool(true));
  fake.SetValue(RaConfig{}.container() + "max-interval", Uint16(600));
  fake.SetValue(RaConfig{}.container() + "min-interval", Uint16(200));
  fake.SetValue(RaConfig{}.container() + "lifetime", Uint16(1800));
  fake.AddEntry(l3, {Text("lab two")});
  fake.SetValue(l3 + "{\"lab two\"}/vrf", Text("green"));
  fake.AddEntry(l3, {Text("odd{\"\\}")});
  fake.SetValue(l3 + R"({"odd{\"\\}"}/vrf)", Text("odd"));
  fake.AddEntry(l3, {Text("uplink")});
  fake.SetValue(l3 + "{uplink}/enabled", Bool(true));
}

void AddTables(FakePlatform& fake) {
  StoreVrfName(fake, 0, "global");
  StoreVrfName(fake, 7, "red");
  StoreLines(fake, {"ospf 1 l3-core1 10.1.1.1/24",
                    "ospf 2 l3-uplink 10.1.4.1/- 0.0.0.0", "process 1 100 red",
                    "process 2 - -",
                    "route 0 10.1.0.0/16 via 192.168.1.1 by l3-core1"});
  fake.SetValue(
      "/rtmStaticRtEntry-global{0 0a:01:00:00 16 c0:a8:01:01}/"
      "rtmStaticRtDest",
      Octets("0a:01:00:00"));
  fake.AddEntry("/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry",
                {Uint32(1), Enum(2), OctetsOf("2001:db8::"), Int32(32), Enum(2),
                 OctetsOf("fe80::1")});

  Ospfv3Row row;
  row.if_name.reset();
  row.StoreIn(fake);
  fake.SetValue(row.entry() + "/area", Ipv4(row.area));
  row.router = 2;
  row.area = "0.0.0.2";
  row.interface = "l3-edge1";
  row.if_index.reset();
  row.StoreIn(fake);
}

KeyPath Below(KeyPath path, const std::string& nodes) {
  std::istringstream in(nodes);
  for (std::string node; std::getline(in, node, '/');) path.Node(node);
  return path;
}

void AddChanges(FakePlatform& fake) {
  const KeyPath interfaces = Below(KeyPath(), "config/interface");
  const KeyPath core1 = Below(interfaces, "l3").Key(Text("core1"));
  const KeyPath edge1 = Below(interfaces, "l3").Key(Text("edge1"));
  const KeyPath uplink = Below(interfaces, "l3").Key(Text("uplink"));
  const KeyPath zeta = Below(interfaces, "l3").Key(Text("zeta"));
  const KeyPath eth0 = Below(interfaces, "mgmt").Key(Text("eth0"));
  const KeyPath secondary = Below(core1, "ipv4/address/secondary");
  const KeyPath ospfv3 =
      Below(KeyPath(), "internal/ospfv3-interface-l3")
          .Keys({Uint32(2), Ipv4("0.0.0.2"), Text("l3-edge1")});
  const Change changes[] = {
      {core1, MOP_MODIFIED, {}},
      {Below(core1, "lower-layer-if/vlan"), MOP_VALUE_SET, Int32(20)},
      {KeyPath(secondary).Key(Ipv4Plen("10.1.3.1/25")), MOP_CREATED, {}},
      {KeyPath(secondary).Key(Ipv4Plen("10.1.9.1/24")), MOP_DELETED, {}},
      {edge1, MOP_CREATED, {}},
      {Below(edge1, "enabled"), MOP_VALUE_SET, Bool(true)},
      {Below(edge1, "vrf"), MOP_VALUE_SET, Text("blue")},
      {Below(edge1, "lower-layer-if/vlan"), MOP_VALUE_SET, Int32(30)},
      {uplink, MOP_MODIFIED, {}},
      {Below(uplink, "enabled"), MOP_VALUE_SET, Bool(true)},
      {Below(uplink, "vrf"), MOP_DELETED, {}},
      {zeta, MOP_DELETED, {}},
      {eth0, MOP_MODIFIED, {}},
      {Below(eth0, "ipv4/address/ip"), MOP_VALUE_SET, Ipv4Plen("192.0.2.2/24")},
      {ospfv3, MOP_CREATED, {}},
      {Below(ospfv3, "ospfv3-pm-if-name"), MOP_VALUE_SET, Text("l3-edge1")}};
  for (const auto& [node, op, value] : changes) fake.AddChange(node, op, value);
}

void SetRunning(FakePlatform& fake) {
  const std::string l3 = kL3;
  fake.SetRunning(l3 + "{core1}/lower-layer-if/vlan", Int32(10));
  fake.SetRunning(l3 + "{core1}/vrf", Text("red"));
  fake.SetRunning(l3 + "{zeta}/lower-layer-if/vlan", Int32(40));
}

class FakeSeam : public SeamUnderTest {
 public:
  FakeSeam() {
    fake_.Reset();
    DeclareModel(fake_);
    AddInterfaces(fake_);
    AddTables(fake_);
    AddChanges(fake_);
    SetRunning(fake_);
    fake_.SetXpathAnswer(
        kInternal,
        "ospfv3-interface-l3[ospfv3-pm-if-name='l3-core1']/ospfv3-pm-if-name",
        "l3-core1");
  }
  ~FakeSeam() override { fake_.Reset(); }

  int socket() const override { return FakePlatform::kSocket; }
  int thandle() const override { return FakePlatform::kTransaction; }
  confd_trans_ctx* tctx() override { return fake_.tctx(); }
  void set_lib_context(void* context) override {
    fake_.set_lib_context(context);
  }
  std::string error_text() override { return fake_.error_text(); }

  std::vector<std::string> debug_lines() override {
    std::vector<std::string> lines;
    for (const LogLine& line : fake_.log_lines()) lines.push_back(line.text);
    return lines;
  }

  std::vector<std::string> fault_messages() override {
    std::vector<std::string> messages;
    for (const Fault& fault : fake_.faults()) {
      messages.push_back(fault.message);
    }
    return messages;
  }

 private:
  FakePlatform& fake_ = Fake();
};

}  // namespace

std::unique_ptr<SeamUnderTest> OpenSeam() {
  return std::make_unique<FakeSeam>();
}

}  // namespace ipav::testing
