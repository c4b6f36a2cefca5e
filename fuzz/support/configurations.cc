#include "fuzz/support/configurations.h"

#include "fuzz/support/finding.h"
#include "fuzz/support/memory_file.h"
#include "host/datastore/input_error.h"
#include "host/datastore/libyang_error.h"

namespace ipav::fuzz {

namespace {

using datastore::DataTree;
using datastore::InputError;
using datastore::Model;

// Two interfaces in two VRFs with timers, routes and protocols on them.
constexpr char kSmallConfiguration[] = R"(
<config xmlns="urn:vorplex:config"><interface>
  <l3 xmlns="urn:vorplex:ipapp">
    <name>core1</name>
    <lower-layer-if><vlan>10</vlan></lower-layer-if>
    <ipv4><address><ip>10.1.1.1/24</ip>
      <secondary><ip>10.1.2.1/24</ip></secondary></address></ipv4>
    <ipv6><address><ip>2001:db8:1::1/64</ip></address>
      <nd><ra><max-interval>600</max-interval>
        <min-interval>200</min-interval><lifetime>1800</lifetime></ra></nd>
    </ipv6>
  </l3>
  <l3 xmlns="urn:vorplex:ipapp">
    <name>edge 2</name><vrf>red</vrf>
    <ipv4><address><ip>10.1.1.1/24</ip></address></ipv4>
  </l3>
  <loopback xmlns="urn:vorplex:ipapp">
    <name>0</name>
    <ipv4><address><ip>10.0.0.1/32</ip></address></ipv4>
    <ipv6><address><ip>2001:db8::1/128</ip></address></ipv6>
  </loopback>
  <mgmt xmlns="urn:vorplex:ipapp">
    <name>eth0</name><vrf>mgmt</vrf>
    <ipv4><address><ip>192.168.0.1/24</ip></address></ipv4>
  </mgmt>
</interface></config>
<internal xmlns="urn:vorplex:internal">
  <vrf-config>
    <indexTOstring><index>0</index><vname>global</vname></indexTOstring>
    <indexTOstring><index>1</index><vname>red</vname></indexTOstring>
  </vrf-config>
  <ospf-interface-l3>
    <compound-id>7</compound-id><area>0.0.0.1</area>
    <interface>l3-core1</interface><address>10.1.1.1</address>
    <ospf-pm-ip-netmask>24</ospf-pm-ip-netmask>
    <ospf-pm><instance><vrf-name>global</vrf-name></instance></ospf-pm>
  </ospf-interface-l3>
  <ospf-interface-l3>
    <compound-id>7</compound-id><area>0.0.0.1</area>
    <interface>l3-core1</interface><address>10.1.2.1</address>
    <ospf-pm-ip-netmask>24</ospf-pm-ip-netmask>
  </ospf-interface-l3>
  <ospf-index-to-proc-id>
    <compound-id>7</compound-id><proc_id>10</proc_id>
    <vrf_name>global</vrf_name>
  </ospf-index-to-proc-id>
  <ospfv3-interface-l3>
    <router>1</router><area>0.0.0.1</area><interface>l3-core1</interface>
    <ospfv3-pm-if-index>1010</ospfv3-pm-if-index>
    <ospfv3-pm-if-name>l3-core1</ospfv3-pm-if-name>
  </ospfv3-interface-l3>
</internal>
<DC-RTM-MIB xmlns="urn:vorplex:dc-rtm-mib"><rtmStaticRtTable>
  <rtmStaticRtEntry>
    <rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>
    <rtmStaticRtDestType>ipv4</rtmStaticRtDestType>
    <rtmStaticRtDest>0a:02:00:00</rtmStaticRtDest>
    <rtmStaticRtDestPfxLen>16</rtmStaticRtDestPfxLen>
    <rtmStaticRtNextHopType>ipv4</rtmStaticRtNextHopType>
    <rtmStaticRtNextHop>0a:01:01:09</rtmStaticRtNextHop>
  </rtmStaticRtEntry>
</rtmStaticRtTable></DC-RTM-MIB>
<rtmStaticRtEntry-global xmlns="urn:vorplex:dc-rtm-mib">
  <rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>
  <rtmStaticRtDest>0a:02:00:00</rtmStaticRtDest>
  <rtmStaticRtDestPfxLen>16</rtmStaticRtDestPfxLen>
  <rtmStaticRtNextHop>0a:01:01:09</rtmStaticRtNextHop>
  <interface-name>l3-core1</interface-name>
</rtmStaticRtEntry-global>
)";

void RequireOneLineOf(const std::string& file, const std::string& what) {
  Require(what.rfind(file + ":", 0) == 0, "a refusal that names no file");
  if (what.find('\n') != std::string::npos) Finding("two lines: " + what);
}

}  // namespace

const Model& ProjectModel() {
  static const Model kModel(IPAV_FUZZ_YANG_DIR, IPAV_FUZZ_YANG_EXTENSION);
  return kModel;
}

std::optional<DataTree> ReadConfiguration(const std::string& text) {
  const Model& model = ProjectModel();
  // Otherwise the errors of earlier inputs would accumulate.
  datastore::ClearErrors(model.context());
  static const MemoryFile kFile;
  kFile.Write(text);
  try {
    return DataTree::FromFile(model, kFile.path());
  } catch (const InputError& error) {
    for (const std::string& each : error.errors()) {
      RequireOneLineOf(kFile.path(), each);
    }
    return std::nullopt;
  }
}

const DataTree& SmallConfiguration() {
  static const DataTree kTree = [] {
    auto tree = ReadConfiguration(kSmallConfiguration);
    Require(tree.has_value(), "the small configuration is refused");
    return std::move(*tree);
  }();
  return kTree;
}

std::string SmallConfigurationText() { return kSmallConfiguration; }

}  // namespace ipav::fuzz
