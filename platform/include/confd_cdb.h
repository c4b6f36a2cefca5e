/* CDB: reads of a data store, here of the running configuration without the
 * changes of the transaction under validation. Compatible by name with ConfD's
 * libconfd. Paths as in confd_maapi.h. */
#ifndef IPAV_PLATFORM_CONFD_CDB_H_
#define IPAV_PLATFORM_CONFD_CDB_H_

#include <confd_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

enum cdb_db_type {
  CDB_RUNNING = 1,
  CDB_STARTUP = 2,
  CDB_OPERATIONAL = 3,
  CDB_PRE_COMMIT_RUNNING = 4
};

/* Reads a signed 32-bit leaf through the socket of an open CDB session. */
int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...);

#ifdef __cplusplus
}
#endif

#endif /* IPAV_PLATFORM_CONFD_CDB_H_ */
