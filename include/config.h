// The configuration snapshot: what the rules judge, read from the transaction
// under validation through MAAPI, lazily and at most once per address family.
//
// The host keeps one `Config` per library context, from lib_init() to
// lib_finish(). It is never reset in between, so how fresh it is follows from
// how often the host brackets validation with these two calls. One validation
// call at a time: nothing here locks.
#ifndef IPAV_CONFIG_H_
#define IPAV_CONFIG_H_

#include <confd_lib.h>
#include <ids/limid.h>
#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace ip_application::config_valid {

class StaticRouteConfig;

namespace internal {
class HashIndex;
class KeyTexts;
struct ReadBuffers;
}  // namespace internal

enum class ConfigAddrFamily : std::int32_t { kIpv4 = 4, kIpv6 = 6 };

enum class InterfaceType : std::int32_t {
  kMgmt = 0,
  kL3 = 1,
  kLoopback = 2,
  kNone = 3,  // no interface kind
};

// Base of every reader: the read-once gate, and the socket and transaction
// that each MAAPI read goes through.
class GenericConfig {
 public:
  GenericConfig() = default;
  virtual ~GenericConfig() = default;
  GenericConfig(const GenericConfig&) = delete;
  GenericConfig& operator=(const GenericConfig&) = delete;

  // Reads a family unless it was read before; any value but the two families
  // reads nothing. An exception of the read passes through and leaves the
  // family unread, so that the next call reads again.
  void ReadConfigIfNeeded(ConfigAddrFamily family);

  // Bound anew for every validation call. Neither makes a family unread.
  void set_sock(int sock) { sock_ = sock; }
  void set_confd_trans(confd_trans_ctx* trans) { trans_ = trans; }

  int sock() const { return sock_; }                       // -1 when unbound
  confd_trans_ctx* confd_trans() const { return trans_; }  // borrowed
  bool ipv4_read() const { return ipv4_read_; }
  bool ipv6_read() const { return ipv6_read_; }

 protected:
  // Reads of the transaction by path. An element that is missing or cannot be
  // read is the default named here; an element of another type than the model
  // promises stops the process.

  // Default: 0.0.0.0/0, ::/0.
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const std::string& path) const;
  nettypes::IPv6AddrMask get_ipv6_addr_mask(const std::string& path) const;

  // Identifier of the l3 interface on the VLAN at the path. Default: 0.
  limid_t get_intf_lim_id(const std::string& path) const;

  // "global" where there is none, empty where it cannot be read.
  std::string get_vrf_name(const std::string& path) const;

  // First key, or the first `key_count` keys, of each entry of a list in the
  // order of the database, printed as text of at most 255 bytes.
  std::list<std::string> get_key_list(const std::string& path) const;
  std::list<std::vector<std::string>> get_key_list(
      const std::string& path, unsigned int key_count) const;

  // The leaf "ip" of each entry of a list. An entry without one is reported to
  // the host's fault service and left out.
  std::list<nettypes::IPv4AddrMask> get_intf_ipv4_addr_mask_list(
      const std::string& path) const;
  std::list<nettypes::IPv6AddrMask> get_intf_ipv6_addr_mask_list(
      const std::string& path) const;

  // Conversions of values already read. A value of another type than C_BINARY
  // (octets in network order; missing ones are zero) or C_INT32 (a prefix
  // length) gives the default address.
  nettypes::IPv4Addr get_ipv4_addr(const confd_value_t& value) const;
  nettypes::IPv6Addr get_ipv6_addr(const confd_value_t& value) const;
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const confd_value_t& addr,
                                            const confd_value_t& prefix) const;
  nettypes::IPv6AddrMask get_ipv6_addr_mask(const confd_value_t& addr,
                                            const confd_value_t& prefix) const;

  // Name of the VRF of a C_UINT32 identifier; "global" for any other value and
  // for an identifier without a name.
  std::string get_vrf_name_from_id(const confd_value_t& value) const;

  // "0a:ff" for the octets 0x0a 0xff of a C_BINARY; empty for another type. Of
  // no octets at all it is the terminating NUL's "00".
  std::string get_hex_from_bin(const confd_value_t& value) const;
  // ... behind a text.
  static void AppendHex(const confd_value_t& value, std::string* text);

  // Tells the host's fault service of an address that is missing where one must
  // be.
  struct FaultSite;
  static void ReportUnspecified(const FaultSite& site, const char* key);

  // As get_key_list(), the keys of all entries in one piece of memory.
  void ReadKeys(const std::string& path, unsigned int key_count,
                internal::KeyTexts* keys) const;

  // As get_intf_ipv4_addr_mask_list() and its twin, in memory of the caller.
  std::list<nettypes::IPv4AddrMask> ReadIpv4List(
      const std::string& path, internal::ReadBuffers* buffers) const;
  std::list<nettypes::IPv6AddrMask> ReadIpv6List(
      const std::string& path, internal::ReadBuffers* buffers) const;

 private:
  template <typename Mask>
  std::list<Mask> ReadMaskList(const std::string& path,
                               Mask (GenericConfig::*read)(const std::string&)
                                   const,
                               const FaultSite& site,
                               internal::ReadBuffers* buffers) const;

  virtual void ReadConfig(ConfigAddrFamily family) = 0;

  int sock_ = -1;
  confd_trans_ctx* trans_ = nullptr;
  bool ipv4_read_ = false;
  bool ipv6_read_ = false;
};

// One interface, as its reader found it.
struct Interface {
  std::string name;  // kind word, blank, list key: "l3 core1"
  std::list<nettypes::IPv4AddrMask> ipv4;  // of an l3 the primary one first
  std::list<nettypes::IPv6AddrMask> ipv6;
  std::string vrf_name;
  limid_t lim_id = 0;  // 0: no lower-layer VLAN
};

// Reader of the interfaces of one kind. Each family's read gives one record per
// interface; the second one is merged into the first by name.
class InterfaceConfig : public GenericConfig {
 public:
  ~InterfaceConfig() override;

  InterfaceType type() const { return type_; }

  // In the order in which the names were first met.
  const std::vector<Interface>& interfaces() const { return interfaces_; }

  // The record of that name, or null.
  const Interface* FindByName(const std::string& name) const;

  // Appends a record, or gives the addresses of one family to the record of
  // that name if it has none of that family yet; at most one family a call,
  // IPv4 before IPv6. Nothing else of a record ever changes.
  void MergeConfigAndInsert(const Interface& interface);
  void MergeConfigAndInsert(Interface&& interface);

 protected:
  // Where the interfaces of a kind lie and what they have.
  struct Layout {
    const char* path;       // of the list
    const char* kind_word;  // with its blank
    void (InterfaceConfig::*read_ipv4)(const char* key,
                                       internal::ReadBuffers* buffers,
                                       Interface* interface) const;
    bool has_vlan;
  };

  explicit InterfaceConfig(InterfaceType type);

  void ReadInterfaces(ConfigAddrFamily family, const Layout& layout);

  // The IPv4 addresses below the entry that the paths of `buffers` are in, by
  // the layout of a kind.
  void ReadPrimaryAndSecondaries(const char* key,
                                 internal::ReadBuffers* buffers,
                                 Interface* interface) const;
  void ReadOnlyAddress(const char* key, internal::ReadBuffers* buffers,
                       Interface* interface) const;
  void ReadAddressList(const char* key, internal::ReadBuffers* buffers,
                       Interface* interface) const;

 private:
  template <typename Record>
  void Merge(Record&& interface);
  template <typename Record>
  void Append(Record&& interface);

  std::vector<Interface> interfaces_;
  InterfaceType type_;
  std::unique_ptr<internal::HashIndex> by_name_;  // null while there are few
};

class L3Config : public InterfaceConfig {
 public:
  L3Config() : InterfaceConfig(InterfaceType::kL3) {}

 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

class LoConfig : public InterfaceConfig {
 public:
  LoConfig() : InterfaceConfig(InterfaceType::kLoopback) {}

 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

class MgmtConfig : public InterfaceConfig {
 public:
  MgmtConfig() : InterfaceConfig(InterfaceType::kMgmt) {}

 private:
  void ReadConfig(ConfigAddrFamily family) override;
};

// One interface assigned to one OSPFv2 process.
class OspfIf {
 public:
  OspfIf(std::uint32_t process_id, std::string vrf_name,
         nettypes::IPv4Addr area, std::string intf_name,
         std::list<nettypes::IPv4AddrMask> addresses);
  virtual ~OspfIf() = default;
  OspfIf(const OspfIf&) = default;
  OspfIf& operator=(const OspfIf&) = delete;

  std::uint32_t process_id() const { return process_id_; }
  const std::string& vrf_name() const { return vrf_name_; }  // the process's
  const nettypes::IPv4Addr& area() const { return area_; }
  // As interface records have it: "l3 core1".
  const std::string& intf_name() const { return intf_name_; }
  // Those that OSPF knows, in the order of the table.
  const std::list<nettypes::IPv4AddrMask>& addresses() const {
    return addresses_;
  }

  bool IsSameAssignment(const OspfIf& other) const;
  void AddAddress(const nettypes::IPv4AddrMask& address);

 private:
  std::uint32_t process_id_;
  std::string vrf_name_;
  nettypes::IPv4Addr area_;
  std::string intf_name_;
  std::list<nettypes::IPv4AddrMask> addresses_;
};

// Reader of the OSPFv2 interface assignments, which are IPv4 only.
class Ospfv2Config : public GenericConfig {
 public:
  Ospfv2Config();
  ~Ospfv2Config() override;

  // In the order in which the assignments were first met.
  const std::list<std::shared_ptr<OspfIf>>& interfaces() const {
    return interfaces_;
  }

  // Appends a record, or gives its first address to the record of the same
  // interface, process and VRF. The area of a record stays the first one.
  void MergeConfigAndInsert(const OspfIf& ospf_if);

  // Look-ups in the tables of the routing side, by compound identifier (one
  // number for a process in a VRF). What is missing or cannot be read is told
  // in the debug log and is 0 or empty.

  // Prefix length of an address; the interface as the table has it, "l3-1".
  std::uint8_t GetIpv4Netmask(unsigned int compound_id,
                              const nettypes::IPv4Addr& area,
                              const std::string& intf_key,
                              const nettypes::IPv4Addr& address) const;
  std::uint32_t GetProcessIdFromCompoundId(unsigned int compound_id) const;
  std::string GetVrfName(unsigned int compound_id) const;

 private:
  // Throws std::invalid_argument or std::out_of_range for a compound identifier
  // that is no number, and boost::system::system_error for an area or address
  // that is none. The records of the rows before stay.
  void ReadConfig(ConfigAddrFamily family) override;
  void ReadRow(const std::vector<std::string>& keys);
  OspfIf* FindSame(const OspfIf& ospf_if) const;
  void Append(const OspfIf& ospf_if);

  std::list<std::shared_ptr<OspfIf>> interfaces_;
  const std::string interface_path_ = "/internal/ospf-interface-l3";
  const std::string process_path_ = "/internal/ospf-index-to-proc-id";
  // The records again, and where they are by interface, process and VRF;
  // neither is there while there are few.
  std::vector<OspfIf*> records_;
  std::unique_ptr<internal::HashIndex> by_assignment_;
};

// The snapshot: five readers that share socket and transaction.
class Config {
 public:
  Config();
  ~Config();
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  // Bind all five readers to the socket and the transaction of a call.
  void set_sock(int sock);
  void set_confd_trans(confd_trans_ctx* trans);

  void ReadStaticRouteConfig(ConfigAddrFamily family);

  // The reader of that kind, owned by the snapshot; null for none.
  InterfaceConfig* intf_by_type(InterfaceType type) const;

  // In search order: mgmt, l3, loopback.
  const std::vector<InterfaceConfig*>& interface_configs() const {
    return interface_configs_;
  }
  const L3Config& l3_config() const { return l3_; }
  const LoConfig& lo_config() const { return lo_; }
  Ospfv2Config& ospfv2_config() { return ospfv2_; }
  const Ospfv2Config& ospfv2_config() const { return ospfv2_; }
  const StaticRouteConfig& static_route_config() const {
    return *static_route_;
  }

  // Kind of the interface list that the last element of a validation point's
  // key path names. Stops the process when that element is no node.
  static InterfaceType intf_type_from_confd_path(confd_hkeypath_t* keypath);

 private:
  Ospfv2Config ospfv2_;
  std::unique_ptr<StaticRouteConfig> static_route_;
  L3Config l3_;
  LoConfig lo_;
  MgmtConfig mgmt_;
  // Look-up table of intf_by_type(), in search order; not owning.
  std::vector<InterfaceConfig*> interface_configs_;
};

}  // namespace ip_application::config_valid

#endif  // IPAV_CONFIG_H_
