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

#include <cstdint>
#include <memory>
#include <vector>

namespace ip_application::config_valid {

class StaticRouteConfig;

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

 private:
  virtual void ReadConfig(ConfigAddrFamily family) = 0;

  int sock_ = -1;
  confd_trans_ctx* trans_ = nullptr;
  bool ipv4_read_ = false;
  bool ipv6_read_ = false;
};

// Reader of the interfaces of one kind.
class InterfaceConfig : public GenericConfig {
 public:
  InterfaceType type() const { return type_; }

 protected:
  explicit InterfaceConfig(InterfaceType type) : type_(type) {}

 private:
  InterfaceType type_;
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

// Reader of the OSPFv2 interface assignments.
class Ospfv2Config : public GenericConfig {
 private:
  void ReadConfig(ConfigAddrFamily family) override;
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

  Ospfv2Config& ospfv2_config() { return ospfv2_; }
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
