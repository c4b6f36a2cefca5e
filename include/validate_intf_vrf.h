// Checks the transaction's changes of interface VRFs against OSPFv3.
#ifndef IPAV_VALIDATE_INTF_VRF_H_
#define IPAV_VALIDATE_INTF_VRF_H_

#include <confd_lib.h>
#include <confd_maapi.h>

#include <cstdint>
#include <list>
#include <string>

#include "include/config.h"
#include "nettypes/ipv4.h"

// One iteration over the changes below a path. To be made for one validation. A
// subclass checks each change; the first refusal ends the iteration.
class ValidateIntfVrf {
 public:
  // `tctx` is borrowed. `path` is used as a printf format and must not contain
  // a conversion.
  ValidateIntfVrf(int32_t maapi_socket, confd_trans_ctx* tctx,
                  std::string path);
  virtual ~ValidateIntfVrf() = default;

  // Checks one change: its node, the operation, and the old and the new value,
  // which may be null. To refuse, it sets the error text and returns ITER_STOP;
  // otherwise it returns ITER_RECURSE.
  virtual confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                                      confd_value_t* oldv,
                                      confd_value_t* newv) = 0;

  ValidateIntfVrf(const ValidateIntfVrf&) = delete;
  ValidateIntfVrf& operator=(const ValidateIntfVrf&) = delete;

  // Iterates over the changes. Returns 0 to accept; -1 to refuse, with the
  // error text set on the transaction.
  int32_t RunValidation();

  // Read the transaction as the functions of GenericConfig do, but cut a key to
  // 8191 bytes. The subclasses below do not use them.
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const std::string& path) const;
  std::list<std::string> get_key_list(const std::string& path) const;

 protected:
  // Refuses to set the VRF of an interface that OSPFv3 uses. `kind` is the name
  // of the interface's list, `function` the function that a failed assertion
  // reports.
  confd_iter_ret RefuseVrfUnderOspfv3(const confd_hkeypath_t& kp,
                                      confd_iter_op op,
                                      const confd_value_t* newv,
                                      const std::string& kind,
                                      const char* function);

 private:
  bool IsInOspfv3(const std::string& kind, const std::string& name) const;

  int32_t maapi_socket_;
  confd_trans_ctx* tctx_;
  std::string path_;
  std::string error_text_;  // not empty: the change is refused
};

// Changes below the l3 interfaces.
class ValidateIntfL3Vrf : public ValidateIntfVrf {
 public:
  using ValidateIntfVrf::ValidateIntfVrf;
  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override;
};

// Changes below the loopback interfaces.
class ValidateIntfLoVrf : public ValidateIntfVrf {
 public:
  using ValidateIntfVrf::ValidateIntfVrf;
  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override;
};

// Changes of the OSPFv2 table. Refuses nothing: ValidateConfig checks them.
class ValidateIntfVrfOspf : public ValidateIntfVrf {
 public:
  using ValidateIntfVrf::ValidateIntfVrf;
  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override;
};

// Changes of the OSPFv3 table, which has no validation point. Refuses nothing.
class ValidateIntfVrfOspfv3 : public ValidateIntfVrf {
 public:
  using ValidateIntfVrf::ValidateIntfVrf;
  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override;
};

#pragma GCC visibility push(default)

extern "C" {

// Callback for a change of VRF. Checks the IPv4 addresses of the interface list
// that the key path ends with, the VRF of every interface against that of its
// OSPFv2 process, and VRFs that the transaction sets against OSPFv3. Reads the
// snapshot for IPv4; does not use `newval`. Returns 0 to accept; -1 to refuse,
// with the error text set on the transaction.
int32_t validate_intf_vrf(int32_t maapi_socket, confd_trans_ctx* tctx,
                          confd_hkeypath_t* keypath, confd_value_t* newval,
                          ip_application::config_valid::Config& config);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_INTF_VRF_H_
