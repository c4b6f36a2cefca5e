#include "include/config.h"

#include <confd_maapi.h>
#include <hostmw/fault.h>
#include <ids/vrf_id.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

#include "include/static_route_config.h"
#include "include/validate_logger.h"
#include "src/lib/internal/address_text.h"
#include "src/lib/internal/assertion.h"
#include "src/lib/internal/hash_index.h"
#include "src/lib/internal/maapi_owners.h"
#include "src/lib/internal/maapi_reads.h"
#include "src/lib/internal/model_tags.h"
#include "src/lib/internal/path_buffer.h"

namespace ip_application::config_valid {

namespace {

using internal::ElemValue;
using internal::EntryPaths;
using internal::HashIndex;
using internal::ReadBuffers;
using internal::RequireType;

// Of a printed key, with its NUL.
constexpr std::size_t kKeyTextSize = 256;

// Keys of a row of the OSPFv2 interface table.
constexpr unsigned kOspfCompoundId = 0;
constexpr unsigned kOspfArea = 1;       // dotted
constexpr unsigned kOspfInterface = 2;  // kind, hyphen, name
constexpr unsigned kOspfAddress = 3;    // dotted
constexpr unsigned kOspfRowKeys = 4;

constexpr char kGlobalVrf[] = "global";

// The name of a VRF, around its number.
constexpr char kVrfOfId[] =
    "/vorplex-internal:internal/vorplex-internal:vrf-config/indexTOstring{";
constexpr char kVrfNameLeaf[] = "}/vname";
constexpr std::size_t kMostDigits = 10;

// The source file that assertions and faults name.
constexpr char kSource[] = "src/lib/config.cc";

constexpr internal::AssertionSite kIpv4PrefixIsInt32 = {
    "(&prefix)->type == C_INT32", kSource, 225,
    "nettypes::IPv4AddrMask ip_application::config_valid::GenericConfig::"
    "get_ipv4_addr_mask(const confd_value_t&, const confd_value_t&) const"};
constexpr internal::AssertionSite kIpv6PrefixIsInt32 = {
    "(&prefix)->type == C_INT32", kSource, 243,
    "nettypes::IPv6AddrMask ip_application::config_valid::GenericConfig::"
    "get_ipv6_addr_mask(const confd_value_t&, const confd_value_t&) const"};
constexpr internal::AssertionSite kVlanIsInt32 = {
    "(&confd_if_index)->type == C_INT32", kSource, 264,
    "limid_t ip_application::config_valid::GenericConfig::"
    "get_intf_lim_id(const string&) const"};
constexpr internal::AssertionSite kVrfNameIsText = {
    "(&l3_vrf_name)->type == C_BUF", kSource, 282,
    "std::__cxx11::string ip_application::config_valid::GenericConfig::"
    "get_vrf_name(const string&) const"};
constexpr internal::AssertionSite kVrfOfIdIsText = {
    "(&vrf)->type == C_BUF", kSource, 303,
    "std::__cxx11::string ip_application::config_valid::GenericConfig::"
    "get_vrf_name_from_id(const confd_value_t&) const"};
constexpr internal::AssertionSite kPathEndsInNode = {
    "(&keypath->v[0][0])->type == C_XMLTAG", kSource, 659,
    "static ip_application::config_valid::InterfaceType "
    "ip_application::config_valid::Config::intf_type_from_confd_path("
    "confd_hkeypath_t*)"};

// Of what makes two rows one assignment.
std::size_t HashOfAssignment(const OspfIf& ospf_if) {
  constexpr std::size_t kFactor = 31;
  const std::hash<std::string> hash;
  return (hash(ospf_if.intf_name()) * kFactor + hash(ospf_if.vrf_name())) *
             kFactor +
         ospf_if.process_id();
}

// Has room in the index for so many records, whether or not it is there yet.
void ReserveIn(std::unique_ptr<HashIndex>* index, std::size_t count) {
  if (*index == nullptr) *index = std::make_unique<HashIndex>();
  (*index)->Reserve(count);
}

// The octets of a C_BINARY in their order, cut or filled with zeros.
template <typename Address>
Address OctetsOf(const confd_value_t& value) {
  Address address{};
  const unsigned char* octets = CONFD_GET_BINARY_PTR(&value);
  const std::size_t size = CONFD_GET_BINARY_SIZE(&value);
  std::copy_n(octets, std::min(size, sizeof(address)),
              reinterpret_cast<unsigned char*>(&address));
  return address;
}

}  // namespace

// Memory for the reads of one interface after the other.
struct internal::ReadBuffers {
  EntryPaths interface;  // of the one at hand
  EntryPaths address;    // of the entry of an address list at hand
  KeyTexts address_keys;
};

// Where the host's fault log knows a report to come from.
struct GenericConfig::FaultSite {
  const char* family;
  const char* function;
  int line;
};

void GenericConfig::ReportUnspecified(const FaultSite& site, const char* key) {
  char message[350];
  static_cast<void>(std::snprintf(message, sizeof(message),
                                  "Unspecified %s address for key '%s'",
                                  site.family, key));
  hostmw_gen_fault(0, site.function, kSource, site.line, message);
}

void GenericConfig::ReadConfigIfNeeded(ConfigAddrFamily family) {
  const bool is_ipv4 = family == ConfigAddrFamily::kIpv4;
  const bool is_ipv6 = family == ConfigAddrFamily::kIpv6;
  if (!is_ipv4 && !is_ipv6) return;

  bool& read = is_ipv4 ? ipv4_read_ : ipv6_read_;
  if (read) return;

  ReadConfig(family);
  read = true;  // only now: a read that throws is repeated
}

nettypes::IPv4AddrMask GenericConfig::get_ipv4_addr_mask(
    const std::string& path) const {
  return internal::ReadIpv4Mask(sock_, trans_->thandle, path);
}

nettypes::IPv6AddrMask GenericConfig::get_ipv6_addr_mask(
    const std::string& path) const {
  return internal::ReadIpv6Mask(sock_, trans_->thandle, path);
}

limid_t GenericConfig::get_intf_lim_id(const std::string& path) const {
  if (maapi_exists(sock_, trans_->thandle, "%s", path.c_str()) != 1) return 0;

  ElemValue vlan;
  if (maapi_get_elem(sock_, trans_->thandle, vlan.get(), "%s", path.c_str()) !=
      CONFD_OK) {
    return 0;
  }
  RequireType(*vlan, C_INT32, kVlanIsInt32);
  limid_t id = 0;
  // An identifier that the service does not give stays 0: no interface.
  static_cast<void>(
      limid_l3_vlan_from_components(&id, CONFD_GET_INT32(&*vlan)));
  return id;
}

std::string GenericConfig::get_vrf_name(const std::string& path) const {
  if (maapi_exists(sock_, trans_->thandle, "%s", path.c_str()) != 1) {
    return kGlobalVrf;
  }

  ElemValue name;
  if (maapi_get_elem(sock_, trans_->thandle, name.get(), "%s", path.c_str()) !=
      CONFD_OK) {
    return "";  // not "global": the interface has a VRF
  }
  RequireType(*name, C_BUF, kVrfNameIsText);
  return internal::TextOf(*name);
}

std::list<std::string> GenericConfig::get_key_list(
    const std::string& path) const {
  return internal::ReadFirstKeys<kKeyTextSize>(sock_, trans_->thandle, path);
}

void GenericConfig::ReadKeys(const std::string& path, unsigned int key_count,
                             internal::KeyTexts* keys) const {
  internal::ReadKeyTexts<kKeyTextSize>(sock_, trans_->thandle, path, key_count,
                                       keys);
}

std::list<std::vector<std::string>> GenericConfig::get_key_list(
    const std::string& path, unsigned int key_count) const {
  std::list<std::vector<std::string>> rows;
  internal::ForEachEntry(
      sock_, trans_->thandle, path, [&](const maapi_cursor& row) {
        std::vector<std::string>& keys = rows.emplace_back();
        for (unsigned int i = 0; i < key_count; ++i) {
          keys.emplace_back(internal::KeyText<kKeyTextSize>(row.keys[i]).text);
        }
      });
  return rows;
}

std::list<nettypes::IPv4AddrMask> GenericConfig::get_intf_ipv4_addr_mask_list(
    const std::string& path) const {
  ReadBuffers buffers;
  return ReadIpv4List(path, &buffers);
}

std::list<nettypes::IPv6AddrMask> GenericConfig::get_intf_ipv6_addr_mask_list(
    const std::string& path) const {
  ReadBuffers buffers;
  return ReadIpv6List(path, &buffers);
}

std::list<nettypes::IPv4AddrMask> GenericConfig::ReadIpv4List(
    const std::string& path, ReadBuffers* buffers) const {
  return ReadMaskList<nettypes::IPv4AddrMask>(
      path, &GenericConfig::get_ipv4_addr_mask,
      {"IPv4", "get_intf_ipv4_addr_mask_list", 133}, buffers);
}

std::list<nettypes::IPv6AddrMask> GenericConfig::ReadIpv6List(
    const std::string& path, ReadBuffers* buffers) const {
  return ReadMaskList<nettypes::IPv6AddrMask>(
      path, &GenericConfig::get_ipv6_addr_mask,
      {"IPv6", "get_intf_ipv6_addr_mask_list", 208}, buffers);
}

template <typename Mask>
std::list<Mask> GenericConfig::ReadMaskList(
    const std::string& path,
    Mask (GenericConfig::*read)(const std::string&) const,
    const FaultSite& site, ReadBuffers* buffers) const {
  std::list<Mask> masks;
  EntryPaths& paths = buffers->address;
  ReadKeys(path, 1, &buffers->address_keys);
  paths.Start(path);
  for (const char* key : buffers->address_keys) {
    paths.Enter(key);
    const Mask mask = (this->*read)(paths.Below("/ip"));
    if (mask.IsUnspecified()) {
      ReportUnspecified(site, key);
    } else {
      masks.push_back(mask);
    }
  }
  return masks;
}

nettypes::IPv4Addr GenericConfig::get_ipv4_addr(
    const confd_value_t& value) const {
  nettypes::IPv4Addr address;
  if (value.type == C_BINARY) {
    address.set_addr(OctetsOf<in_addr_t>(value));
  }
  return address;
}

nettypes::IPv6Addr GenericConfig::get_ipv6_addr(
    const confd_value_t& value) const {
  nettypes::IPv6Addr address;
  if (value.type == C_BINARY) address.set_addr(OctetsOf<in6_addr>(value));
  return address;
}

nettypes::IPv4AddrMask GenericConfig::get_ipv4_addr_mask(
    const confd_value_t& addr, const confd_value_t& prefix) const {
  if (addr.type != C_BINARY || prefix.type != C_INT32) return {};
  RequireType(prefix, C_INT32, kIpv4PrefixIsInt32);
  return {get_ipv4_addr(addr).to_uint32(), CONFD_GET_INT32(&prefix)};
}

nettypes::IPv6AddrMask GenericConfig::get_ipv6_addr_mask(
    const confd_value_t& addr, const confd_value_t& prefix) const {
  if (addr.type != C_BINARY || prefix.type != C_INT32) return {};
  RequireType(prefix, C_INT32, kIpv6PrefixIsInt32);
  return {get_ipv6_addr(addr).addr(), CONFD_GET_INT32(&prefix)};
}

std::string GenericConfig::get_vrf_name_from_id(
    const confd_value_t& value) const {
  if (value.type != C_UINT32) return kGlobalVrf;

  const std::uint32_t index = IdVrfFromComponent(CONFD_GET_UINT32(&value));
  // Asked for every route, so not in memory of its own.
  char path[sizeof(kVrfOfId) + kMostDigits + sizeof(kVrfNameLeaf)];
  char* end = std::copy_n(kVrfOfId, sizeof(kVrfOfId) - 1, path);
  end = std::to_chars(end, end + kMostDigits, index).ptr;
  std::copy_n(kVrfNameLeaf, sizeof(kVrfNameLeaf), end);
  // The path holds no conversion: it is the format itself.
  if (maapi_exists(sock_, trans_->thandle, path) != 1) return kGlobalVrf;

  ElemValue name;
  if (maapi_get_elem(sock_, trans_->thandle, name.get(), path) != CONFD_OK) {
    return kGlobalVrf;
  }
  RequireType(*name, C_BUF, kVrfOfIdIsText);
  return internal::TextOf(*name);
}

std::string GenericConfig::get_hex_from_bin(const confd_value_t& value) const {
  std::string text;
  AppendHex(value, &text);
  return text;
}

void GenericConfig::AppendHex(const confd_value_t& value, std::string* text) {
  if (value.type != C_BINARY) return;

  constexpr char kDigits[] = "0123456789abcdef";
  const unsigned char* octets = CONFD_GET_BINARY_PTR(&value);
  const unsigned int size = CONFD_GET_BINARY_SIZE(&value);
  // The first octet whatever the size: the daemon ends every value with a NUL.
  const std::size_t count = std::max(size, 1U);
  std::size_t at = text->size();
  text->resize(at + count * 3 - 1, ':');
  for (std::size_t i = 0; i < count; ++i, ++at) {
    (*text)[at++] = kDigits[octets[i] >> 4];
    (*text)[at++] = kDigits[octets[i] & 0x0f];
  }
}

InterfaceConfig::InterfaceConfig(InterfaceType type) : type_(type) {}

InterfaceConfig::~InterfaceConfig() = default;

const Interface* InterfaceConfig::FindByName(const std::string& name) const {
  const auto is_wanted = [&](const Interface& interface) {
    return interface.name == name;
  };
  if (interfaces_.size() <= HashIndex::kFew) {
    const auto found =
        std::find_if(interfaces_.begin(), interfaces_.end(), is_wanted);
    return found == interfaces_.end() ? nullptr : &*found;
  }
  const std::uint32_t position = by_name_->Find(
      std::hash<std::string>()(name),
      [&](auto candidate) { return is_wanted(interfaces_[candidate]); });
  return position == HashIndex::kNone ? nullptr : &interfaces_[position];
}

void InterfaceConfig::MergeConfigAndInsert(const Interface& interface) {
  Merge(interface);
}

void InterfaceConfig::MergeConfigAndInsert(Interface&& interface) {
  Merge(std::move(interface));
}

// Takes from the record what it needs, by copy or by move.
template <typename Record>
void InterfaceConfig::Merge(Record&& interface) {
  const Interface* found = FindByName(interface.name);
  if (found == nullptr) {
    Append(std::forward<Record>(interface));
    return;
  }
  auto& known =
      interfaces_[static_cast<std::size_t>(found - interfaces_.data())];
  if (known.ipv4.empty() && !interface.ipv4.empty()) {
    // No look at the IPv6 addresses.
    known.ipv4 = std::forward<Record>(interface).ipv4;
  } else if (known.ipv6.empty() && !interface.ipv6.empty()) {
    known.ipv6 = std::forward<Record>(interface).ipv6;
  }
}

template <typename Record>
void InterfaceConfig::Append(Record&& interface) {
  const bool is_indexed = interfaces_.size() >= HashIndex::kFew;
  // Ahead of the record: it is indexed or it is not there.
  if (is_indexed) ReserveIn(&by_name_, interfaces_.size() + 1);
  interfaces_.push_back(std::forward<Record>(interface));
  if (!is_indexed) return;
  for (std::size_t i = by_name_->size(); i < interfaces_.size(); ++i) {
    by_name_->Add(std::hash<std::string>()(interfaces_[i].name));
  }
}

void InterfaceConfig::ReadInterfaces(ConfigAddrFamily family,
                                     const Layout& layout) {
  const std::string path = layout.path;
  internal::KeyTexts keys;
  ReadKeys(path, 1, &keys);
  interfaces_.reserve(keys.size());
  ReadBuffers buffers;
  EntryPaths& paths = buffers.interface;
  paths.Start(path);
  for (const char* key : keys) {
    paths.Enter(key);
    Interface interface;
    if (family == ConfigAddrFamily::kIpv4) {
      (this->*layout.read_ipv4)(key, &buffers, &interface);
    } else if (family == ConfigAddrFamily::kIpv6) {
      interface.ipv6 = ReadIpv6List(paths.Below("/ipv6/address"), &buffers);
    }
    if (layout.has_vlan) {
      interface.lim_id = get_intf_lim_id(paths.Below("/lower-layer-if/vlan"));
    }
    interface.vrf_name = get_vrf_name(paths.Below("/vrf"));
    interface.name.append(layout.kind_word).append(key);
    MergeConfigAndInsert(std::move(interface));
  }
}

// An l3 interface without a primary address is common, and no fault.
void InterfaceConfig::ReadPrimaryAndSecondaries(const char* /*key*/,
                                                ReadBuffers* buffers,
                                                Interface* interface) const {
  const nettypes::IPv4AddrMask primary =
      get_ipv4_addr_mask(buffers->interface.Below("/ipv4/address/ip"));
  if (!primary.IsUnspecified()) interface->ipv4.push_back(primary);
  interface->ipv4.splice(
      interface->ipv4.end(),
      ReadIpv4List(buffers->interface.Below("/ipv4/address/secondary"),
                   buffers));
}

void InterfaceConfig::ReadOnlyAddress(const char* key, ReadBuffers* buffers,
                                      Interface* interface) const {
  const nettypes::IPv4AddrMask address =
      get_ipv4_addr_mask(buffers->interface.Below("/ipv4/address/ip"));
  if (address.IsUnspecified()) {
    ReportUnspecified({"IPv4", "ReadConfig", 475}, key);
  } else {
    interface->ipv4.push_back(address);
  }
}

void InterfaceConfig::ReadAddressList(const char* /*key*/, ReadBuffers* buffers,
                                      Interface* interface) const {
  interface->ipv4 =
      ReadIpv4List(buffers->interface.Below("/ipv4/address"), buffers);
}

void L3Config::ReadConfig(ConfigAddrFamily family) {
  ReadInterfaces(family, {"/config/interface/ipapp:l3", "l3 ",
                          &L3Config::ReadPrimaryAndSecondaries, true});
}

void LoConfig::ReadConfig(ConfigAddrFamily family) {
  ReadInterfaces(family, {"/config/interface/ipapp:loopback", "loopback ",
                          &LoConfig::ReadAddressList, false});
}

void MgmtConfig::ReadConfig(ConfigAddrFamily family) {
  ReadInterfaces(family, {"/config/interface/ipapp:mgmt", "mgmt ",
                          &MgmtConfig::ReadOnlyAddress, false});
}

OspfIf::OspfIf(std::uint32_t process_id, std::string vrf_name,
               nettypes::IPv4Addr area, std::string intf_name,
               std::list<nettypes::IPv4AddrMask> addresses)
    : process_id_(process_id),
      vrf_name_(std::move(vrf_name)),
      area_(std::move(area)),
      intf_name_(std::move(intf_name)),
      addresses_(std::move(addresses)) {}

Ospfv2Config::Ospfv2Config() = default;

Ospfv2Config::~Ospfv2Config() = default;

bool OspfIf::IsSameAssignment(const OspfIf& other) const {
  return intf_name_ == other.intf_name_ && process_id_ == other.process_id_ &&
         vrf_name_ == other.vrf_name_;
}

void OspfIf::AddAddress(const nettypes::IPv4AddrMask& address) {
  addresses_.push_back(address);
}

void Ospfv2Config::ReadConfig(ConfigAddrFamily family) {
  if (family != ConfigAddrFamily::kIpv4) return;
  internal::KeyTexts texts;
  ReadKeys(interface_path_, kOspfRowKeys, &texts);
  std::vector<std::string> keys(kOspfRowKeys);
  auto text = texts.begin();
  while (text != texts.end()) {
    for (std::string& key : keys) {
      key = *text;
      ++text;
    }
    ReadRow(keys);
  }
}

void Ospfv2Config::ReadRow(const std::vector<std::string>& keys) {
  std::string intf_name = keys[kOspfInterface];  // "l3-core1"
  const std::size_t hyphen = intf_name.find('-');
  if (hyphen == std::string::npos) return;

  // On the target an unsigned long has the 32 bits of the table's number.
  const auto compound_id =
      static_cast<unsigned int>(std::stoul(keys[kOspfCompoundId]));
  const nettypes::IPv4Addr area = internal::ParseIpv4(keys[kOspfArea]);
  const nettypes::IPv4Addr address = internal::ParseIpv4(keys[kOspfAddress]);
  const std::uint8_t prefix_len =
      GetIpv4Netmask(compound_id, area, intf_name, address);
  intf_name.replace(hyphen, 1, " ");
  const std::uint32_t process_id = GetProcessIdFromCompoundId(compound_id);
  MergeConfigAndInsert({process_id,
                        GetVrfName(compound_id),
                        area,
                        intf_name,
                        {{address.to_uint32(), prefix_len}}});
}

void Ospfv2Config::MergeConfigAndInsert(const OspfIf& ospf_if) {
  OspfIf* known = FindSame(ospf_if);
  if (known == nullptr) {
    Append(ospf_if);
  } else if (!ospf_if.addresses().empty()) {
    known->AddAddress(ospf_if.addresses().front());
  }
}

OspfIf* Ospfv2Config::FindSame(const OspfIf& ospf_if) const {
  if (interfaces_.size() <= HashIndex::kFew) {
    const auto found = std::find_if(
        interfaces_.begin(), interfaces_.end(),
        [&](const auto& known) { return known->IsSameAssignment(ospf_if); });
    return found == interfaces_.end() ? nullptr : found->get();
  }
  const std::uint32_t position =
      by_assignment_->Find(HashOfAssignment(ospf_if), [&](auto candidate) {
        return records_[candidate]->IsSameAssignment(ospf_if);
      });
  return position == HashIndex::kNone ? nullptr : records_[position];
}

void Ospfv2Config::Append(const OspfIf& ospf_if) {
  const std::size_t count = interfaces_.size() + 1;
  const bool is_indexed = count > HashIndex::kFew;
  // What can fail first: a record is known everywhere or nowhere.
  if (is_indexed) {
    ReserveIn(&by_assignment_, count);
    records_.resize(count);
  }
  interfaces_.push_back(std::make_shared<OspfIf>(ospf_if));
  if (!is_indexed) return;
  const std::size_t known = by_assignment_->size();
  auto record =
      std::prev(interfaces_.end(), static_cast<std::ptrdiff_t>(count - known));
  for (std::size_t i = known; i < count; ++i, ++record) {
    records_[i] = record->get();
    by_assignment_->Add(HashOfAssignment(**record));
  }
}

std::uint8_t Ospfv2Config::GetIpv4Netmask(
    unsigned int compound_id, const nettypes::IPv4Addr& area,
    const std::string& intf_key, const nettypes::IPv4Addr& address) const {
  std::uint8_t prefix_len = 0;
  if (maapi_get_u_int8_elem(sock(), confd_trans()->thandle, &prefix_len,
                            "%s{%u %s %s %s}/ospf-pm-ip-netmask",
                            interface_path_.c_str(), compound_id,
                            area.to_string().c_str(), intf_key.c_str(),
                            address.to_string().c_str()) != CONFD_OK) {
    // It says process and means the compound identifier.
    ValidateLogger::Log("Failed to get IPv4 netmask from process ID %u!",
                        compound_id);
    return 0;
  }
  return prefix_len;
}

std::uint32_t Ospfv2Config::GetProcessIdFromCompoundId(
    unsigned int compound_id) const {
  std::uint32_t process_id = 0;
  if (maapi_get_u_int32_elem(sock(), confd_trans()->thandle, &process_id,
                             "%s{%u}/proc_id", process_path_.c_str(),
                             compound_id) != CONFD_OK) {
    ValidateLogger::Log("Failed to get process ID from compound ID %u!",
                        compound_id);
    return 0;
  }
  return process_id;
}

std::string Ospfv2Config::GetVrfName(unsigned int compound_id) const {
  char name[256] = "";
  if (maapi_get_str_elem(sock(), confd_trans()->thandle, name, sizeof(name),
                         "%s{%u}/vrf_name", process_path_.c_str(),
                         compound_id) != CONFD_OK) {
    ValidateLogger::Log("Failed to get VRF name from compound ID %u!",
                        compound_id);
    return "";
  }
  return name;
}

Config::Config()
    : static_route_(std::make_unique<StaticRouteConfig>()),
      interface_configs_{&mgmt_, &l3_, &lo_} {}

Config::~Config() {
  static_route_.reset();  // ahead of the readers held by value
}

void Config::set_sock(int sock) {
  ospfv2_.set_sock(sock);
  static_route_->set_sock(sock);
  for (InterfaceConfig* config : interface_configs_) config->set_sock(sock);
}

void Config::set_confd_trans(confd_trans_ctx* trans) {
  ospfv2_.set_confd_trans(trans);
  static_route_->set_confd_trans(trans);
  for (InterfaceConfig* config : interface_configs_) {
    config->set_confd_trans(trans);
  }
}

void Config::ReadStaticRouteConfig(ConfigAddrFamily family) {
  static_route_->ReadConfigIfNeeded(family);
}

InterfaceConfig* Config::intf_by_type(InterfaceType type) const {
  for (InterfaceConfig* config : interface_configs_) {
    if (config->type() == type) return config;
  }
  return nullptr;
}

InterfaceType Config::intf_type_from_confd_path(confd_hkeypath_t* keypath) {
  if (keypath->len < 1) return InterfaceType::kNone;

  const confd_value_t& last = keypath->v[0][0];
  internal::RequireType(last, C_XMLTAG, kPathEndsInNode);
  switch (CONFD_GET_XMLTAG(&last)) {
    case internal::kMgmtTag:
      return InterfaceType::kMgmt;
    case internal::kL3Tag:
      return InterfaceType::kL3;
    case internal::kLoopbackTag:
      return InterfaceType::kLoopback;
    default:
      return InterfaceType::kNone;
  }
}

}  // namespace ip_application::config_valid
