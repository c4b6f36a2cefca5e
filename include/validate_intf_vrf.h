// The VRF of interfaces against OSPFv3: a walk over what a transaction changes.
#ifndef IPAV_VALIDATE_INTF_VRF_H_
#define IPAV_VALIDATE_INTF_VRF_H_

#include <confd_lib.h>
#include <confd_maapi.h>

#include <cstdint>
#include <list>
#include <string>

#include "include/config.h"
#include "nettypes/ipv4.h"

// One walk over the changes below a path. Made for one validation; a subclass
// judges each change and ends the walk at the first that must be refused.
class ValidateIntfVrf {
 public:
  // `tctx` is borrowed. The path holds no conversion: it is used as a format.
  ValidateIntfVrf(int32_t maapi_socket, confd_trans_ctx* tctx,
                  std::string path);
  virtual ~ValidateIntfVrf() = default;

  // Judges one change: its node, the operation, and the values before and
  // after, which may be null. A refusal sets the error text and returns
  // ITER_STOP; else ITER_RECURSE.
  virtual confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                                      confd_value_t* oldv,
                                      confd_value_t* newv) = 0;

  ValidateIntfVrf(const ValidateIntfVrf&) = delete;
  ValidateIntfVrf& operator=(const ValidateIntfVrf&) = delete;

  // Walks. Returns 0 to accept; -1 to refuse, with the error text set on the
  // transaction.
  int32_t RunValidation();

  // Reads of the transaction, for walks that need more than the change; the
  // walks below do not use them. They work as those of GenericConfig do, but
  // cut a key at 8191 bytes.
  nettypes::IPv4AddrMask get_ipv4_addr_mask(const std::string& path) const;
  std::list<std::string> get_key_list(const std::string& path) const;

 protected:
  // Refuses to set the VRF of an interface that OSPFv3 uses. `kind` is the word
  // of the interface's list, `function` the one that a failed assertion names.
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

// Changes of the OSPFv2 table: the rules of the snapshot judge them already.
class ValidateIntfVrfOspf : public ValidateIntfVrf {
 public:
  using ValidateIntfVrf::ValidateIntfVrf;
  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override;
};

// Changes of the OSPFv3 table, on which no validation point sits.
class ValidateIntfVrfOspfv3 : public ValidateIntfVrf {
 public:
  using ValidateIntfVrf::ValidateIntfVrf;
  confd_iter_ret IterValidate(confd_hkeypath_t* kp, confd_iter_op op,
                              confd_value_t* oldv,
                              confd_value_t* newv) override;
};

#pragma GCC visibility push(default)

extern "C" {

// Callback of a change of VRF: the IPv4 addresses of the kind of interface that
// the key path names, every interface against the VRF of its OSPFv2 process,
// and each VRF that the transaction sets against OSPFv3. Reads the snapshot for
// IPv4; `newval` is not used. Returns 0 to accept; -1 to refuse, with the error
// text set on the transaction.
int32_t validate_intf_vrf(int32_t maapi_socket, confd_trans_ctx* tctx,
                          confd_hkeypath_t* keypath, confd_value_t* newval,
                          ip_application::config_valid::Config& config);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_INTF_VRF_H_
