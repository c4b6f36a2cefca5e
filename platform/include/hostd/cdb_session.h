// A read session on one data store of the configuration daemon.
#ifndef IPAV_PLATFORM_HOSTD_CDB_SESSION_H_
#define IPAV_PLATFORM_HOSTD_CDB_SESSION_H_

#include <confd_cdb.h>
#include <hostd/hostd.h>

// Opened by the constructor, closed by the destructor. An open session may
// delay the commit, so it must be kept for one read only. The host defines the
// meaning of `wait`; the plug-in passes true.
class HostdCdbSessionBase {
 public:
  HostdCdbSessionBase(HostdInterface* host, cdb_db_type database, bool wait);
  virtual ~HostdCdbSessionBase();
  HostdCdbSessionBase(const HostdCdbSessionBase&) = delete;
  HostdCdbSessionBase& operator=(const HostdCdbSessionBase&) = delete;

  // Socket for cdb_get_...() calls; negative if opening failed.
  int Socket() const;

 private:
  int socket_;
};

#endif  // IPAV_PLATFORM_HOSTD_CDB_SESSION_H_
