// The contract suite's data on the fake platform: what running.xml and
// candidate.xml hold, as far as the suite asks for it.

#include <string>
#include <vector>

#include "tests/contract/seam_under_test.h"
#include "tests/support/fake_platform.h"

namespace ipav::testing {

namespace {

constexpr char kL3[] = "/config/interface/l3";
constexpr char kCore1[] = "/config/interface/l3{core1}";
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

void AddCore1(FakePlatform& fake) {
  const std::string core1 = kCore1;
  fake.AddEntry(kL3, {Text("core1")});
  fake.SetValue(core1 + "/name", Text("core1"));
  fake.SetValue(core1 + "/vrf", Text("red"));
  fake.SetValue(core1 + "/enabled", Bool(true));
  fake.SetValue(core1 + "/lower-layer-if/vlan", Int32(20));
  fake.SetValue(core1 + "/ipv4/address/ip", Ipv4Plen("10.1.1.1/24"));
  for (const std::string ip : {"10.1.2.1/24", "10.1.3.1/25"}) {
    fake.AddEntry(core1 + "/ipv4/address/secondary", {Ipv4Plen(ip)});
    fake.SetValue(core1 + "/ipv4/address/secondary{" + ip + "}/ip",
                  Ipv4Plen(ip));
  }
  for (const std::string ip : {"2001:db8:0:1::1/64", "2001:db8:0:2::1/48"}) {
    fake.AddEntry(core1 + "/ipv6/address", {Ipv6Plen(ip)});
    fake.SetValue(core1 + "/ipv6/address{" + ip + "}/ip", Ipv6Plen(ip));
  }
  fake.SetValue(core1 + "/ipv6/nd/ra/max-interval", Uint16(600));
  fake.SetValue(core1 + "/ipv6/nd/ra/min-interval", Uint16(200));
  fake.SetValue(core1 + "/ipv6/nd/ra/lifetime", Uint16(1800));
}

void AddOtherInterfaces(FakePlatform& fake) {
  const std::string l3 = kL3;
  fake.AddEntry(l3, {Text("edge1")});
  fake.SetValue(l3 + "{edge1}/vrf", Text("blue"));
  fake.SetValue(l3 + "{edge1}/lower-layer-if/vlan", Int32(30));
  fake.AddEntry(l3, {Text("lab two")});
  fake.SetValue(l3 + "{\"lab two\"}/vrf", Text("green"));
  fake.AddEntry(l3, {Text("odd{\"\\}")});
  fake.SetValue(l3 + R"({"odd{\"\\}"}/vrf)", Text("odd"));
  fake.AddEntry(l3, {Text("uplink")});
  fake.SetValue(l3 + "{uplink}/enabled", Bool(true));
  fake.AddEntry("/config/interface/mgmt", {Text("eth0")});
  fake.SetValue("/config/interface/mgmt{eth0}/vrf", Text("mgmt"));
}

void AddTables(FakePlatform& fake) {
  const std::string vrfs = "/internal/vrf-config/indexTOstring";
  fake.AddEntry(vrfs, {Uint32(0)});
  fake.SetValue(vrfs + "{0}/vname", Text("global"));
  fake.AddEntry(vrfs, {Uint32(7)});
  fake.SetValue(vrfs + "{7}/vname", Text("red"));

  const std::string ospf = "/internal/ospf-interface-l3";
  fake.AddEntry(
      ospf, {Uint32(1), Text("0.0.0.1"), Text("l3-core1"), Text("10.1.1.1")});
  fake.SetValue(ospf + "{1 0.0.0.1 l3-core1 10.1.1.1}/ospf-pm-ip-netmask",
                Uint8(24));
  fake.AddEntry(
      ospf, {Uint32(2), Text("0.0.0.0"), Text("l3-uplink"), Text("10.1.4.1")});

  const std::string processes = "/internal/ospf-index-to-proc-id";
  fake.AddEntry(processes, {Uint32(1)});
  fake.SetValue(processes + "{1}/proc_id", Uint32(100));
  fake.SetValue(processes + "{1}/vrf_name", Text("red"));
  fake.AddEntry(processes, {Uint32(2)});

  const std::string ospfv3 = "/internal/ospfv3-interface-l3";
  fake.AddEntry(ospfv3, {Uint32(1), Ipv4("0.0.0.1"), Text("l3-core1")});
  fake.SetValue(ospfv3 + "{1 0.0.0.1 l3-core1}/area", Ipv4("0.0.0.1"));
  fake.SetValue(ospfv3 + "{1 0.0.0.1 l3-core1}/ospfv3-pm-if-index",
                Uint32(1010));
  fake.AddEntry(ospfv3, {Uint32(2), Ipv4("0.0.0.2"), Text("l3-edge1")});
}

void AddStaticRoutes(FakePlatform& fake) {
  const std::string table = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
  fake.AddEntry(table, {Uint32(0), Enum(1), Octets("0a:01:00:00"), Int32(16),
                        Enum(1), Octets("c0:a8:01:01")});
  fake.AddEntry(
      table,
      {Uint32(1), Enum(2),
       Octets("20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:00"), Int32(32),
       Enum(2), Octets("fe:80:00:00:00:00:00:00:00:00:00:00:00:00:00:01")});

  const std::string interfaces = "/rtmStaticRtEntry-global";
  const std::string entry = interfaces + "{0 0a:01:00:00 16 c0:a8:01:01}";
  fake.AddEntry(interfaces, {Uint32(0), Octets("0a:01:00:00"), Int32(16),
                             Octets("c0:a8:01:01")});
  fake.SetValue(entry + "/rtmStaticRtDest", Octets("0a:01:00:00"));
  fake.SetValue(entry + "/interface-name", Text("l3-core1"));
}

KeyPath Interface(const std::string& kind, const std::string& name) {
  return KeyPath().Node("config").Node("interface").Node(kind).Key(Text(name));
}

KeyPath Secondary(const std::string& ip) {
  KeyPath path = Interface("l3", "core1").Node("ipv4").Node("address");
  return path.Node("secondary").Key(Ipv4Plen(ip));
}

void AddChanges(FakePlatform& fake) {
  fake.AddChange(Interface("l3", "core1"), MOP_MODIFIED);
  fake.AddChange(Interface("l3", "core1").Node("lower-layer-if").Node("vlan"),
                 MOP_VALUE_SET, Int32(20));
  fake.AddChange(Secondary("10.1.3.1/25"), MOP_CREATED);
  fake.AddChange(Secondary("10.1.9.1/24"), MOP_DELETED);
  fake.AddChange(Interface("l3", "edge1"), MOP_CREATED);
  fake.AddChange(Interface("l3", "edge1").Node("enabled"), MOP_VALUE_SET,
                 Bool(true));
  fake.AddChange(Interface("l3", "edge1").Node("vrf"), MOP_VALUE_SET,
                 Text("blue"));
  fake.AddChange(Interface("l3", "edge1").Node("lower-layer-if").Node("vlan"),
                 MOP_VALUE_SET, Int32(30));
  fake.AddChange(Interface("l3", "uplink"), MOP_MODIFIED);
  fake.AddChange(Interface("l3", "uplink").Node("enabled"), MOP_VALUE_SET,
                 Bool(true));
  fake.AddChange(Interface("l3", "uplink").Node("vrf"), MOP_DELETED);
  fake.AddChange(Interface("l3", "zeta"), MOP_DELETED);
  fake.AddChange(Interface("mgmt", "eth0"), MOP_MODIFIED);
  fake.AddChange(
      Interface("mgmt", "eth0").Node("ipv4").Node("address").Node("ip"),
      MOP_VALUE_SET, Ipv4Plen("192.0.2.2/24"));

  const KeyPath ospfv3 =
      KeyPath()
          .Node("internal")
          .Node("ospfv3-interface-l3")
          .Keys({Uint32(2), Ipv4("0.0.0.2"), Text("l3-edge1")});
  fake.AddChange(ospfv3, MOP_CREATED);
  fake.AddChange(KeyPath(ospfv3).Node("ospfv3-pm-if-name"), MOP_VALUE_SET,
                 Text("l3-edge1"));
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
    AddCore1(fake_);
    AddOtherInterfaces(fake_);
    AddTables(fake_);
    AddStaticRoutes(fake_);
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
