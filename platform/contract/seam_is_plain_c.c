/* The daemon's headers are C. Compiled as such, with one use of each, so that
 * nothing of C++ creeps into them. */
#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>

_Static_assert(C_XMLTAG == 2, "enumerations have their numbers in C as well");
_Static_assert(CDB_RUNNING == 1, "data stores have their numbers in C as well");
_Static_assert(MOP_VALUE_SET == 4, "changes have their numbers in C as well");

int seam_is_plain_c(struct confd_trans_ctx* tctx, int sock,
                    struct maapi_cursor* cursor, confd_hkeypath_t* keypath);

int seam_is_plain_c(struct confd_trans_ctx* tctx, int sock,
                    struct maapi_cursor* cursor, confd_hkeypath_t* keypath) {
  int32_t vlan = 0;

  if (CONFD_GET_XMLTAG(&keypath->v[0][0]) == 0) {
    confd_trans_seterr(tctx, "%s", "no tag");
    return CONFD_ERR;
  }
  if (maapi_get_next(cursor) != CONFD_OK) return CONFD_ERR;
  return cdb_get_int32(sock, &vlan, "%s", "/vlan");
}
