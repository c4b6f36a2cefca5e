#include "tests/support/builders.h"

#include <cstddef>
#include <sstream>
#include <utility>

#include "tests/support/fake_platform.h"
#include "tests/support/path_text.h"

namespace ipav::testing {

namespace {

// In a path, the prefix length is an unsigned number.
std::vector<Value> NameKeysOf(const StaticRouteRow& row) {
  return {Uint32(row.vrf_id), OctetsOf(row.destination),
          Uint32(static_cast<std::uint32_t>(row.prefix_len)),
          OctetsOf(row.next_hop)};
}

}  // namespace

KeyPath& KeyPath::Element(std::vector<Value> row) {
  rows_.push_back(std::move(row));
  return *this;
}

KeyPath& KeyPath::Replace(std::size_t index, Value value) {
  rows_.at(rows_.size() - 1 - index) = {std::move(value)};
  return *this;
}

confd_hkeypath_t* KeyPath::get() {
  stored_ = {};
  for (auto row = rows_.rbegin(); row != rows_.rend(); ++row) {
    confd_value_t* element = stored_.v[stored_.len++];
    for (const Value& value : *row) *element++ = value.Borrow();
    if (row->front().type() != C_XMLTAG) *element = Nothing().Borrow();
  }
  return &stored_;
}

std::string KeyPath::text() const {
  Path path;
  for (const auto& row : rows_) {
    if (row.front().type() == C_XMLTAG) {
      path.push_back({row.front().KeyText(), {}});
      continue;
    }
    for (const Value& key : row) path.back().keys.push_back(key.KeyText());
  }
  return PathText(path);
}

std::string RaConfig::container() const {
  return "/config/interface/" + kind + "{" + name + "}/ipv6/nd/ra/";
}

KeyPath RaConfig::keypath() const {
  KeyPath path;
  path.Node("config").Node("interface").Node(kind).Key(Text(name));
  path.Node("ipv6").Node("nd").Node("ra");
  return path;
}

void RaConfig::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/config/interface/" + kind, {Text(name)});
  const struct {
    const char* leaf;
    const std::optional<std::uint16_t>& seconds;
  } timers[] = {{"max-interval", max_interval},
                {"min-interval", min_interval},
                {"lifetime", lifetime}};
  for (const auto& timer : timers) {
    if (!timer.seconds) continue;
    platform.SetValue(container() + timer.leaf, Uint16(*timer.seconds));
  }
}

// ---- Interfaces ------------------------------------------------------------

std::string InterfaceData::entry() const {
  return "/config/interface/ipapp:" + kind + "{" + name + "}";
}

std::string InterfaceData::ipv4_path() const {
  const std::string path = entry() + "/ipv4/address";
  return kind == "l3" ? path + "/secondary" : path;
}

std::string InterfaceData::ipv6_path() const {
  return entry() + "/ipv6/address";
}

void InterfaceData::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/config/interface/" + kind, {Text(name)});
  if (vrf) platform.SetValue(entry() + "/vrf", Text(*vrf));
  if (vlan) platform.SetValue(entry() + "/lower-layer-if/vlan", Int32(*vlan));
  if (ipv4 && kind != "loopback") {
    platform.SetValue(entry() + "/ipv4/address/ip", Ipv4Plen(*ipv4));
  }
  for (const std::string& address : ipv4_list) {
    platform.AddEntry(ipv4_path(), {Ipv4Plen(address)});
    platform.SetValue(ipv4_path() + "{" + address + "}/ip", Ipv4Plen(address));
  }
  for (const std::string& address : ipv6) {
    platform.AddEntry(ipv6_path(), {Ipv6Plen(address)});
    platform.SetValue(ipv6_path() + "{" + address + "}/ip", Ipv6Plen(address));
  }
}

// ---- Static routes ---------------------------------------------------------

std::vector<Value> StaticRouteRow::keys() const {
  const bool ipv6 = destination.find(':') != std::string::npos;
  return {Uint32(vrf_id),
          Enum(ipv6 ? 2 : 1),
          OctetsOf(destination),
          Int32(prefix_len),
          Enum(1),
          OctetsOf(next_hop)};
}

std::string StaticRouteRow::interface_name_path() const {
  Path path = {{"rtmStaticRtEntry-global", {}}, {"interface-name", {}}};
  for (const Value& key : NameKeysOf(*this)) {
    path.front().keys.push_back(key.KeyText());
  }
  return PathText(path);
}

void StaticRouteRow::AddNameEntry(FakePlatform& platform) const {
  platform.AddEntry("/rtmStaticRtEntry-global", NameKeysOf(*this));
}

void StaticRouteRow::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry", keys());
  if (!interface_name) return;
  AddNameEntry(platform);
  platform.SetValue(interface_name_path(), Text(*interface_name));
}

void StoreVrfName(FakePlatform& platform, std::uint32_t index,
                  const std::string& name) {
  const std::string list = "/internal/vrf-config/indexTOstring";
  platform.AddEntry(list, {Uint32(index)});
  platform.SetValue(list + "{" + std::to_string(index) + "}/vname", Text(name));
}

// ---- OSPFv2 ----------------------------------------------------------------

std::vector<Value> OspfRow::keys() const {
  return {Uint32(compound_id), Text(area), Text(interface), Text(address)};
}

std::string OspfRow::prefix_len_path() const {
  Path path = {
      {"internal", {}}, {"ospf-interface-l3", {}}, {"ospf-pm-ip-netmask", {}}};
  for (const Value& key : keys()) path[1].keys.push_back(key.KeyText());
  return PathText(path);
}

void OspfRow::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/internal/ospf-interface-l3", keys());
  if (prefix_len) platform.SetValue(prefix_len_path(), Uint8(*prefix_len));
}

std::string OspfProcess::proc_id_path() const {
  return "/internal/ospf-index-to-proc-id{" + std::to_string(compound_id) +
         "}/proc_id";
}

std::string OspfProcess::vrf_name_path() const {
  return "/internal/ospf-index-to-proc-id{" + std::to_string(compound_id) +
         "}/vrf_name";
}

void OspfProcess::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/internal/ospf-index-to-proc-id", {Uint32(compound_id)});
  if (proc_id) platform.SetValue(proc_id_path(), Uint32(*proc_id));
  if (vrf_name) platform.SetValue(vrf_name_path(), Text(*vrf_name));
}

// ---- OSPFv3 ----------------------------------------------------------------

std::vector<Value> Ospfv3Row::keys() const {
  return {Uint32(router), Ipv4(area), Text(interface)};
}

std::string Ospfv3Row::entry() const {
  Path path = {{"internal", {}}, {"ospfv3-interface-l3", {}}};
  for (const Value& key : keys()) path[1].keys.push_back(key.KeyText());
  return PathText(path);
}

std::string Ospfv3Row::if_index_path() const {
  return entry() + "/ospfv3-pm-if-index";
}

void Ospfv3Row::StoreIn(FakePlatform& platform) const {
  platform.AddEntry("/internal/ospfv3-interface-l3", keys());
  if (if_index) platform.SetValue(if_index_path(), Uint32(*if_index));
  if (if_name) {
    platform.SetValue(entry() + "/ospfv3-pm-if-name", Text(*if_name));
  }
}

// ---- One line of text for each ----------------------------------------------

InterfaceData InterfaceFrom(const std::string& line) {
  InterfaceData data;
  data.name.clear();
  data.ipv4.reset();
  std::istringstream in(line);
  in >> data.kind >> data.name;
  for (std::string word; in >> word;) {
    if (word == "vrf") {
      in >> data.vrf.emplace();
    } else if (word == "vlan") {
      in >> data.vlan.emplace();
    } else if (word.find(':') != std::string::npos) {
      data.ipv6.push_back(word);
    } else if (data.kind != "loopback" && !data.ipv4) {
      data.ipv4 = word;
    } else {
      data.ipv4_list.push_back(word);
    }
  }
  return data;
}

StaticRouteRow RouteFrom(const std::string& line) {
  StaticRouteRow row;
  row.interface_name.reset();
  std::istringstream in(line);
  std::string word;
  in >> row.vrf_id;
  std::getline(in >> std::ws, row.destination, '/');
  in >> row.prefix_len >> word >> row.next_hop;
  if (in >> word) in >> row.interface_name.emplace();
  return row;
}

OspfRow OspfRowFrom(const std::string& line) {
  OspfRow row;
  std::istringstream in(line);
  std::string length;
  in >> row.compound_id >> row.interface;
  std::getline(in >> std::ws, row.address, '/');
  in >> length >> std::ws;
  row.prefix_len.reset();
  if (length != "-") {
    row.prefix_len = static_cast<std::uint8_t>(std::stoul(length));
  }
  if (!in.eof()) in >> row.area;
  return row;
}

OspfProcess OspfProcessFrom(const std::string& line) {
  OspfProcess process;
  std::istringstream in(line);
  std::string number;
  in >> process.compound_id >> number;
  process.proc_id.reset();
  if (number != "-") {
    process.proc_id = static_cast<std::uint32_t>(std::stoul(number));
  }
  std::getline(in >> std::ws, process.vrf_name.emplace());
  if (process.vrf_name == "-") process.vrf_name.reset();
  return process;
}

void StoreLines(FakePlatform& platform, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    const std::size_t blank = line.find(' ');
    const std::string word = line.substr(0, blank);
    const std::string rest = line.substr(blank + 1);
    if (word == "route") {
      RouteFrom(rest).StoreIn(platform);
    } else if (word == "ospf") {
      OspfRowFrom(rest).StoreIn(platform);
    } else if (word == "process") {
      OspfProcessFrom(rest).StoreIn(platform);
    } else {
      InterfaceFrom(line).StoreIn(platform);
    }
  }
}

}  // namespace ipav::testing
