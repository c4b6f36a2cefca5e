// Checks changes of an l3 interface's VLAN against OSPFv3.
#ifndef IPAV_VALIDATE_IP_ADDR_CROSS_OSPF_H_
#define IPAV_VALIDATE_IP_ADDR_CROSS_OSPF_H_

#include <confd_lib.h>
#include <hostd/cdb_session.h>

#include <cstdint>

namespace ip_application::config_valid {

// A CDB read session, open while the object lives.
class HostdCdbSession : public HostdCdbSessionBase {
 public:
  HostdCdbSession(HostdInterface* host, cdb_db_type database, bool wait)
      : HostdCdbSessionBase(host, database, wait) {}
  ~HostdCdbSession() override = default;
  HostdCdbSession(const HostdCdbSession&) = delete;
  HostdCdbSession& operator=(const HostdCdbSession&) = delete;
};

}  // namespace ip_application::config_valid

#pragma GCC visibility push(default)

extern "C" {

// Refuses to change or remove the VLAN of an l3 interface whose running VLAN
// interface is assigned to an OSPFv3 router. The key path names a node of the
// interface's entry: v[1] is its key; a key path of another shape aborts the
// process. Reads the transaction through `maapi_socket`; `newval` is not used.
// Returns 0 to accept; -1 to refuse, with the error text set on the
// transaction.
int32_t validate_lower_layer_cross_ospfv3(int32_t maapi_socket,
                                          confd_trans_ctx* tctx,
                                          confd_hkeypath_t* keypath,
                                          confd_value_t* newval);

}  // extern "C"

#pragma GCC visibility pop

#endif  // IPAV_VALIDATE_IP_ADDR_CROSS_OSPF_H_
