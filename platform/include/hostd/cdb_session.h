// A read session on one data store of the configuration daemon.
#ifndef IPAV_PLATFORM_HOSTD_CDB_SESSION_H_
#define IPAV_PLATFORM_HOSTD_CDB_SESSION_H_

#include <confd_cdb.h>
#include <hostd/hostd.h>

// Opened by the constructor, closed by the destructor: an open session may
// hold up the commit, so it is kept for one read. The meaning of `wait` is the
// host's; the plug-in passes true.
class HostdCdbSessionBase {
 public:
  HostdCdbSessionBase(HostdInterface* host, cdb_db_type database, bool wait);
  virtual ~HostdCdbSessionBase();
  HostdCdbSessionBase(const HostdCdbSessionBase&) = delete;
  HostdCdbSessionBase& operator=(const HostdCdbSessionBase&) = delete;

  // Socket for cdb_get_...() calls, negative when the session did not open.
  int Socket() const;

 private:
  int socket_;
};

#endif  // IPAV_PLATFORM_HOSTD_CDB_SESSION_H_
